#include "imaging/ImageOperations.h"

#include "model/GeometryTestSupport.h"
#include "support/Pictures.h"

#include <QPainter>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace vellumix::imageops;
using namespace vellumix::testing;

namespace {

constexpr QRgb red = 0xffff0000;
constexpr QRgb green = 0xff00ff00;
constexpr QRgb blue = 0xff0000ff;
constexpr QRgb white = 0xffffffff;
constexpr QRgb grey = 0xff808080;

// A picture in which every pixel differs from its neighbours, so any misplaced row or column
// shows.
QImage patterned(int w, int h) {
    return generate(QSize(w, h),
                    [](int x, int y) { return qRgb(x % 251, y % 241, (x * 7 + y * 13) % 256); });
}

QImage premultiplied(const QImage& image) {
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

// One of every kind on a 300 × 200 image (canvas rectangle (20, 20, 300, 200)).
AnnotationList everyKind() {
    ShapeAnnotation rect = shapeAt(QRectF(30, 40, 50, 20));
    ShapeAnnotation oval = shapeAt(QRectF(150.5, 90.25, 33, 71));
    oval.shape = ShapeAnnotation::Shape::oval;
    StrokeAnnotation stroke = strokeThrough({{20, 20}, {120, 20}, {130.5, 77.75}});
    ArrowAnnotation arrow = arrowBetween({20, 20}, {320, 220}, {200, 30}, 3, ArrowEndCap::dotBoth);
    TextAnnotation text;
    text.rect = QRectF(100, 50, 60, 20);
    text.text = QStringLiteral("Label");
    OverlayAnnotation overlay;
    overlay.rect = QRectF(20, 20, 30, 10);
    overlay.image = QImage(3, 1, QImage::Format_ARGB32);
    overlay.image.setPixel(0, 0, red);
    overlay.image.setPixel(1, 0, green);
    overlay.image.setPixel(2, 0, blue);
    overlay.overlayRef = QStringLiteral("A1B2");
    return {rect, oval, stroke, arrow, text, overlay};
}

void expectSameAnnotations(const AnnotationList& actual, const AnnotationList& expected) {
    ASSERT_EQ(actual.size(), expected.size());
    for (size_t i = 0; i < actual.size(); ++i) {
        SCOPED_TRACE(i);
        ASSERT_EQ(kindOf(actual[i]), kindOf(expected[i]));
        EXPECT_EQ(idOf(actual[i]), idOf(expected[i]));
        expectRectNear(geometry::bounds(actual[i]), geometry::bounds(expected[i]));
        if (const auto* a = std::get_if<ArrowAnnotation>(&actual[i])) {
            const auto& e = std::get<ArrowAnnotation>(expected[i]);
            expectPointNear(a->start, e.start);
            expectPointNear(a->end, e.end);
            expectPointNear(a->controlPoint, e.controlPoint);
        } else if (const auto* s = std::get_if<StrokeAnnotation>(&actual[i])) {
            const auto& e = std::get<StrokeAnnotation>(expected[i]);
            ASSERT_EQ(s->path.elementCount(), e.path.elementCount());
            for (int k = 0; k < s->path.elementCount(); ++k) {
                EXPECT_EQ(s->path.elementAt(k).type, e.path.elementAt(k).type);
                expectPointNear(s->path.elementAt(k), e.path.elementAt(k));
            }
        } else if (const auto* o = std::get_if<OverlayAnnotation>(&actual[i])) {
            const auto& e = std::get<OverlayAnnotation>(expected[i]);
            EXPECT_EQ(o->image, e.image);
            EXPECT_EQ(o->overlayRef, e.overlayRef);
        }
    }
}

template <class T> const T& nth(const AnnotationList& list, size_t i) {
    return std::get<T>(list.at(i));
}

} // namespace

// --- Rotate ----------------------------------------------------------------------------------

TEST(RotateRight, TurnsThePictureClockwise) {
    QImage image = filled(300, 200, white);
    image.setPixel(10, 5, grey); // (x, y) → (199 − y, x)
    image.setDotsPerMeterX(3000);
    image.setDotsPerMeterY(4000);
    image.setDevicePixelRatio(2);

    const auto turned = rotateRight(image, {});
    ASSERT_TRUE(turned);
    const QImage& out = turned->image;
    EXPECT_EQ(out.size(), QSize(200, 300));
    EXPECT_EQ(out.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(out.devicePixelRatio(), 1);
    EXPECT_EQ(out.pixel(194, 10), grey);
    EXPECT_EQ(out.pixel(0, 299), white);
    // Columns became rows, and so did their resolution.
    EXPECT_EQ(out.dotsPerMeterX(), 4000);
    EXPECT_EQ(out.dotsPerMeterY(), 3000);
}

TEST(RotateRight, AnnotationsTurnAboutTheImage) {
    const AnnotationList before = everyKind();
    const auto turned = rotateRight(filled(300, 200, white), before);
    ASSERT_TRUE(turned);
    const AnnotationList& after = turned->annotations;
    ASSERT_EQ(after.size(), before.size());

    // Canvas point (x, y) goes to (240 − y, x): 200 high plus both insets, minus y.
    expectRectNear(nth<ShapeAnnotation>(after, 0).rect, QRectF(180, 30, 20, 50));
    expectRectNear(nth<ShapeAnnotation>(after, 1).rect, QRectF(78.75, 150.5, 71, 33));
    EXPECT_EQ(nth<ShapeAnnotation>(after, 1).shape, ShapeAnnotation::Shape::oval);

    const QPainterPath& path = nth<StrokeAnnotation>(after, 2).path;
    ASSERT_EQ(path.elementCount(), 3);
    expectPointNear(path.elementAt(0), {220, 20});
    expectPointNear(path.elementAt(1), {220, 120});
    expectPointNear(path.elementAt(2), {162.25, 130.5});

    // The image's top-left and bottom-right corners are the new top-right and bottom-left.
    const auto& arrow = nth<ArrowAnnotation>(after, 3);
    expectPointNear(arrow.start, {220, 20});
    expectPointNear(arrow.end, {20, 320});
    expectPointNear(arrow.controlPoint, {210, 200});
    EXPECT_EQ(arrow.lineWidth, 3);

    // Text keeps its 60 × 20 box; its centre (130, 60) goes to (180, 130).
    expectRectNear(nth<TextAnnotation>(after, 4).rect, QRectF(150, 120, 60, 20));

    // The overlay's box and its picture turn together: red, green, blue now run downwards.
    const auto& overlay = nth<OverlayAnnotation>(after, 5);
    expectRectNear(overlay.rect, QRectF(210, 20, 10, 30));
    ASSERT_EQ(overlay.image.size(), QSize(1, 3));
    EXPECT_EQ(overlay.image.pixel(0, 0), red);
    EXPECT_EQ(overlay.image.pixel(0, 1), green);
    EXPECT_EQ(overlay.image.pixel(0, 2), blue);
    EXPECT_EQ(overlay.overlayRef, QStringLiteral("A1B2"));
}

TEST(RotateRight, FourTurnsRestoreImageAndEveryAnnotation) {
    const QImage image = patterned(300, 200);
    const AnnotationList annotations = everyKind();
    Edited state{image, annotations};
    for (int turn = 0; turn < 4; ++turn) {
        auto next = rotateRight(state.image, state.annotations);
        ASSERT_TRUE(next);
        state = std::move(*next);
        EXPECT_EQ(state.image.size(), turn % 2 == 0 ? QSize(200, 300) : QSize(300, 200));
    }
    EXPECT_EQ(state.image, premultiplied(image));
    expectSameAnnotations(state.annotations, annotations);
}

// --- Flip ------------------------------------------------------------------------------------

TEST(Flip, MirrorsThePictureAlongTheChosenAxis) {
    QImage image = filled(300, 200, white);
    image.setPixel(0, 0, red);
    image.setPixel(10, 5, grey);
    image.setDotsPerMeterX(3000);
    image.setDotsPerMeterY(4000);

    const auto across = flip(image, {}, Qt::Horizontal);
    ASSERT_TRUE(across);
    EXPECT_EQ(across->image.size(), QSize(300, 200));
    EXPECT_EQ(across->image.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(across->image.pixel(299, 0), red);
    EXPECT_EQ(across->image.pixel(289, 5), grey);
    EXPECT_EQ(across->image.pixel(0, 0), white);
    EXPECT_EQ(across->image.dotsPerMeterX(), 3000);
    EXPECT_EQ(across->image.dotsPerMeterY(), 4000);

    const auto upDown = flip(image, {}, Qt::Vertical);
    ASSERT_TRUE(upDown);
    EXPECT_EQ(upDown->image.pixel(0, 199), red);
    EXPECT_EQ(upDown->image.pixel(10, 194), grey);
    EXPECT_EQ(upDown->image.pixel(0, 0), white);
}

TEST(Flip, AnnotationsMirrorButTextStaysReadable) {
    const auto across = flip(filled(300, 200, white), everyKind(), Qt::Horizontal);
    ASSERT_TRUE(across);
    const AnnotationList& h = across->annotations;
    // x goes to 340 − x.
    expectRectNear(nth<ShapeAnnotation>(h, 0).rect, QRectF(260, 40, 50, 20));
    expectPointNear(nth<StrokeAnnotation>(h, 2).path.elementAt(1), {220, 20});
    const auto& arrow = nth<ArrowAnnotation>(h, 3);
    expectPointNear(arrow.start, {320, 20});
    expectPointNear(arrow.end, {20, 220});
    expectPointNear(arrow.controlPoint, {140, 30});
    expectRectNear(nth<TextAnnotation>(h, 4).rect, QRectF(180, 50, 60, 20));
    EXPECT_EQ(nth<TextAnnotation>(h, 4).text, QStringLiteral("Label"));
    const auto& overlay = nth<OverlayAnnotation>(h, 5);
    expectRectNear(overlay.rect, QRectF(290, 20, 30, 10));
    EXPECT_EQ(overlay.image.pixel(0, 0), blue);
    EXPECT_EQ(overlay.image.pixel(2, 0), red);

    const auto upDown = flip(filled(300, 200, white), everyKind(), Qt::Vertical);
    ASSERT_TRUE(upDown);
    // y goes to 240 − y.
    expectRectNear(nth<ShapeAnnotation>(upDown->annotations, 0).rect, QRectF(30, 180, 50, 20));
    expectRectNear(nth<TextAnnotation>(upDown->annotations, 4).rect, QRectF(100, 170, 60, 20));
    expectPointNear(nth<ArrowAnnotation>(upDown->annotations, 3).end, {320, 20});
}

TEST(Flip, FlippingTwiceRestoresAndBothAxesEqualAHalfTurn) {
    const QImage image = patterned(300, 200);
    const AnnotationList annotations = everyKind();
    for (Qt::Orientation axis : {Qt::Horizontal, Qt::Vertical}) {
        SCOPED_TRACE(axis);
        const auto once = flip(image, annotations, axis);
        ASSERT_TRUE(once);
        EXPECT_NE(once->image, premultiplied(image));
        const auto twice = flip(once->image, once->annotations, axis);
        ASSERT_TRUE(twice);
        EXPECT_EQ(twice->image, premultiplied(image));
        expectSameAnnotations(twice->annotations, annotations);
    }

    // Mirroring both ways is the same picture as turning twice, annotations included.
    const auto h = flip(image, annotations, Qt::Horizontal);
    const auto hv = flip(h->image, h->annotations, Qt::Vertical);
    const auto r = rotateRight(image, annotations);
    const auto rr = rotateRight(r->image, r->annotations);
    ASSERT_TRUE(hv && rr);
    EXPECT_EQ(hv->image, rr->image);
    expectSameAnnotations(hv->annotations, rr->annotations);
}

TEST(RotateAndFlip, EmptyImagesGiveNothing) {
    EXPECT_FALSE(rotateRight(QImage(), everyKind()));
    EXPECT_FALSE(flip(QImage(), everyKind(), Qt::Horizontal));
}

// --- The crop rectangle follows the picture --------------------------------------------------

TEST(CropFollows, RotationAndFlipsMoveItWithThePicture) {
    const QRectF crop(70, 45, 100, 50); // image pixels (50, 25)–(150, 75) of 300 × 200
    expectRectNear(rotateCropRight(crop, QSize(300, 200)), QRectF(145, 70, 50, 100));
    expectRectNear(flipCrop(crop, QSize(300, 200), Qt::Horizontal), QRectF(170, 45, 100, 50));
    expectRectNear(flipCrop(crop, QSize(300, 200), Qt::Vertical), QRectF(70, 145, 100, 50));

    // The whole image stays the whole image.
    expectRectNear(rotateCropRight(QRectF(20, 20, 300, 200), QSize(300, 200)),
                   QRectF(20, 20, 200, 300));
    expectRectNear(flipCrop(QRectF(20, 20, 300, 200), QSize(300, 200), Qt::Vertical),
                   QRectF(20, 20, 300, 200));
}

TEST(CropFollows, CroppingAfterATurnCutsTheSamePixels) {
    const QImage image = patterned(300, 200);
    const QRectF area(70, 45, 100, 50);
    const Color blank = Color::black();

    const auto turned = rotateRight(image, {});
    const auto cutTurned =
        imageops::crop(turned->image, {}, rotateCropRight(area, image.size()), blank);
    const auto cut = imageops::crop(image, {}, area, blank);
    ASSERT_TRUE(cutTurned && cut);
    EXPECT_EQ(cutTurned->image, rotateRight(cut->image, {})->image);

    const auto mirrored = flip(image, {}, Qt::Vertical);
    const auto cutMirrored =
        imageops::crop(mirrored->image, {}, flipCrop(area, image.size(), Qt::Vertical), blank);
    ASSERT_TRUE(cutMirrored);
    EXPECT_EQ(cutMirrored->image, flip(cut->image, {}, Qt::Vertical)->image);
}

// --- Crop ------------------------------------------------------------------------------------

TEST(Crop, ReachingBeyondTheRightEdgeAddsBlankColumns) {
    QImage image = filled(300, 200, grey);
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(5000);
    // Image columns 200…299 are inside; the crop runs on 50 columns past the edge.
    const QRectF area(220, 20, 150, 200);
    const AnnotationList annotations{
        shapeAt(QRectF(250, 60, 10, 10)),
        arrowBetween({20, 20}, {330, 100}, {300, 20}, 2, ArrowEndCap::triangle)};

    const auto cut = imageops::crop(image, annotations, area, Color::rgb(0, 0, 1));
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->image.size(), QSize(150, 200));
    EXPECT_EQ(cut->image.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(cut->image.dotsPerMeterX(), 5000);
    EXPECT_EQ(cut->image.pixel(0, 0), grey);
    EXPECT_EQ(cut->image.pixel(99, 199), grey);
    EXPECT_EQ(cut->image.pixel(100, 0), blue);
    EXPECT_EQ(cut->image.pixel(149, 199), blue);

    // Moved by (20 − 220, 20 − 20).
    expectRectNear(nth<ShapeAnnotation>(cut->annotations, 0).rect, QRectF(50, 60, 10, 10));
    const auto& arrow = nth<ArrowAnnotation>(cut->annotations, 1);
    expectPointNear(arrow.start, {-180, 20});
    expectPointNear(arrow.end, {130, 100});
    expectPointNear(arrow.controlPoint, {100, 20});
}

TEST(Crop, BlankShowsAboveLeftAndUnderTransparentPixels) {
    QImage image = filled(100, 80, grey, QImage::Format_ARGB32);
    image.setPixel(30, 30, qRgba(0, 0, 0, 0));
    // Starts 20 columns left of the image and 10 rows above it.
    const auto cut = imageops::crop(image, {}, QRectF(0, 10, 100, 50), Color::black());
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->image.size(), QSize(100, 50));
    EXPECT_EQ(cut->image.pixel(19, 30), 0xff000000);
    EXPECT_EQ(cut->image.pixel(40, 9), 0xff000000);
    EXPECT_EQ(cut->image.pixel(20, 10), grey);
    EXPECT_EQ(cut->image.pixel(50, 40), 0xff000000); // image pixel (30, 30)

    // Inside the image, the same holds for a transparent pixel.
    const auto inside = imageops::crop(image, {}, QRectF(40, 40, 20, 20), Color::white());
    ASSERT_TRUE(inside);
    EXPECT_EQ(inside->image.pixel(10, 10), white);
    EXPECT_EQ(inside->image.pixel(9, 10), grey);
}

TEST(Crop, FractionalEdgesRoundToThePixelGrid) {
    const QImage image = patterned(300, 200);
    // Edges at image x 0.4 → 0 and 100.2 → 100, y 0.6 → 1 and 50.8 → 51.
    const auto cut = imageops::crop(image, {shapeAt(QRectF(30, 30, 5, 5))},
                                    QRectF(20.4, 20.6, 99.8, 50.2), Color::black());
    ASSERT_TRUE(cut);
    EXPECT_EQ(cut->image.size(), QSize(100, 50));
    EXPECT_EQ(cut->image.pixel(0, 0), image.pixel(0, 1));
    EXPECT_EQ(cut->image.pixel(99, 49), image.pixel(99, 50));
    expectRectNear(nth<ShapeAnnotation>(cut->annotations, 0).rect, QRectF(30, 29, 5, 5));
}

TEST(Crop, EmptyCropsGiveNothing) {
    const QImage image = filled(100, 80, grey);
    EXPECT_FALSE(imageops::crop(image, {}, QRectF(20, 20, 0, 50), Color::black()));
    EXPECT_FALSE(imageops::crop(image, {}, QRectF(20, 20, 50, 0), Color::black()));
    EXPECT_FALSE(imageops::crop(image, {}, QRectF(20, 20, -10, 50), Color::black()));
    EXPECT_FALSE(imageops::crop(image, {}, QRectF(20, 20, 0.3, 50), Color::black()));
    EXPECT_FALSE(imageops::crop(QImage(), {}, QRectF(20, 20, 10, 10), Color::black()));
    EXPECT_TRUE(imageops::crop(image, {}, QRectF(20, 20, 1, 1), Color::black()));
}

// --- Resize ----------------------------------------------------------------------------------

TEST(Resize, ScalesThePictureAndMapsTheAnnotations) {
    QImage image = filled(300, 200, red);
    {
        QPainter painter(&image);
        painter.fillRect(150, 0, 150, 200, QColor(blue));
    }
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(6000);
    TextAnnotation text;
    text.rect = QRectF(100, 50, 60, 20);
    text.fontSize = 18;
    const AnnotationList annotations{shapeAt(QRectF(50, 60, 60, 20)), text};

    const auto half = resize(image, annotations, QSize(150, 100));
    ASSERT_TRUE(half);
    EXPECT_EQ(half->image.size(), QSize(150, 100));
    EXPECT_EQ(half->image.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(half->image.devicePixelRatio(), 1);
    EXPECT_EQ(half->image.dotsPerMeterX(), 5000);
    EXPECT_EQ(half->image.dotsPerMeterY(), 6000);
    EXPECT_EQ(half->image.pixel(10, 50), red);
    EXPECT_EQ(half->image.pixel(140, 50), blue);
    // (20 + (50 − 20)·0.5, 20 + (60 − 20)·0.5), sizes halved.
    expectRectNear(nth<ShapeAnnotation>(half->annotations, 0).rect, QRectF(35, 40, 30, 10));
    expectRectNear(nth<TextAnnotation>(half->annotations, 1).rect, QRectF(60, 35, 30, 10));
    EXPECT_EQ(nth<TextAnnotation>(half->annotations, 1).fontSize, 18);
}

TEST(Resize, SizesBelowOnePixelGiveNothing) {
    const QImage image = filled(300, 200, grey);
    EXPECT_FALSE(resize(image, {}, QSize(0, 100)));
    EXPECT_FALSE(resize(image, {}, QSize(100, 0)));
    EXPECT_FALSE(resize(image, {}, QSize(-5, 100)));
    EXPECT_FALSE(resize(QImage(), {}, QSize(10, 10)));
    const auto tiny = resize(image, {}, QSize(1, 1));
    ASSERT_TRUE(tiny);
    EXPECT_EQ(tiny->image.pixel(0, 0), grey);
}

TEST(Resize, CropAndAnnotationsMapBetweenImageRectangles) {
    expectRectNear(resizeCrop(QRectF(70, 45, 100, 50), QSize(300, 200), QSize(150, 100)),
                   QRectF(45, 32.5, 50, 25));
    expectRectNear(resizeCrop(QRectF(20, 20, 300, 200), QSize(300, 200), QSize(301, 201)),
                   QRectF(20, 20, 301, 201));

    // 300 × 200 → 600 × 100: x doubles, y halves, both about the image's corner.
    const AnnotationList mapped =
        mapToNewImage({shapeAt(QRectF(50, 60, 60, 20)), strokeThrough({{20, 20}, {320, 220}})},
                      QSize(300, 200), QSize(600, 100));
    expectRectNear(nth<ShapeAnnotation>(mapped, 0).rect, QRectF(80, 40, 120, 10));
    expectPointNear(nth<StrokeAnnotation>(mapped, 1).path.elementAt(1), {620, 120});

    const AnnotationList same = everyKind();
    expectSameAnnotations(mapToNewImage(same, QSize(300, 200), QSize(300, 200)), same);
}

// --- Merge -----------------------------------------------------------------------------------

namespace {

ShapeAnnotation filledSquare(QPointF topLeft, const Color& fill) {
    ShapeAnnotation s = shapeAt(QRectF(topLeft, QSizeF(20, 20)));
    s.strokeColor = Color::clear();
    s.fillColor = fill;
    return s;
}

} // namespace

TEST(Merge, DrawsExactlyTheChosenAnnotationsAndRemovesThem) {
    QImage image = filled(100, 60, white);
    image.setDotsPerMeterX(5000);
    image.setDotsPerMeterY(5000);
    const ShapeAnnotation redSquare = filledSquare({30, 30}, Color::rgb(1, 0, 0));
    const ShapeAnnotation blueSquare = filledSquare({70, 30}, Color::rgb(0, 0, 1));
    ArrowAnnotation arrow = arrowBetween({25, 70}, {110, 70}, {60, 60}, 3, ArrowEndCap::triangle);
    arrow.color = Color::black();
    const AnnotationList annotations{redSquare, blueSquare, arrow};
    const AnnotationIDSet ids{redSquare.id, arrow.id};

    const auto merged = merge(image, annotations, ids);
    ASSERT_TRUE(merged);
    const QImage& out = merged->image;
    EXPECT_EQ(out.size(), QSize(100, 60));
    EXPECT_EQ(out.pixel(20, 20), red);   // canvas (40, 40): inside the red square
    EXPECT_EQ(out.pixel(60, 20), white); // the blue square stays an annotation
    EXPECT_EQ(out.pixel(50, 5), white);
    EXPECT_NE(out.pixel(44, 45), white); // the shaft's middle, image (43.75, 45)
    EXPECT_EQ(out.dotsPerMeterX(), 5000);
    EXPECT_EQ(out.dotsPerMeterY(), 5000);

    const auto expected = render::renderFlattened(
        image, annotations, render::FlattenOptions(QSizeF(100, 60), false, true, ids));
    ASSERT_TRUE(expected);
    EXPECT_EQ(out.convertToFormat(expected->format()), *expected);

    ASSERT_EQ(merged->annotations.size(), 1u);
    EXPECT_EQ(idOf(merged->annotations[0]), blueSquare.id);
}

TEST(Merge, NothingToMergeGivesNothing) {
    const QImage image = filled(100, 60, white);
    const AnnotationList annotations{filledSquare({30, 30}, Color::rgb(1, 0, 0))};
    EXPECT_FALSE(merge(image, annotations, {}));
    EXPECT_FALSE(merge(image, annotations, {AnnotationID::generate()}));
    EXPECT_FALSE(merge(image, {}, {idOf(annotations[0])}));

    // Unknown IDs beside a known one are ignored.
    const auto merged = merge(image, annotations, {idOf(annotations[0]), AnnotationID::generate()});
    ASSERT_TRUE(merged);
    EXPECT_TRUE(merged->annotations.empty());
}

TEST(Merge, ActionNameCountsTheAnnotations) {
    EXPECT_EQ(mergeActionName(1), "Merge Annotation into Image");
    EXPECT_EQ(mergeActionName(2), "Merge 2 Annotations into Image");
    EXPECT_EQ(mergeActionName(12), "Merge 12 Annotations into Image");
}
