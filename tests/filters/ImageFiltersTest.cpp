#include "filters/ImageFilters.h"

#include "support/Pictures.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

using namespace vellumix;
using namespace vellumix::filters;
using namespace vellumix::testing;

namespace {

// Left part (x < split) in one colour, the rest in another.
QImage halves(QSize size, int split, QRgb left, QRgb right,
              QImage::Format format = QImage::Format_RGB32) {
    return generate(
        size, [&](int x, int) { return x < split ? left : right; }, format);
}

// Vertical grey bands: `widths[i]` columns at level `levels[i]`.
QImage greyBands(std::initializer_list<std::pair<int, int>> bands, int height) {
    int width = 0;
    for (const auto& band : bands) {
        width += band.first;
    }
    return generate(QSize(width, height), [&](int x, int) {
        for (const auto& [columns, level] : bands) {
            if (x < columns) {
                return qRgb(level, level, level);
            }
            x -= columns;
        }
        return 0u;
    });
}

int grey(QRgb p) {
    return qGray(p);
}

// Pixel values of an image converted to straight ARGB32, for comparisons across formats.
QRgb at(const QImage& image, int x, int y) {
    return image.convertToFormat(QImage::Format_ARGB32).pixel(x, y);
}

void expectRgb(QRgb actual, int r, int g, int b, int tolerance = 0) {
    EXPECT_NEAR(qRed(actual), r, tolerance);
    EXPECT_NEAR(qGreen(actual), g, tolerance);
    EXPECT_NEAR(qBlue(actual), b, tolerance);
}

// Something with texture, so that "unchanged" means every pixel.
QImage noisy(QSize size) {
    return generate(size, [](int x, int y) {
        return qRgb((x * 37 + y * 11) % 256, (x * x + y * 7) % 256, (x ^ y) & 255);
    });
}

} // namespace

TEST(ApplyFilter, KindsAreComparedInLowerCaseAndUnknownKindsGiveNothing) {
    const QImage image = noisy(QSize(40, 30));
    EXPECT_TRUE(applyFilter(image, QStringLiteral("SHARPEN"), 0.5));
    EXPECT_TRUE(applyFilter(image, QStringLiteral("Blur"), 0.5));
    EXPECT_EQ(*applyFilter(image, QStringLiteral("CONTRAST"), 1),
              *applyFilter(image, QStringLiteral("contrast"), 1));
    EXPECT_FALSE(applyFilter(image, QStringLiteral("noise"), 0.5));
    EXPECT_FALSE(applyFilter(image, QString(), 0.5));
    EXPECT_FALSE(applyFilter(image, QStringLiteral(" sharpen"), 0.5));
    EXPECT_FALSE(applyFilter(QImage(), QStringLiteral("sharpen"), 0.5));
}

TEST(ApplyFilter, ColourControlsGiveHandWorkedValuesOnFlatColours) {
    const QImage image = filled(QSize(8, 6), qRgb(100, 200, 20));
    // contrast 1.7: 100 → (0.39216 − 0.5)·1.7 + 0.5 = 0.31667 → 80.75; 200 → 250.75; 20 → below 0.
    const QImage contrast = *applyFilter(image, QStringLiteral("contrast"), 1);
    EXPECT_EQ(contrast.size(), image.size());
    expectRgb(contrast.pixel(0, 0), 81, 251, 0);
    expectRgb(contrast.pixel(7, 5), 81, 251, 0);
    // contrast 1.35: 100 → (0.39216 − 0.5)·1.35 + 0.5 = 0.35441 → 90.4; 200 → 0.88382 → 225.4.
    expectRgb(applyFilter(image, QStringLiteral("contrast"), 0.5)->pixel(3, 3), 90, 225, 0);
    // brightness 0.2: +51 levels; 200 + 51 = 251.
    expectRgb(applyFilter(image, QStringLiteral("brightness"), 0.5)->pixel(3, 3), 151, 251, 71);
    // brightness 0.4: +102, clamped at white.
    expectRgb(applyFilter(image, QStringLiteral("brightness"), 1)->pixel(3, 3), 202, 255, 122);
}

