#include "canvas/AnnotationRenderer.h"
#include "canvas/CanvasChrome.h"
#include "model/AnnotationStyle.h"

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

QImage blank(int w, int h, QColor fill = Qt::white) {
    QImage image(w, h, QImage::Format_ARGB32_Premultiplied);
    image.fill(fill);
    return image;
}

QImage drawn(const Annotation& annotation, int w = 100, int h = 60) {
    QImage image = blank(w, h);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    render::drawAnnotation(painter, annotation);
    return image;
}

bool isInk(QRgb pixel) {
    return qGray(pixel) < 200;
}

// Columns along row y that carry ink.
std::vector<int> inkColumns(const QImage& image, int y) {
    std::vector<int> columns;
    for (int x = 0; x < image.width(); ++x) {
        if (isInk(image.pixel(x, y))) {
            columns.push_back(x);
        }
    }
    return columns;
}

StrokeAnnotation horizontalLine(double width, LineStyle style) {
    StrokeAnnotation s;
    s.path.moveTo(10, 30);
    s.path.lineTo(90, 30);
    s.color = Color::black();
    s.lineWidth = width;
    s.lineStyle = style;
    return s;
}

} // namespace

TEST(Renderer, DashPatternsScaleWithTheLineWidth) {
    EXPECT_TRUE(render::dashPattern(LineStyle::solid, 4).isEmpty());
    EXPECT_EQ(render::dashPattern(LineStyle::dotted, 4), (QList<qreal>{0, 7}));
    EXPECT_EQ(render::dashPattern(LineStyle::dashed, 2), (QList<qreal>{4.5, 3.5}));
    EXPECT_EQ(render::dashPattern(LineStyle::dashDot, 2), (QList<qreal>{4.5, 3.5, 0, 3.5}));
}

// Dotted at width 4: round dots 4 wide whose centres are 7 apart (the zero-length dashes
// must still leave a dot).
TEST(Renderer, DottedLinesDrawRoundDotsSevenApart) {
    const QImage image = drawn(horizontalLine(4, LineStyle::dotted));
    const std::vector<int> ink = inkColumns(image, 30);
    ASSERT_FALSE(ink.empty());
    std::vector<double> centres;
    size_t runStart = 0;
    for (size_t i = 1; i <= ink.size(); ++i) {
        if (i == ink.size() || ink[i] != ink[i - 1] + 1) {
            EXPECT_LE(ink[i - 1] - ink[runStart] + 1, 5); // at most the dot's width
            centres.push_back((ink[runStart] + ink[i - 1]) / 2.0);
            runStart = i;
        }
    }
    ASSERT_GE(centres.size(), 10u);
    for (size_t i = 1; i < centres.size(); ++i) {
        EXPECT_NEAR(centres[i] - centres[i - 1], 7, 1.01);
    }
    // Solid covers the whole run.
    EXPECT_EQ(inkColumns(drawn(horizontalLine(4, LineStyle::solid)), 30).size(), 84u);
}

TEST(Renderer, ClearColoursAndZeroWidthsDrawNothing) {
    ShapeAnnotation invisible;
    invisible.rect = QRectF(10, 10, 50, 30);
    invisible.strokeColor = Color::clear();
    invisible.fillColor = Color::clear();
    EXPECT_EQ(drawn(invisible), blank(100, 60));

    ShapeAnnotation noOutline = invisible;
    noOutline.strokeColor = Color::black();
    noOutline.lineWidth = 0;
    EXPECT_EQ(drawn(noOutline), blank(100, 60));

    noOutline.lineWidth = 2;
    EXPECT_TRUE(isInk(drawn(noOutline).pixel(10, 20)));
}

TEST(Renderer, ShapesFillBeforeTheyStroke) {
    ShapeAnnotation shape;
    shape.rect = QRectF(10, 10, 60, 40);
    shape.fillColor = Color::rgb(0, 0, 1);
    shape.strokeColor = Color::rgb(1, 0, 0);
    shape.lineWidth = 6;
    const QImage image = drawn(shape);
    EXPECT_EQ(image.pixel(40, 30), qRgb(0, 0, 255));
    EXPECT_EQ(image.pixel(11, 30), qRgb(255, 0, 0)); // the outline covers the fill's edge
}

