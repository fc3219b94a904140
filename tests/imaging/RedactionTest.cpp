#include "imaging/Redaction.h"

#include "support/Pictures.h"

#include <QColor>

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <set>

using namespace vellumix;
using namespace vellumix::imageops;
using namespace vellumix::testing;

namespace {

constexpr QRgb white = 0xffffffff;
constexpr QRgb black = 0xff000000;
constexpr double inf = std::numeric_limits<double>::infinity();
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();

// Every pixel differs from its neighbours, so a pixel changed or left alone by mistake shows.
QImage patterned(int w, int h) {
    return generate(QSize(w, h), [](int x, int y) {
        return qRgb((x * 37 + y * 11) % 256, (x * 5 + y * 71) % 256, (x * 13 + y * 29) % 256);
    });
}

// Pixels of `after` inside `area` that differ from `before`, and whether any outside does.
struct Changes {
    int inside = 0;
    int outside = 0;
};

Changes changes(const QImage& before, const QImage& after, const QRect& area) {
    const QImage a = before.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    Changes counted;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            if (a.pixel(x, y) != after.pixel(x, y)) {
                ++(area.contains(x, y) ? counted.inside : counted.outside);
            }
        }
    }
    return counted;
}

struct Spread {
    int lowest[3] = {255, 255, 255};
    int highest[3] = {0, 0, 0};
    double mean[3] = {0, 0, 0};
    int widest() const {
        return std::max({highest[0] - lowest[0], highest[1] - lowest[1], highest[2] - lowest[2]});
    }
};

Spread spreadOf(const QImage& image, const QRect& block) {
    Spread s;
    for (int y = block.top(); y <= block.bottom(); ++y) {
        for (int x = block.left(); x <= block.right(); ++x) {
            const QRgb p = image.pixel(x, y);
            const int channels[3] = {qRed(p), qGreen(p), qBlue(p)};
            for (int c = 0; c < 3; ++c) {
                s.lowest[c] = std::min(s.lowest[c], channels[c]);
                s.highest[c] = std::max(s.highest[c], channels[c]);
                s.mean[c] += channels[c];
            }
        }
    }
    for (double& m : s.mean) {
        m /= double(block.width()) * block.height();
    }
    return s;
}

// The blocks of `area` for `block` pixels, starting at its corner, cut off at its edges.
std::vector<QRect> blocksOf(const QRect& area, int block) {
    std::vector<QRect> blocks;
    for (int y = area.top(); y <= area.bottom(); y += block) {
        for (int x = area.left(); x <= area.right(); x += block) {
            blocks.push_back(QRect(x, y, block, block).intersected(area));
        }
    }
    return blocks;
}

RedactionArea pixelate(const QRectF& rect) {
    return {rect, RedactionStyle::pixelate};
}

RedactionArea fillIn(const QRectF& rect) {
    return {rect, RedactionStyle::fill};
}

} // namespace

TEST(RedactionPixels, EdgesRoundOutwardAndClipToTheImage) {
    const QSize size(100, 80);
    // 2.5…6.6 × 3.2…4.3 touches columns 2–6 and rows 3–4.
    EXPECT_EQ(redactionPixels(QRectF(2.5, 3.2, 4.1, 1.1), size), QRect(2, 3, 5, 2));
    EXPECT_EQ(redactionPixels(QRectF(10, 10, 5, 5), size), QRect(10, 10, 5, 5));
    // A tiny rectangle inside one pixel still covers that pixel.
    EXPECT_EQ(redactionPixels(QRectF(7.4, 7.4, 0.1, 0.1), size), QRect(7, 7, 1, 1));
    // Dragged up and to the left.
    EXPECT_EQ(redactionPixels(QRectF(6.6, 4.3, -4.1, -1.1), size), QRect(2, 3, 5, 2));
    EXPECT_EQ(redactionPixels(QRectF(-5.5, -3, 10, 10), size), QRect(0, 0, 5, 7));
    EXPECT_EQ(redactionPixels(QRectF(90.2, 70, 50, 50), size), QRect(90, 70, 10, 10));
    EXPECT_EQ(redactionPixels(QRectF(-1e300, -1e300, 2e300, 2e300), size), QRect(0, 0, 100, 80));
}