TEST(ApplyFilter, StrengthIsClampedToZeroToOne) {
    const QImage image = noisy(QSize(50, 40));
    EXPECT_EQ(*applyFilter(image, QStringLiteral("contrast"), 1.7),
              *applyFilter(image, QStringLiteral("contrast"), 1));
    EXPECT_EQ(*applyFilter(image, QStringLiteral("blur"), 1.7),
              *applyFilter(image, QStringLiteral("blur"), 1));
    // Strength 0 (or below) is the identity, bit for bit.
    for (const char* kind : {"sharpen", "contrast", "brightness", "blur"}) {
        SCOPED_TRACE(kind);
        EXPECT_EQ(*applyFilter(image, QLatin1String(kind), -0.2), image);
        EXPECT_EQ(*applyFilter(image, QLatin1String(kind), 0), image);
    }
    // A positive strength does change it.
    EXPECT_NE(*applyFilter(image, QStringLiteral("sharpen"), 0.1), image);
}

TEST(ApplyFilter, SharpenRaisesEdgeContrastAndLeavesFlatAreas) {
    // A 100 | 160 step between columns 49 and 50. Blur σ 2.5 next to the edge: 100 + 60·0.42 =
    // 125.2, so 100 + 1.8·(100 − 125.2) = 54.6 and symmetrically 205.4 on the bright side.
    const QImage step = halves(QSize(100, 20), 50, qRgb(100, 100, 100), qRgb(160, 160, 160));
    const QImage sharp = *applyFilter(step, QStringLiteral("sharpen"), 1);
    EXPECT_NEAR(grey(sharp.pixel(49, 10)), 55, 2);
    EXPECT_NEAR(grey(sharp.pixel(50, 10)), 205, 2);
    // The halo fades with distance, and far from the edge nothing moves (the kernel spans ±8).
    EXPECT_LT(grey(sharp.pixel(49, 10)), grey(sharp.pixel(47, 10)));
    EXPECT_LT(grey(sharp.pixel(47, 10)), 100);
    EXPECT_EQ(grey(sharp.pixel(30, 10)), 100);
    EXPECT_EQ(grey(sharp.pixel(70, 10)), 160);
    // Rows are alike: the top and bottom edges are clamped, not darkened.
    EXPECT_EQ(sharp.pixel(49, 0), sharp.pixel(49, 10));
    EXPECT_EQ(sharp.pixel(70, 19), sharp.pixel(70, 10));
}

TEST(ApplyFilter, BlurKeepsFlatImagesAndSmoothsEdgesWithoutADarkRim) {
    const QImage flat = filled(QSize(120, 80), qRgb(30, 140, 220));
    EXPECT_EQ(*applyFilter(flat, QStringLiteral("blur"), 1), flat);

    // Black | white at x = 200, σ = 20: the value at x is 255·Φ((x + 0.5 − 200)/20).
    const QImage edge = halves(QSize(400, 40), 200, qRgb(0, 0, 0), qRgb(255, 255, 255));
    const QImage soft = *applyFilter(edge, QStringLiteral("blur"), 1);
    ASSERT_EQ(soft.size(), edge.size());
    EXPECT_NEAR(grey(soft.pixel(179, 20)), 39, 3);  // Φ(−1.025) = 0.153
    EXPECT_NEAR(grey(soft.pixel(199, 20)), 125, 3); // Φ(−0.025) = 0.490
    EXPECT_NEAR(grey(soft.pixel(220, 20)), 216, 3); // Φ(1.025) = 0.847
    EXPECT_NEAR(grey(soft.pixel(240, 20)), 250, 3); // Φ(2.025) = 0.979
    for (int x = 1; x < 400; ++x) {
        ASSERT_LE(grey(soft.pixel(x - 1, 20)), grey(soft.pixel(x, 20))) << "x " << x;
    }
    // Clamped to the extent: the far columns keep their colour and every row is the same.
    EXPECT_EQ(grey(soft.pixel(0, 20)), 0);
    EXPECT_EQ(grey(soft.pixel(399, 20)), 255);
    for (const int x : {0, 150, 230, 399}) {
        EXPECT_EQ(soft.pixel(x, 0), soft.pixel(x, 20));
        EXPECT_EQ(soft.pixel(x, 39), soft.pixel(x, 20));
    }
}