TEST(Renderer, TextIsLaidOutFromTheTopLeftInsideThePadding) {
    TextAnnotation text =
        makeText(QRectF(0, 0, 200, 100), QStringLiteral("WWW"), AnnotationStyle());
    text.color = Color::black();
    text.strokeColor = Color::clear();
    text.padding = 10;
    const QImage left = drawn(text, 200, 100);
    const auto firstInkRow = [](const QImage& image) {
        for (int y = 0; y < image.height(); ++y) {
            if (!inkColumns(image, y).empty()) {
                return y;
            }
        }
        return -1;
    };
    EXPECT_GE(firstInkRow(left), 10);
    EXPECT_LT(firstInkRow(left), 20); // top-aligned, not centred in the 100-high box
    const int row = firstInkRow(left) + 4;
    EXPECT_GE(inkColumns(left, row).front(), 10);
    EXPECT_LT(inkColumns(left, row).front(), 14);

    text.alignment = TextAlignment::right;
    const QImage right = drawn(text, 200, 100);
    EXPECT_LE(inkColumns(right, row).back(), 190);
    EXPECT_GT(inkColumns(right, row).back(), 184);
}

TEST(Renderer, LongTextWrapsAtTheBoxWidth) {
    TextAnnotation text =
        makeText(QRectF(0, 0, 80, 200), QStringLiteral("one two three four"), AnnotationStyle());
    text.color = Color::black();
    text.strokeColor = Color::clear();
    text.padding = 0;
    const QImage image = drawn(text, 200, 200);
    for (int y = 0; y < 200; ++y) {
        for (int x : inkColumns(image, y)) {
            ASSERT_LT(x, 81) << "ink beyond the wrap width at row " << y;
        }
    }
}

TEST(Renderer, AnnotationsCanBeFilteredAndSkipped) {
    ShapeAnnotation a;
    a.rect = QRectF(0, 0, 20, 20);
    a.fillColor = Color::black();
    ShapeAnnotation b = a;
    b.id = AnnotationID::generate();
    b.rect = QRectF(50, 0, 20, 20);
    const AnnotationList list{a, b};

    QImage onlyB = blank(100, 30);
    QPainter p1(&onlyB);
    render::drawAnnotations(p1, list, AnnotationIDSet{b.id});
    p1.end();
    EXPECT_FALSE(isInk(onlyB.pixel(10, 10)));
    EXPECT_TRUE(isInk(onlyB.pixel(60, 10)));

    QImage skipFirst = blank(100, 30);
    QPainter p2(&skipFirst);
    render::drawAnnotations(p2, list, std::nullopt, 0);
    p2.end();
    EXPECT_EQ(skipFirst, onlyB);
}

TEST(Flattening, RemovesTheInsetAndScalesWithTheOutput) {
    const QImage image = blank(200, 100);
    ShapeAnnotation block;
    block.rect = QRectF(20, 20, 50, 50); // the image's top-left corner on the canvas
    block.fillColor = Color::black();
    block.lineWidth = 0;
    const auto full = render::renderFlattened(image, AnnotationList{block}, {QSizeF(200, 100)});
    ASSERT_TRUE(full);
    EXPECT_EQ(full->size(), QSize(200, 100));
    EXPECT_EQ(full->pixel(0, 0), qRgb(0, 0, 0));
    EXPECT_EQ(full->pixel(49, 49), qRgb(0, 0, 0));
    EXPECT_EQ(full->pixel(51, 51), qRgb(255, 255, 255));

    const auto half = render::renderFlattened(image, AnnotationList{block}, {QSizeF(100, 50)});
    ASSERT_TRUE(half);
    EXPECT_EQ(half->pixel(24, 24), qRgb(0, 0, 0));
    EXPECT_EQ(half->pixel(26, 26), qRgb(255, 255, 255));
}

TEST(Flattening, TransparentBaseAndAnnotationOptions) {
    const QImage image = blank(40, 40, Qt::red);
    ShapeAnnotation block;
    block.rect = QRectF(20, 20, 10, 10);
    block.fillColor = Color::black();
    const AnnotationList list{block};

    const auto sheet = render::renderFlattened(image, list, {QSizeF(40, 40), true, true});
    EXPECT_EQ(qAlpha(sheet->pixel(35, 35)), 0);
    EXPECT_EQ(sheet->pixel(5, 5), qRgb(0, 0, 0));

    const auto plain = render::renderFlattened(image, list, {QSizeF(40, 40), false, false});
    EXPECT_EQ(plain->pixel(5, 5), qRgb(255, 0, 0));

    const auto none =
        render::renderFlattened(image, list, {QSizeF(40, 40), false, true, AnnotationIDSet{}});
    EXPECT_EQ(none->pixel(5, 5), qRgb(255, 0, 0));
}

