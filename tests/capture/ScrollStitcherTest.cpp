#include "capture/ScrollStitcher.h"

#include <gtest/gtest.h>
#include <random>

using vellumix::capture::ScrollStitcher;
using Step = ScrollStitcher::Step;

namespace {

constexpr int pageWidth = 160;

// A page like a terminal's or a chat's: 14-row lines of noisy "text" on white, separated by
// blank stretches (`gap` rows), with `blank` extra white rows every tenth line. Every fifth line
// is the same separator line, so rows repeat down the page.
QImage makePage(int height, int gap, int blank = 0) {
    QImage page(pageWidth, height, QImage::Format_RGB32);
    page.fill(Qt::white);
    std::mt19937 random(7);
    int y = 0;
    for (int line = 0; y < height; ++line) {
        for (int row = 0; row < 14 && y < height; ++row, ++y) {
            for (int x = 0; x < pageWidth; ++x) {
                const bool ink = line % 5 == 4 ? (x + row) % 4 == 0 : random() % 3 == 0;
                page.setPixel(x, y, ink ? 0xff202020 : 0xffffffff);
            }
        }
        y += gap + (line % 10 == 9 ? blank : 0);
    }
    return page;
}

// The view of `page` scrolled to `top`, inside a fixed header and footer of the given heights.
QImage stripOf(const QImage& page, int top, int height, int header = 0, int footer = 0) {
    QImage strip(pageWidth, height, QImage::Format_RGB32);
    strip.fill(0xff3366aa);
    for (int y = header; y < height - footer; ++y) {
        std::copy_n(page.constScanLine(top + y - header), page.bytesPerLine(), strip.scanLine(y));
    }
    for (int y = 0; y < header; y += 6) { // header "text", so its rows are not all flat
        strip.setPixel(y % pageWidth, y, 0xffffff00);
    }
    return strip;
}

struct Scroll {
    const char* name;
    int step;   // rows scrolled between grabs
    int gap;    // blank rows between text lines
    int blank;  // extra blank rows every tenth line
    int header; // fixed rows at the top of the area
    int footer; // fixed rows at the bottom
    bool blink; // a cursor block toggling in every other strip
};

class ScrollStitcherScroll : public testing::TestWithParam<Scroll> {};

// Scrolling a page to its end yields the page itself, between the fixed header and footer.
TEST_P(ScrollStitcherScroll, RebuildsThePage) {
    const Scroll scroll = GetParam();
    const int stripHeight = 240;
    const int view = stripHeight - scroll.header - scroll.footer;
    const QImage page = makePage(1500, scroll.gap, scroll.blank);
    ScrollStitcher stitcher;
    int top = 0;
    int previousTop = -1;
    for (int index = 0;; ++index) {
        QImage strip = stripOf(page, top, stripHeight, scroll.header, scroll.footer);
        if (scroll.blink && index % 2 == 1) {
            for (int y = stripHeight / 2; y < stripHeight / 2 + 14; ++y) {
                std::fill_n(reinterpret_cast<QRgb*>(strip.scanLine(y)) + 20, 8, 0xff00ff00);
            }
        }
        const Step step = stitcher.add(strip);
        if (top == previousTop) { // the page is at its end and cannot move
            ASSERT_EQ(step, Step::Unchanged) << "at " << top;
            break;
        }
        ASSERT_EQ(step, Step::Appended) << "at " << top;
        previousTop = top;
        top = std::min(top + scroll.step, page.height() - view);
    }
    const QImage expected = stripOf(page, 0, page.height() + scroll.header + scroll.footer,
                                    scroll.header, scroll.footer);
    const QImage stitched = stitcher.image();
    ASSERT_EQ(stitched.size(), expected.size());
    if (!scroll.blink) {
        EXPECT_EQ(stitched, expected);
    }
}

INSTANTIATE_TEST_SUITE_P(Pages, ScrollStitcherScroll,
                         testing::Values(Scroll{"WheelSteps", 37, 4, 0, 0, 0, false},
                                         Scroll{"OneRow", 1, 4, 0, 0, 0, false},
                                         Scroll{"NearlyAStrip", 200, 4, 0, 0, 0, false},
                                         Scroll{"FixedHeaderAndFooter", 45, 4, 0, 30, 18, false},
                                         Scroll{"LongBlankStretches", 53, 2, 90, 0, 0, false},
                                         Scroll{"BlinkingCursor", 41, 4, 0, 0, 0, true}),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(ScrollStitcher, ContentThatJumpsAddsNothing) {
    const QImage page = makePage(1500, 4);
    ScrollStitcher stitcher;
    ASSERT_EQ(stitcher.add(stripOf(page, 0, 200)), Step::Appended);
    EXPECT_EQ(stitcher.add(stripOf(page, 600, 200)), Step::NoOverlap);
    EXPECT_EQ(stitcher.image(), stripOf(page, 0, 200));
}

TEST(ScrollStitcher, StopsAtTheHeightLimit) {
    const QImage page = makePage(1500, 4);
    ScrollStitcher stitcher(300);
    ASSERT_EQ(stitcher.add(stripOf(page, 0, 200)), Step::Appended);
    ASSERT_EQ(stitcher.add(stripOf(page, 60, 200)), Step::Appended);
    EXPECT_EQ(stitcher.add(stripOf(page, 120, 200)), Step::Full);
    EXPECT_EQ(stitcher.image(), page.copy(0, 0, pageWidth, 300));
}

} // namespace