TEST(ApplyFilter, AlphaIsKeptAndHiddenColourDoesNotBleed) {
    // Opaque red left, fully transparent right with green hidden under it.
    const QImage image = halves(QSize(60, 10), 30, qRgba(255, 0, 0, 255), qRgba(0, 255, 0, 0),
                                QImage::Format_ARGB32);
    const QImage blurred = *applyFilter(image, QStringLiteral("blur"), 0.5);
    for (int x = 0; x < 60; ++x) {
        ASSERT_EQ(qAlpha(at(blurred, x, 5)), qAlpha(image.pixel(x, 5))) << "x " << x;
    }
    expectRgb(at(blurred, 29, 5), 255, 0, 0, 1);

    // Grey next to hidden white: an unweighted blur would brighten the edge and sharpen would
    // darken it.
    const QImage grey128 = halves(QSize(60, 10), 30, qRgba(128, 128, 128, 255),
                                  qRgba(255, 255, 255, 0), QImage::Format_ARGB32);
    const QImage sharp = *applyFilter(grey128, QStringLiteral("sharpen"), 1);
    expectRgb(at(sharp, 29, 5), 128, 128, 128, 1);
    EXPECT_EQ(qAlpha(at(sharp, 29, 5)), 255);
    EXPECT_EQ(qAlpha(at(sharp, 30, 5)), 0);

    // Premultiplied input: (50, 50, 50) at alpha 128 is straight grey 100, which contrast 1.7
    // takes to 81; the alpha stays 128.
    const QImage premultiplied =
        filled(QSize(4, 4), qRgba(50, 50, 50, 128), QImage::Format_ARGB32_Premultiplied);
    const QRgb p = at(*applyFilter(premultiplied, QStringLiteral("contrast"), 1), 2, 2);
    expectRgb(p, 81, 81, 81, 1);
    EXPECT_EQ(qAlpha(p), 128);
}

TEST(AutoEnhance, StretchesADullImageToTheFullRange) {
    // Three equal bands at 80, 125 and 170: the range [80, 170] becomes [0, 255], and 125 lands
    // on (125 − 80)·255/90 = 127.5.
    const QImage dull = greyBands({{30, 80}, {30, 125}, {30, 170}}, 30);
    const QImage out = *autoEnhance(dull);
    ASSERT_EQ(out.size(), dull.size());
    expectRgb(out.pixel(10, 10), 0, 0, 0);
    expectRgb(out.pixel(45, 10), 128, 128, 128);
    expectRgb(out.pixel(80, 10), 255, 255, 255);
}

TEST(AutoEnhance, BrightensAndSaturatesADullPhoto) {
    // A hazy photo: smooth low-saturation colour fields with grain, luminance about 90…170.
    unsigned seed = 7;
    const auto grain = [&seed] {
        seed = seed * 1103515245u + 12345u;
        return static_cast<int>((seed >> 16) % 9) - 4;
    };
    const QImage photo = generate(QSize(320, 240), [&](int x, int y) {
        const int base = 95 + x * 70 / 320 + y * 10 / 240;
        return qRgb(base + 12 + grain(), base + grain(), base - 10 + grain());
    });
    const QImage out = *autoEnhance(photo);
    const auto stats = [](const QImage& image) {
        int low = 255;
        int high = 0;
        double chroma = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const QRgb p = image.pixel(x, y);
                low = std::min(low, grey(p));
                high = std::max(high, grey(p));
                chroma += std::max({qRed(p), qGreen(p), qBlue(p)}) -
                          std::min({qRed(p), qGreen(p), qBlue(p)});
            }
        }
        return std::tuple(low, high, chroma / (image.width() * image.height()));
    };
    const auto [lowIn, highIn, chromaIn] = stats(photo);
    const auto [lowOut, highOut, chromaOut] = stats(out);
    EXPECT_LT(highIn - lowIn, 110);
    EXPECT_GT(highOut - lowOut, 230);
    EXPECT_GT(chromaOut, chromaIn * 1.3);
}