TEST(Flattening, EmptyImagesOrSizesYieldNothing) {
    EXPECT_FALSE(render::renderFlattened(QImage(), {}, {QSizeF(10, 10)}));
    EXPECT_FALSE(render::renderFlattened(blank(10, 10), {}, {QSizeF(0, 0)}));
    EXPECT_FALSE(render::renderFlattened(blank(10, 10), {}, {QSizeF(0.5, 10)}));
}

TEST(CanvasDrawing, HiddenAnnotationsLeaveOnlyTheImage) {
    ShapeAnnotation shape;
    shape.rect = QRectF(25, 25, 20, 20);
    shape.fillColor = Color::black();
    const AnnotationList list{shape};
    CanvasSnapshot canvas;
    canvas.image = blank(60, 60, Qt::green);
    canvas.annotations = list;
    canvas.selectedIndices = {0};
    canvas.activeTool = Tool::editImage;
    canvas.cropRect = QRectF(30, 30, 10, 10);
    canvas.visibleRect = QRectF(0, 0, 100, 100);
    canvas.showsAnnotations = false;

    QImage hidden = blank(100, 100);
    QPainter p1(&hidden);
    render::drawCanvas(p1, canvas);
    p1.end();
    QImage expected = blank(100, 100);
    QPainter p2(&expected);
    p2.drawImage(20, 20, canvas.image);
    p2.end();
    EXPECT_EQ(hidden, expected);
}

TEST(CanvasDrawing, LockedSelectionShowsTheBadgeInsteadOfHandles) {
    ShapeAnnotation shape;
    shape.rect = QRectF(20, 20, 60, 60);
    shape.strokeColor = Color::clear();
    const auto draw = [&](bool locked) {
        shape.isLocked = locked;
        const AnnotationList list{shape};
        CanvasSnapshot canvas;
        canvas.image = blank(100, 100, Qt::black);
        canvas.annotations = list;
        canvas.selectedIndices = {0};
        QImage out = blank(140, 140, Qt::black);
        QPainter painter(&out);
        render::drawCanvas(painter, canvas);
        return out;
    };
    const QImage unlocked = draw(false);
    const QImage locked = draw(true);
    // A handle's white centre sits on the top-left corner; the badge sits in the middle.
    EXPECT_EQ(unlocked.pixel(20, 20), qRgb(255, 255, 255));
    EXPECT_NE(locked.pixel(20, 20), qRgb(255, 255, 255));
    EXPECT_EQ(unlocked.pixel(42, 50), qRgb(0, 0, 0));
    EXPECT_NE(locked.pixel(42, 50), qRgb(0, 0, 0));
}

TEST(CanvasDrawing, LabelsTruncateToWholePixels) {
    EXPECT_EQ(render::sizeLabelText(QRectF(5, 5, 200.9, 150.2)), QStringLiteral("200 × 150 px"));
    EXPECT_EQ(render::cursorLabelText(QPointF(145.99, 20.5)), QStringLiteral("125, 0 px"));
}

TEST(CanvasDrawing, LabelDigitsTakeEqualWidthsSoTheBoxStaysStill) {
    QImage device = blank(10, 10);
    const QFontMetricsF metrics(render::labelFont(1, &device), &device);
    const auto width = [&](const QString& text) {
        double sum = 0;
        for (double advance : render::labelAdvances(text, metrics)) {
            sum += advance;
        }
        return sum;
    };
    EXPECT_DOUBLE_EQ(width(QStringLiteral("1111 × 1111 px")),
                     width(QStringLiteral("8888 × 8888 px")));
    EXPECT_DOUBLE_EQ(width(QStringLiteral("10, 7 px")), width(QStringLiteral("47, 3 px")));
    EXPECT_EQ(render::labelAdvances(QStringLiteral("12 px"), metrics).size(), 5u);
}
