#include "canvas/StyleSwatch.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

using namespace vellumix;

namespace {

const QColor secondary(0, 128, 0); // stands in for the palette's placeholder text

// Shows only what a test sets: nothing stroked, filled or lettered.
AnnotationStyle bare() {
    AnnotationStyle style;
    style.strokeColor = Color::clear();
    style.fillColor = Color::clear();
    style.fontColor = Color::clear();
    return style;
}

QImage swatch(const AnnotationStyle& style, Tool tool, qreal ratio = 1, double height = 14) {
    return render::styleSwatch(style, tool, secondary, ratio, height);
}

// The pixel under a point, at any ratio.
QColor at(const QImage& image, double x, double y) {
    const qreal r = image.devicePixelRatio();
    return image.pixelColor(int(std::floor(x * r)), int(std::floor(y * r)));
}

bool isBlue(const QColor& c) {
    return c.alpha() > 200 && c.blue() > 200 && c.red() < 60 && c.green() < 60;
}
bool isSecondary(const QColor& c) {
    return c.alpha() > 128 && c.green() > 90 && c.red() < 60 && c.blue() < 60;
}

// Device rows holding blue in one device column.
std::vector<int> blueRows(const QImage& image, int column) {
    std::vector<int> rows;
    for (int y = 0; y < image.height(); ++y) {
        if (isBlue(image.pixelColor(column, y))) {
            rows.push_back(y);
        }
    }
    return rows;
}

// The device-pixel box of everything bluish (the letter); null when there is none.
QRect blueInk(const QImage& image) {
    QRect ink;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor c = image.pixelColor(x, y);
            if (c.alpha() > 40 && c.blue() > 150 && c.red() < 90) {
                ink |= QRect(x, y, 1, 1);
            }
        }
    }
    return ink;
}

} // namespace

TEST(StyleSwatch, LineIsTheStrokeColourAtOpacityWithItsWidthClampedToOneThroughSix) {
    AnnotationStyle style = bare();
    style.strokeColor = Color::rgb(0, 0, 1);
    // Width 2 about the middle line 7: rows 6 and 7, crisp; round caps reach 9 and 27.
    QImage image = swatch(style, Tool::rect);
    EXPECT_EQ(blueRows(image, 18), (std::vector<int>{6, 7}));
    EXPECT_TRUE(isBlue(at(image, 9.5, 7)) && isBlue(at(image, 26.5, 7)));
    EXPECT_EQ(at(image, 8, 7).alpha() + at(image, 28.5, 7).alpha(), 0);
    // 20 draws as 6: points 4 to 10, device rows 8 to 19 at ratio 2.
    style.lineWidth = 20;
    const std::vector<int> thick = blueRows(swatch(style, Tool::rect, 2), 36);
    ASSERT_EQ(thick.size(), 12u);
    EXPECT_EQ(thick.front(), 8);
    // 0.2 draws as 1, on one whole row at ratio 1 rather than smeared over two.
    style.lineWidth = 0.2;
    image = swatch(style, Tool::rect);
    EXPECT_EQ(blueRows(image, 18), std::vector<int>{7});
    EXPECT_EQ(image.pixelColor(18, 7).alpha(), 255);
    EXPECT_EQ(blueRows(swatch(style, Tool::rect, 2), 36), (std::vector<int>{13, 14}));

    style.lineWidth = 2;
    style.opacity = 0.5;
    const QColor faded = at(swatch(style, Tool::rect), 18, 7);
    EXPECT_NEAR(faded.alphaF(), 0.5, 0.01);
    EXPECT_EQ(faded.blue(), 255);
}

TEST(StyleSwatch, ClearStrokeShowsDashesInTheSecondaryColour) {
    // Dash 3, gap 3 from x 10, widened by round caps of 0.75: ink 9.25-13.75, 15.25-19.75, …
    const QImage image = swatch(bare(), Tool::rect, 4);
    EXPECT_TRUE(isSecondary(at(image, 11.5, 7)));
    EXPECT_EQ(at(image, 14.5, 7).alpha(), 0);
    EXPECT_TRUE(isSecondary(at(image, 17.5, 7)));
    EXPECT_EQ(at(image, 20.5, 7).alpha(), 0);
    EXPECT_EQ(at(image, 11.5, 6).alpha(), 0); // 1.5 wide
}