TEST(RedactionPixels, RectanglesCoveringNoPixelAreEmpty) {
    const QSize size(100, 80);
    EXPECT_TRUE(redactionPixels(QRectF(100, 10, 5, 5), size).isEmpty());
    EXPECT_TRUE(redactionPixels(QRectF(-10, 10, 10, 5), size).isEmpty());
    EXPECT_TRUE(redactionPixels(QRectF(10, 80.0, 5, 5), size).isEmpty());
    EXPECT_TRUE(redactionPixels(QRectF(10.5, 10, 0, 5), size).isEmpty());
    EXPECT_TRUE(redactionPixels(QRectF(10, 10, 5, 0), size).isEmpty());
    EXPECT_TRUE(redactionPixels(QRectF(notANumber, 10, 5, 5), size).isEmpty());
    EXPECT_TRUE(redactionPixels(QRectF(10, 10, inf, 5), size).isEmpty());
    EXPECT_TRUE(redactionPixels(QRectF(10, 10, 5, 5), QSize(0, 0)).isEmpty());
}

TEST(RedactionFill, CoversExactlyTheRoundedPixelsWithTheColour) {
    const QImage source = patterned(60, 40);
    const Color colour = Color::rgb(0.2, 0.4, 0.6);
    const QImage result = redact(source, {fillIn(QRectF(2.5, 3.2, 4.1, 1.1))}, colour, {}, 1);
    const QRect area(2, 3, 5, 2);
    const Changes changed = changes(source, result, area);
    EXPECT_EQ(changed.outside, 0);
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            EXPECT_EQ(result.pixel(x, y), qRgb(51, 102, 153)) << x << "," << y;
        }
    }
}

TEST(RedactionFill, TheCoverIsAlwaysOpaque) {
    const QImage clearSource = filled(20, 20, 0x00000000, QImage::Format_ARGB32);
    const QRectF rect(5, 5, 10, 10);
    // A translucent colour is laid on opaque, even over transparent pixels.
    QImage result = redact(clearSource, {fillIn(rect)}, Color::rgb(1, 0, 0, 0.3), {}, 1);
    EXPECT_EQ(result.pixel(7, 7), 0xffff0000);
    EXPECT_EQ(result.pixel(2, 2), 0x00000000u);
    // A clear colour would hide nothing: black instead.
    result = redact(filled(20, 20, white), {fillIn(rect)}, Color::clear(), {}, 1);
    EXPECT_EQ(result.pixel(7, 7), black);
    // Black is the default.
    result = redact(filled(20, 20, white), {fillIn(rect)});
    EXPECT_EQ(result.pixel(14, 14), black);
    EXPECT_EQ(result.pixel(15, 15), white);
}