TEST(AutoEnhance, LiftsTheMidtonesOfADarkDullImage) {
    // 60 % at 20, 20 % at 60, 20 % at 120: stretched to 0, 102, 255 with the median on black,
    // so the midtones get the strongest lift, γ = 0.7: 255·0.4^0.7 = 134.3.
    const QImage out = *autoEnhance(greyBands({{60, 20}, {20, 60}, {20, 120}}, 20));
    expectRgb(out.pixel(10, 10), 0, 0, 0);
    expectRgb(out.pixel(70, 10), 134, 134, 134);
    expectRgb(out.pixel(90, 10), 255, 255, 255);
}

TEST(AutoEnhance, LeavesFullRangeImagesAndScreenshotsAlone) {
    EXPECT_FALSE(autoEnhance(generate(QSize(256, 20), [](int x, int) { return qRgb(x, x, x); })));

    // Screenshots: a light window with one short line of text (too few dark pixels for a
    // percentile to find), the same in dark mode, and a window on a muted gradient wallpaper.
    const auto window = [](QImage shot, bool dark) {
        QPainter p(&shot);
        p.fillRect(40, 30, 320, 28, dark ? QColor(48, 48, 52) : QColor(225, 225, 228));
        p.fillRect(60, 80, 200, 200, dark ? QColor(30, 30, 32) : QColor(250, 250, 250));
        p.fillRect(280, 250, 60, 24, QColor(10, 132, 255));
        p.fillRect(70, 100, 100, 2, dark ? QColor(235, 235, 235) : QColor(20, 20, 20));
        return shot;
    };
    const QImage wallpaper = generate(QSize(400, 300), [](int x, int y) {
        return qRgb(120 + x / 8, 110 + y / 10, 140 - x / 10);
    });
    const QImage shots[] = {window(filled(QSize(400, 300), qRgb(250, 250, 250)), false),
                            window(filled(QSize(400, 300), qRgb(30, 30, 32)), true),
                            window(wallpaper, false)};
    for (const QImage& shot : shots) {
        SCOPED_TRACE(&shot - shots);
        if (const std::optional<QImage> out = autoEnhance(shot)) {
            for (int y = 0; y < 300; y += 3) {
                for (int x = 0; x < 400; x += 3) {
                    expectRgb(at(*out, x, y), qRed(shot.pixel(x, y)), qGreen(shot.pixel(x, y)),
                              qBlue(shot.pixel(x, y)), 2);
                }
            }
        }
    }
}

TEST(AutoEnhance, KeepsAlphaAndIgnoresInvisiblePixels) {
    // The dull bands again at alpha 90, beside a transparent strip whose hidden black must not
    // count towards the range (it would pull the black point down to 0 and halve the stretch).
    const QImage image = generate(
        QSize(120, 30),
        [](int x, int) {
            const int level = x < 30 ? 80 : x < 60 ? 125 : x < 90 ? 170 : 0;
            return qRgba(level, level, level, x < 90 ? 90 : 0);
        },
        QImage::Format_ARGB32);
    const QImage out = *autoEnhance(image);
    EXPECT_EQ(qAlpha(at(out, 5, 5)), 90);
    EXPECT_EQ(qAlpha(at(out, 100, 5)), 0);
    expectRgb(at(out, 5, 5), 0, 0, 0);
    expectRgb(at(out, 45, 5), 128, 128, 128);
    expectRgb(at(out, 80, 25), 255, 255, 255);

    EXPECT_FALSE(autoEnhance(filled(QSize(20, 20), qRgba(0, 0, 0, 0), QImage::Format_ARGB32)));
    EXPECT_FALSE(autoEnhance(filled(QSize(20, 20), qRgb(90, 90, 90))));
    EXPECT_FALSE(autoEnhance(QImage()));
}