TEST(StyleSwatch, CircleIsFilledAtTheStylesOpacityOrDashedWhenTheFillIsClear) {
    AnnotationStyle style = bare();
    style.fillColor = Color::rgb(1, 0, 0);
    // The circle spans x 32-45 and y 0.5-13.5 around (38.5, 7).
    const QImage filled = swatch(style, Tool::oval, 2);
    EXPECT_EQ(at(filled, 38.5, 7), QColor(255, 0, 0));
    EXPECT_EQ(at(filled, 33.5, 7), QColor(255, 0, 0));
    EXPECT_EQ(at(filled, 32.5, 1).alpha(), 0); // round, not square
    EXPECT_EQ(at(filled, 46, 7).alpha(), 0);
    style.opacity = 0.4;
    EXPECT_NEAR(at(swatch(style, Tool::oval, 2), 38.5, 7).alphaF(), 0.4, 0.01);

    // Clear: an empty middle in a ring of dash 2, gap 2.
    const QImage dashed = swatch(bare(), Tool::oval, 4);
    EXPECT_EQ(at(dashed, 38.5, 7).alpha(), 0);
    int on = 0;
    int off = 0;
    for (int i = 0; i < 120; ++i) {
        const double angle = 2 * std::numbers::pi * i / 120;
        const QColor c = at(dashed, 38.5 + 6.5 * std::cos(angle), 7 + 6.5 * std::sin(angle));
        on += isSecondary(c);
        off += c.alpha() < 40;
    }
    EXPECT_GT(on, 30);
    EXPECT_GT(off, 30);
}

TEST(StyleSwatch, OnlyTheTextToolAddsTheLetterCentredAtFortyNine) {
    AnnotationStyle style = bare();
    style.fontColor = Color::rgb(0, 0, 1);
    EXPECT_TRUE(blueInk(swatch(style, Tool::rect, 2)).isNull());
    EXPECT_TRUE(blueInk(swatch(style, Tool::arrow, 2)).isNull());
    // A clear font colour leaves the letter's place empty rather than drawing it black.
    const QImage noLetter = swatch(bare(), Tool::text, 2).copy(96, 0, 28, 28);
    QImage empty(noLetter.size(), noLetter.format());
    empty.fill(Qt::transparent);
    EXPECT_EQ(noLetter, empty);

    const QRect ink = blueInk(swatch(style, Tool::text, 2));
    EXPECT_GE(ink.left(), 98); // x 49 at ratio 2; an "A" has almost no left bearing
    EXPECT_LE(ink.left(), 102);
    EXPECT_LE(ink.right(), 123); // inside 62 points
    // A 15-pixel bold capital is about 11 high: it fits 14 unscaled, centred in 28 rows.
    EXPECT_GE(ink.height(), 18);
    EXPECT_LE(std::abs(ink.top() - (27 - ink.bottom())), 1);
    // It shrinks only for a lower picture.
    EXPECT_LE(blueInk(swatch(style, Tool::text, 4, 8)).height(), 33);

    style.opacity = 0.5;
    const QImage faded = swatch(style, Tool::text, 2);
    int strongest = 0;
    for (int y = 0; y < faded.height(); ++y) {
        for (int x = 96; x < faded.width(); ++x) {
            strongest = std::max(strongest, faded.pixelColor(x, y).alpha());
        }
    }
    EXPECT_NEAR(strongest, 128, 2);
}

TEST(StyleSwatch, PictureSizeFollowsTheToolAndThePixelRatio) {
    const AnnotationStyle style;
    EXPECT_EQ(swatch(style, Tool::rect, 2).size(), QSize(94, 28));
    EXPECT_EQ(swatch(style, Tool::rect, 2).deviceIndependentSize(), QSizeF(47, 14));
    EXPECT_EQ(swatch(style, Tool::text, 2).size(), QSize(124, 28));
    EXPECT_EQ(swatch(style, Tool::text, 1).size(), QSize(62, 14));
    EXPECT_EQ(swatch(style, Tool::rect, 1.5).size(), QSize(71, 21));
    EXPECT_EQ(swatch(style, Tool::rect, 1.25).size(), QSize(59, 18));
}

TEST(StyleSwatch, DrawsIntoARowAroundItsMiddle) {
    // A 188 × 34 row at ratio 2, drawn around y 17.
    QImage row(376, 68, QImage::Format_ARGB32_Premultiplied);
    row.setDevicePixelRatio(2);
    row.fill(Qt::transparent);
    AnnotationStyle style = bare();
    style.strokeColor = Color::rgb(0, 0, 1);
    style.fontColor = Color::rgb(0, 0, 1);
    style.lineWidth = 3;
    {
        QPainter painter(&row);
        render::drawStyleSwatch(painter, style, Tool::text, 17, secondary);
    }
    // Width 3 about 17: points 15.5 to 18.5, device rows 31 to 36.
    EXPECT_EQ(blueRows(row, 36), (std::vector<int>{31, 32, 33, 34, 35, 36}));
    const QRect letter = blueInk(row.copy(96, 0, 280, 68));
    EXPECT_LE(std::abs(letter.top() + letter.bottom() + 1 - 68), 2);
}