TEST(Redaction, TheResultIsAnEditedBitmapAndTheSourceIsLeftAlone) {
    QImage source = patterned(64, 48);
    source.setDevicePixelRatio(2);
    source.setDotsPerMeterX(5000);
    source.setDotsPerMeterY(6000);
    const QImage original = source.copy();
    const QImage result =
        redact(source, {fillIn(QRectF(0, 0, 10, 10)), pixelate(QRectF(20, 20, 30, 20))},
               Color::black(), {}, 3);
    EXPECT_EQ(result.size(), source.size());
    EXPECT_EQ(result.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(result.devicePixelRatio(), 1);
    EXPECT_EQ(result.dotsPerMeterX(), 5000);
    EXPECT_EQ(result.dotsPerMeterY(), 6000);
    EXPECT_EQ(source, original);
}

TEST(Redaction, APremultipliedSourceGivesTheSamePictureAndIsNotWrittenTo) {
    // Premultiplied pictures (the editor's own) are copied into fresh memory rather than
    // converted: the result must not depend on the path, and the source must stay as it was.
    const QImage source = patterned(700, 500);
    QImage premultiplied = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    const QImage before = premultiplied.copy();
    const std::vector<RedactionArea> areas = {pixelate(QRectF(5, 5, 600, 400)),
                                              fillIn(QRectF(650, 0, 50, 500))};
    const QImage fromPremultiplied = redact(premultiplied, areas, Color::black(), {}, 21);
    EXPECT_EQ(fromPremultiplied, redact(source, areas, Color::black(), {}, 21));
    EXPECT_EQ(premultiplied, before);
    EXPECT_NE(fromPremultiplied.constBits(), premultiplied.constBits());
}

TEST(Redaction, NothingToCoverGivesAnUnchangedCopy) {
    const QImage source = patterned(40, 30);
    const QImage converted = source.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(redact(source, {}), converted);
    // Off the image, of no size, or not a number: skipped, while the valid area still applies.
    const std::vector<RedactionArea> nothing = {
        fillIn(QRectF(40, 0, 10, 10)),         pixelate(QRectF(-20, -20, 15, 15)),
        fillIn(QRectF(5, 5, 0, 10)),           pixelate(QRectF(5, 5, 10, 0)),
        fillIn(QRectF(notANumber, 0, 10, 10)), pixelate(QRectF(0, 0, inf, inf)),
        pixelate(QRectF(0, 31, 40, 5)),
    };
    EXPECT_EQ(redact(source, nothing, Color::black(), {}, 5), converted);
    std::vector<RedactionArea> oneValid = nothing;
    oneValid.push_back(fillIn(QRectF(1, 1, 2, 2)));
    const Changes changed =
        changes(source, redact(source, oneValid, Color::black(), {}, 5), QRect(1, 1, 2, 2));
    EXPECT_EQ(changed.inside, 4);
    EXPECT_EQ(changed.outside, 0);
}

TEST(Redaction, ANullImageGivesANullImage) {
    EXPECT_TRUE(redact(QImage(), {fillIn(QRectF(0, 0, 10, 10))}).isNull());
    EXPECT_TRUE(redact(QImage(), {}).isNull());
}

TEST(RedactionPixelate, BlocksAreNearlyUniformNoisyMeansAndNothingOutsideChanges) {
    const QImage source = patterned(120, 90);
    // 15.3…100.7 × 10.5…67.2: pixels 15–100 × 10–67, blocks of 12 cut off on the right and
    // bottom (86 = 7 × 12 + 2 wide, 58 = 4 × 12 + 10 tall).
    const QImage result =
        redact(source, {pixelate(QRectF(15.3, 10.5, 85.4, 56.7))}, Color::black(), {}, 11);
    const QRect area(15, 10, 86, 58);
    EXPECT_EQ(changes(source, result, area).outside, 0);

    const std::vector<QRect> blocks = blocksOf(area, minimumPixelationBlock);
    ASSERT_EQ(blocks.size(), 8u * 5u);
    EXPECT_EQ(blocks.back(), QRect(99, 58, 2, 10));
    std::set<int> blockOffsets;
    for (const QRect& block : blocks) {
        const Spread before = spreadOf(source, block);
        const Spread after = spreadOf(result, block);
        EXPECT_LE(after.widest(), 2 * pixelationPixelNoise) << block.x() << "," << block.y();
        for (int c = 0; c < 3; ++c) {
            // The mean moves by the block's offset and the average of the pixel noise.
            EXPECT_NEAR(after.mean[c], before.mean[c],
                        pixelationBlockNoise + pixelationPixelNoise + 0.5)
                << block.x() << "," << block.y() << " channel " << c;
            blockOffsets.insert(int(std::lround(after.mean[c] - before.mean[c])));
        }
    }
    // The offsets are random, not one shift for every block.
    EXPECT_GE(blockOffsets.size(), 5u);
}

TEST(RedactionPixelate, AFlatAreaGetsVisibleButSmallNoise) {
    const QImage source = filled(96, 48, qRgb(128, 128, 128));
    const QImage result = redact(source, {pixelate(QRectF(0, 0, 96, 48))}, Color::black(), {}, 2);
    std::set<QRgb> colours;
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 96; ++x) {
            const QRgb p = result.pixel(x, y);
            colours.insert(p);
            for (int v : {qRed(p), qGreen(p), qBlue(p)}) {
                ASSERT_LE(std::abs(v - 128), pixelationBlockNoise + pixelationPixelNoise);
            }
            ASSERT_EQ(qAlpha(p), 255);
        }
    }
    EXPECT_GT(colours.size(), 20u);
}

TEST(RedactionPixelate, TranslucentPixelsStayValidPremultipliedColour) {
    QImage source(40, 40, QImage::Format_ARGB32);
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 40; ++x) {
            source.setPixel(x, y, qRgba(250, 5 * x, 255, x < 20 ? 0 : 3 * y));
        }
    }
    const QImage result = redact(source, {pixelate(QRectF(0, 0, 40, 40))}, Color::black(), {}, 9);
    for (int y = 0; y < 40; ++y) {
        for (int x = 0; x < 40; ++x) {
            const QRgb p = result.pixel(x, y);
            ASSERT_LE(std::max({qRed(p), qGreen(p), qBlue(p)}), qAlpha(p)) << x << "," << y;
        }
    }
    // The first block is all transparent and stays so.
    EXPECT_EQ(result.pixel(3, 3), 0u);
}

