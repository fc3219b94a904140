#include "GeometryTestSupport.h"

using namespace vellumix;
using namespace vellumix::geometry;
using namespace vellumix::testing;

TEST(MapAnnotations, PointsScaleButWidthsAndFontsDoNot) {
    TextAnnotation text;
    text.rect = QRectF(40, 30, 20, 10);
    text.fontSize = 18;
    text.padding = 6;
    ArrowAnnotation arrow = arrowBetween({20, 20}, {120, 70}, {70, 20}, 3, ArrowEndCap::triangle);
    const AnnotationList mapped =
        mapAnnotations({text, arrow, strokeThrough({{20, 20}, {120, 120}})},
                       QRectF(20, 20, 100, 100), QRectF(20, 20, 200, 50));

    const auto t = std::get<TextAnnotation>(mapped[0]);
    expectRectNear(t.rect, QRectF(60, 25, 40, 5));
    EXPECT_EQ(t.fontSize, 18);
    EXPECT_EQ(t.padding, 6);
    EXPECT_EQ(t.id, text.id);

    const auto a = std::get<ArrowAnnotation>(mapped[1]);
    expectPointNear(a.end, {220, 45});
    expectPointNear(a.controlPoint, {120, 20});
    EXPECT_EQ(a.lineWidth, 3);

    expectRectNear(std::get<StrokeAnnotation>(mapped[2]).path.controlPointRect(),
                   QRectF(20, 20, 200, 50));
}

TEST(MapAnnotations, CropCommitMovesEverythingByTheCropOffset) {
    const QRectF crop(70, 45, 300, 200);
    const AnnotationList mapped =
        mapAnnotations({shapeAt(QRectF(100, 100, 30, 30))}, crop, QRectF(20, 20, 300, 200));
    expectRectNear(bounds(mapped[0]), QRectF(50, 75, 30, 30));
}

TEST(MapAnnotations, EmptyAndDegenerateInputsAreSafe) {
    EXPECT_TRUE(mapAnnotations({}, QRectF(0, 0, 10, 10), QRectF(0, 0, 20, 20)).empty());
    const AnnotationList mapped =
        mapAnnotations({shapeAt(QRectF(5, 5, 2, 2))}, QRectF(0, 0, 0, 10), QRectF(10, 0, 50, 20));
    expectRectNear(bounds(mapped[0]), QRectF(15, 10, 2, 4));
}

TEST(ImageAndCanvas, PixelsSitTwentyPointsInAndConvertBothWays) {
    EXPECT_EQ(toCanvas(QPointF(0, 0)), QPointF(20, 20));
    EXPECT_EQ(toImage(QPointF(25.5, 19)), QPointF(5.5, -1));
    EXPECT_EQ(toCanvas(QRectF(3, 4, 10, 6)), QRectF(23, 24, 10, 6));
    EXPECT_EQ(toImage(toCanvas(QRectF(-7, 9, 1, 2))), QRectF(-7, 9, 1, 2));
    EXPECT_EQ(imageOnCanvas(QSizeF(800, 600)), QRectF(20, 20, 800, 600));
    EXPECT_EQ(canvasAround(QSizeF(800, 600)), QRectF(0, 0, 840, 640));
}

TEST(CanvasGrowth, ImageWithMarginIsTheMinimum) {
    EXPECT_EQ(canvasSize(QSizeF(800, 600), {}), QSizeF(840, 640));
    EXPECT_EQ(canvasSize(QSizeF(800, 600), {shapeAt(QRectF(100, 100, 10, 10))}), QSizeF(840, 640));
}

TEST(CanvasGrowth, AnnotationsBeyondTheImageGrowItRightAndDownOnly) {
    const AnnotationList list{shapeAt(QRectF(850.2, 100, 10, 10)),
                              shapeAt(QRectF(-300, -300, 10, 700))};
    // 850.2 + 10 + 20 = 880.2 → 881; -300 + 700 + 20 = 420 is inside 640.
    EXPECT_EQ(canvasSize(QSizeF(800, 600), list), QSizeF(881, 640));
}

TEST(CanvasGrowth, FrameChangesOnlyBeyondHalfAUnit) {
    EXPECT_FALSE(canvasSizeChanged(QSizeF(840, 640), QSizeF(840.5, 640)));
    EXPECT_TRUE(canvasSizeChanged(QSizeF(840, 640), QSizeF(841, 640)));
    EXPECT_TRUE(canvasSizeChanged(QSizeF(840, 640), QSizeF(840, 639)));
}