namespace {

// A white 300 × 400 page with four dark text lines, drawn through `toPhoto` (page coordinates to
// image pixels) on a dark grey 640 × 520 background.
QImage photographedPage(const QTransform& toPhoto) {
    QImage photo = filled(QSize(640, 520), qRgb(60, 60, 60));
    QPainter p(&photo);
    p.setRenderHint(QPainter::Antialiasing);
    p.setTransform(toPhoto);
    p.fillRect(QRectF(0, 0, 300, 400), QColor(245, 245, 245));
    for (int line = 0; line < 4; ++line) {
        p.fillRect(QRectF(40, 80 + line * 80, 220, 8), QColor(25, 25, 25));
    }
    return photo;
}

QTransform pageOnto(const QPolygonF& corners) {
    QTransform t;
    const QPolygonF page{QPointF(0, 0), QPointF(300, 0), QPointF(300, 400), QPointF(0, 400)};
    const bool ok = QTransform::quadToQuad(page, corners, t);
    EXPECT_TRUE(ok);
    return t;
}

// Where in rows from…to column x is dark: the centroid of its darkness.
double darkCentre(const QImage& image, int x, int from, int to) {
    double sum = 0;
    double weight = 0;
    for (int y = from; y <= to; ++y) {
        const double dark = 255 - grey(image.pixel(x, y));
        sum += dark * y;
        weight += dark;
    }
    return sum / weight;
}

void expectPageWhiteBorder(const QImage& result) {
    const QImage page = result.convertToFormat(QImage::Format_ARGB32);
    // The page border all round is page-white: no background rim, no leftover skew.
    for (int x = 0; x < page.width(); ++x) {
        ASSERT_GT(grey(page.pixel(x, 0)), 215) << "top x " << x;
        ASSERT_GT(grey(page.pixel(x, page.height() - 1)), 215) << "bottom x " << x;
    }
    for (int y = 0; y < page.height(); ++y) {
        ASSERT_GT(grey(page.pixel(0, y)), 215) << "left y " << y;
        ASSERT_GT(grey(page.pixel(page.width() - 1, y)), 215) << "right y " << y;
    }
}

// Each text line (page rows 80…88, centre 84) runs level across the page, the same height at
// both ends, at rowOf(84 + 80·line) within `tolerance`.
template <typename RowOf>
void expectLevelTextLines(const QImage& result, RowOf rowOf, double tolerance) {
    const QImage page = result.convertToFormat(QImage::Format_ARGB32);
    for (int line = 0; line < 4; ++line) {
        const double expected = rowOf(84.0 + line * 80);
        const int from = static_cast<int>(expected - 25);
        const int to = static_cast<int>(expected + 25);
        const double left = darkCentre(page, page.width() / 5, from, to);
        const double right = darkCentre(page, page.width() * 4 / 5, from, to);
        EXPECT_NEAR(left, expected, tolerance) << "line " << line;
        EXPECT_NEAR(right, left, 0.5) << "line " << line;
    }
}

} // namespace

TEST(StraightenDocument, RotatedPageComesOutUprightAtItsSize) {
    QTransform toPhoto;
    toPhoto.translate(320, 260).rotate(12).translate(-150, -200);
    const QImage photo = photographedPage(toPhoto);

    const std::optional<std::array<QPointF, 4>> corners = findDocument(photo);
    ASSERT_TRUE(corners);
    const QPointF expected[] = {toPhoto.map(QPointF(0, 0)), toPhoto.map(QPointF(300, 0)),
                                toPhoto.map(QPointF(300, 400)), toPhoto.map(QPointF(0, 400))};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_LT(QLineF((*corners)[i], expected[i]).length(), 3.0) << "corner " << i;
    }

    const QImage page = *straightenDocument(photo);
    // 300 × 400 less the 1.5-pixel inset on each side.
    EXPECT_NEAR(page.width(), 297, 2);
    EXPECT_NEAR(page.height(), 397, 2);
    expectPageWhiteBorder(page);
    // Page row y lands on row (y − 1.5)·(height − 1)/397: the inset is taken off both ends.
    expectLevelTextLines(
        page, [&](double y) { return (y - 1.5) * (page.height() - 1) / 397.0; }, 1.0);
}