TEST(RedactionPixelate, TheBlockSizeFollowsTheTallestOverlappingTextLine) {
    const QRect area(100, 100, 200, 40);
    EXPECT_EQ(pixelationBlockSize(area, {}), minimumPixelationBlock);
    // Small text: never below the minimum.
    EXPECT_EQ(pixelationBlockSize(area, {QRectF(90, 110, 300, 8)}), minimumPixelationBlock);
    EXPECT_EQ(pixelationBlockSize(area, {QRectF(90, 105, 300, 20)}), 20);
    EXPECT_EQ(pixelationBlockSize(area, {QRectF(90, 105, 300, 20.2)}), 21);
    EXPECT_EQ(pixelationBlockSize(area, {QRectF(90, 105, 300, 17), QRectF(150, 110, 60, 26)}), 26);
    // A word inside a longer line: the line counts.
    EXPECT_EQ(pixelationBlockSize(QRect(150, 108, 40, 18), {QRectF(0, 105, 900, 22)}), 22);
    // A line the area only grazes (a third of its height, or a sliver of its width), one
    // elsewhere, and nonsense do not.
    const std::vector<QRectF> notOverlapping = {
        QRectF(90, 130, 300, 30),        QRectF(295, 100, 300, 30), QRectF(500, 100, 100, 60),
        QRectF(90, 100, notANumber, 50), QRectF(90, 100, 300, inf), QRectF(90, 100, 300, 0),
    };
    EXPECT_EQ(pixelationBlockSize(area, notOverlapping), minimumPixelationBlock);
    // A line drawn upside down is still a line.
    EXPECT_EQ(pixelationBlockSize(area, {QRectF(390, 125, -300, -20)}), 20);
}

TEST(RedactionPixelate, BlocksAreAsLargeAsTheTextLineAndAlignedToTheArea) {
    // A horizontal ramp two levels per pixel: neighbouring blocks of 20 differ by 40 levels.
    QImage source(200, 60, QImage::Format_RGB32);
    for (int y = 0; y < 60; ++y) {
        for (int x = 0; x < 200; ++x) {
            const int level = std::min(255, 2 * x);
            source.setPixel(x, y, qRgb(level, level, level));
        }
    }
    const QRect area(13, 5, 110, 45);
    const std::vector<QRectF> lines = {QRectF(0, 8, 200, 20)};
    const QImage result = redact(source, {pixelate(area)}, Color::black(), lines, 4);
    for (const QRect& block : blocksOf(area, 20)) {
        EXPECT_LE(spreadOf(result, block).widest(), 2 * pixelationPixelNoise)
            << block.x() << "," << block.y();
    }
    // Across a block edge the ramp shows as a step.
    for (int edge = area.left() + 20; edge < area.right(); edge += 20) {
        EXPECT_GT(qRed(result.pixel(edge, 20)) - qRed(result.pixel(edge - 1, 20)), 20) << edge;
    }
}

TEST(RedactionPixelate, TheSameSeedGivesTheSamePictureAndAnotherSeedAnother) {
    const QImage source = patterned(300, 200);
    const std::vector<RedactionArea> areas = {pixelate(QRectF(10, 10, 280, 90)),
                                              fillIn(QRectF(0, 120, 50, 20)),
                                              pixelate(QRectF(60, 110, 200, 80))};
    const QImage first = redact(source, areas, Color::black(), {}, 42);
    EXPECT_EQ(redact(source, areas, Color::black(), {}, 42), first);
    EXPECT_NE(redact(source, areas, Color::black(), {}, 43), first);
    // Without a seed, every call draws its own.
    EXPECT_NE(redact(source, areas), redact(source, areas));
}

TEST(RedactionPixelate, LargeAreasSplitAcrossThreadsMatchTheirPartsDoneAlone) {
    // The noise depends on positions only: a large area (cut into pieces for the worker
    // threads) gives the same pixels in its first rows as an area of those rows alone.
    const QImage source = patterned(1600, 1200);
    const QImage whole =
        redact(source, {pixelate(QRectF(0, 0, 1600, 1200))}, Color::black(), {}, 8);
    const QImage top = redact(source, {pixelate(QRectF(0, 0, 1600, 120))}, Color::black(), {}, 8);
    EXPECT_EQ(whole.copy(0, 0, 1600, 120), top.copy(0, 0, 1600, 120));
}

TEST(Redaction, AreasApplyInOrder) {
    const QImage source = filled(48, 24, white);
    // Pixelating after a fill averages the fill; filling after a pixelation covers it.
    const QImage pixelatedFill =
        redact(source, {fillIn(QRectF(0, 0, 48, 24)), pixelate(QRectF(0, 0, 48, 24))},
               Color::black(), {}, 6);
    EXPECT_LE(qRed(pixelatedFill.pixel(30, 10)), pixelationBlockNoise + pixelationPixelNoise);
    const QImage filledPixelation =
        redact(source, {pixelate(QRectF(0, 0, 48, 24)), fillIn(QRectF(0, 0, 48, 24))},
               Color::black(), {}, 6);
    EXPECT_EQ(filledPixelation, filled(48, 24, black, QImage::Format_ARGB32_Premultiplied));
}

TEST(Redaction, ActionNames) {
    EXPECT_EQ(redactionActionName(1), QStringLiteral("Redact Area"));
    EXPECT_EQ(redactionActionName(2), QStringLiteral("Redact Areas"));
    EXPECT_EQ(redactionActionName(12), QStringLiteral("Redact Areas"));
}