TEST(StraightenDocument, PerspectiveIsCorrected) {
    // Seen from below and to the left: the top edge is shorter and the page leans.
    const QPolygonF quad{QPointF(210, 70), QPointF(470, 95), QPointF(540, 470), QPointF(110, 440)};
    const QImage photo = photographedPage(pageOnto(quad));
    const std::optional<std::array<QPointF, 4>> corners = findDocument(photo);
    ASSERT_TRUE(corners);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_LT(QLineF((*corners)[i], quad[int(i)]).length(), 3.0) << "corner " << i;
    }

    const QImage page = *straightenDocument(photo);
    // The longer of each pair of opposite edges: bottom hypot(430, 30) = 431.0, left
    // hypot(100, 370) = 383.3; less about 3 for the inset.
    EXPECT_NEAR(page.width(), 429, 3);
    EXPECT_NEAR(page.height(), 381, 3);
    expectPageWhiteBorder(page);
    // The photo's edge lengths, not the page's proportions, set the size; the lines still run
    // level.
    expectLevelTextLines(
        page, [&](double y) { return y * page.height() / 400.0; }, 3.0);
}

TEST(StraightenDocument, LongResultIsScaledDownToTheInputsLongerSide) {
    // A sheared sliver along the diagonal of a 400 × 400 image: its long edges measure 438 px.
    QImage photo = filled(QSize(400, 400), qRgb(50, 50, 50));
    {
        QPainter p(&photo);
        p.setRenderHint(QPainter::Antialiasing);
        QPainterPath path;
        path.addPolygon(
            QPolygonF{QPointF(10, 80), QPointF(80, 10), QPointF(390, 320), QPointF(320, 390)});
        p.fillPath(path, QColor(240, 240, 240));
    }
    const QImage page = *straightenDocument(photo);
    EXPECT_EQ(std::max(page.width(), page.height()), 400);
    EXPECT_NEAR(std::min(page.width(), page.height()), 89, 3);
}

TEST(StraightenDocument, NothingWithoutAPage) {
    // A window-like screenshot: title bar, sidebar, text lines, buttons; no closed outline over
    // a fifth of the picture.
    QImage shot = filled(QSize(640, 400), qRgb(246, 246, 246));
    {
        QPainter p(&shot);
        p.fillRect(0, 0, 640, 30, QColor(220, 220, 224));
        p.fillRect(0, 30, 140, 370, QColor(232, 232, 236));
        for (int i = 0; i < 12; ++i) {
            p.fillRect(170, 60 + i * 24, 300 + (i * 37) % 140, 3, QColor(30, 30, 30));
            p.fillRect(16, 50 + i * 26, 90, 12, QColor(120, 120, 128));
        }
        p.fillRect(520, 350, 90, 28, QColor(10, 132, 255));
    }
    EXPECT_FALSE(straightenDocument(shot));
    EXPECT_FALSE(findDocument(shot));

    // Windows on a wallpaper: one large window alone is an upright rectangle, nothing to
    // straighten; overlapping ones make a staircase outline, not a page.
    const QImage desktop =
        generate(QSize(640, 400), [](int x, int y) { return qRgb(60 + x / 8, 90, 150 - y / 5); });
    QImage oneWindow = desktop;
    {
        QPainter p(&oneWindow);
        p.fillRect(120, 60, 400, 280, QColor(236, 236, 240));
        p.fillRect(120, 60, 400, 24, QColor(53, 53, 53));
    }
    EXPECT_FALSE(straightenDocument(oneWindow));
    QImage overlapping = desktop;
    {
        QPainter p(&overlapping);
        for (const QPoint& at : {QPoint(100, 40), QPoint(160, 50), QPoint(70, 60)}) {
            p.fillRect(QRect(at, QSize(360, 220)), QColor(236, 236, 240));
            p.fillRect(QRect(at, QSize(360, 24)), QColor(53, 53, 53));
        }
    }
    EXPECT_FALSE(straightenDocument(overlapping));

    EXPECT_FALSE(straightenDocument(filled(QSize(300, 200), qRgb(60, 60, 60))));
    EXPECT_FALSE(straightenDocument(filled(QSize(1, 1), qRgb(255, 255, 255))));
    EXPECT_FALSE(straightenDocument(QImage()));
}
