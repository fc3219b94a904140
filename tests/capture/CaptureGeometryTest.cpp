#include "capture/CaptureGeometry.h"

#include <gtest/gtest.h>

using namespace vellumix::capture;

namespace {

const QRect singleScreen(0, 0, 1920, 1080);
// Two screens side by side: 1920×1080 at 1.0, then 2560×1440 logical at 1.5 (3840×2160 pixels).
const QRect leftScreen(0, 0, 1920, 1080);
const QRect rightScreen(1920, 0, 2560, 1440);
const QSize leftGrab(1920, 1080);
const QSize rightGrab(3840, 2160);

} // namespace

TEST(CaptureGeometry, DragSpansTheSameRectangleInEveryDirection) {
    const QRectF bounds(0, 0, 800, 600);
    const QRectF expected(100, 50, 200, 150);
    EXPECT_EQ(selectionFromDrag({100, 50}, {300, 200}, bounds), expected);
    EXPECT_EQ(selectionFromDrag({300, 200}, {100, 50}, bounds), expected);
    EXPECT_EQ(selectionFromDrag({300, 50}, {100, 200}, bounds), expected);
    EXPECT_EQ(selectionFromDrag({100, 200}, {300, 50}, bounds), expected);
}

TEST(CaptureGeometry, DragLeavingTheScreenStopsAtItsEdges) {
    const QRectF bounds(0, 0, 800, 600);
    EXPECT_EQ(selectionFromDrag({700, 500}, {900, -20}, bounds), QRectF(700, 0, 100, 500));
    EXPECT_EQ(selectionFromDrag({-5, 550}, {40, 650}, bounds), QRectF(0, 550, 40, 50));
    EXPECT_TRUE(selectionFromDrag({-50, -50}, {-10, -10}, bounds).isEmpty());
}

TEST(CaptureGeometry, OnlyDragsLargerThanFourUnitsBothWaysCount) {
    EXPECT_TRUE(isSelectionTooSmall(QRectF(10, 10, 4, 100)));
    EXPECT_TRUE(isSelectionTooSmall(QRectF(10, 10, 100, 4)));
    EXPECT_TRUE(isSelectionTooSmall(QRectF()));
    EXPECT_FALSE(isSelectionTooSmall(QRectF(10, 10, 5, 5)));
    EXPECT_FALSE(isSelectionTooSmall(QRectF(10, 10, 4.5, 4.5)));
}

TEST(CaptureGeometry, WholeRatiosScaleExactly) {
    EXPECT_EQ(deviceCropRect(QRectF(100, 50, 200, 100), singleScreen, 1.0, QSize(1920, 1080)),
              QRect(100, 50, 200, 100));
    // 100 × 50 points at 2 become 200 × 100 pixels; 5 × 5 become 10 × 10.
    const QRect retina(0, 0, 1440, 900);
    EXPECT_EQ(deviceCropRect(QRectF(100, 50, 100, 50), retina, 2.0, QSize(2880, 1800)),
              QRect(200, 100, 200, 100));
    EXPECT_EQ(deviceCropRect(QRectF(7, 9, 5, 5), retina, 2.0, QSize(2880, 1800)),
              QRect(14, 18, 10, 10));
}

TEST(CaptureGeometry, FractionalRatiosTakeEveryPixelTheSelectionTouches) {
    // 1.25 on a 1536 × 864 logical screen (1920 × 1080 pixels).
    const QRect screen125(0, 0, 1536, 864);
    const QSize grab125(1920, 1080);
    // Edges on pixel boundaries: 4→5, 8→10, 104→130, 48→60.
    EXPECT_EQ(deviceCropRect(QRectF(4, 8, 100, 40), screen125, 1.25, grab125),
              QRect(5, 10, 125, 50));
    // Edges inside pixels: 12.5→12, 12.5→12, 138.75→139, 63.75→64.
    EXPECT_EQ(deviceCropRect(QRectF(10, 10, 101, 41), screen125, 1.25, grab125),
              QRect(12, 12, 127, 52));

    // 1.5 on a 1280 × 720 logical screen.
    const QRect screen15(0, 0, 1280, 720);
    const QSize grab15(1920, 1080);
    EXPECT_EQ(deviceCropRect(QRectF(10, 20, 100, 60), screen15, 1.5, grab15),
              QRect(15, 30, 150, 90));
    // 1.5..4.5 touches pixels 1, 2, 3 and 4.
    EXPECT_EQ(deviceCropRect(QRectF(1, 1, 2, 2), screen15, 1.5, grab15), QRect(1, 1, 4, 4));
}

TEST(CaptureGeometry, RoundingNoiseDoesNotAddAPixel) {
    // 10 × 1.1 and 20 × 1.1 come out as 11.000000000000002 and 22.000000000000004.
    EXPECT_EQ(
        deviceCropRect(QRectF(10, 10, 10, 10), QRect(0, 0, 1000, 1000), 1.1, QSize(1100, 1100)),
        QRect(11, 11, 11, 11));
}

TEST(CaptureGeometry, EachScreenOfAMixedPairMapsFromItsOwnOrigin) {
    EXPECT_EQ(deviceCropRect(QRectF(1900, 1000, 20, 80), leftScreen, 1.0, leftGrab),
              QRect(1900, 1000, 20, 80));
    // 100 logical units into the right screen is 150 pixels into its grab.
    EXPECT_EQ(deviceCropRect(QRectF(2020, 100, 200, 100), rightScreen, 1.5, rightGrab),
              QRect(150, 150, 300, 150));
    // Local 1..6 × 1..8 is 1.5..9 × 1.5..12 in pixels.
    EXPECT_EQ(deviceCropRect(QRectF(1921, 1, 5, 7), rightScreen, 1.5, rightGrab),
              QRect(1, 1, 8, 11));
    // The far corner: local 2550..2560 × 1430..1440 is pixels 3825..3840 × 2145..2160.
    EXPECT_EQ(deviceCropRect(QRectF(4470, 1430, 10, 10), rightScreen, 1.5, rightGrab),
              QRect(3825, 2145, 15, 15));
}

TEST(CaptureGeometry, CropStaysInsideTheGrab) {
    // A selection across the seam keeps only the part on the screen asked about.
    EXPECT_EQ(deviceCropRect(QRectF(1900, 0, 40, 10), rightScreen, 1.5, rightGrab),
              QRect(0, 0, 30, 15));
    EXPECT_EQ(deviceCropRect(QRectF(1900, 0, 40, 10), leftScreen, 1.0, leftGrab),
              QRect(1900, 0, 20, 10));
    EXPECT_TRUE(deviceCropRect(QRectF(100, 100, 50, 50), rightScreen, 1.5, rightGrab).isEmpty());
    // 1366 × 1.25 = 1707.5, but the grab is 1707 pixels wide: the right edge stops there.
    EXPECT_EQ(
        deviceCropRect(QRectF(1300, 700, 66, 68), QRect(0, 0, 1366, 768), 1.25, QSize(1707, 960)),
        QRect(1625, 875, 82, 85));
}

TEST(CaptureGeometry, SizeLabelText) {
    EXPECT_EQ(sizeLabelText(QSize(200, 100)), QStringLiteral("200 × 100 px"));
    EXPECT_EQ(sizeLabelText(QSize(3840, 7)), QStringLiteral("3840 × 7 px"));
}

TEST(CaptureGeometry, SizeLabelSitsBelowTheCursorAndStaysFourUnitsInside) {
    const QRectF screen(0, 0, 800, 600);
    const QSizeF text(80, 14); // the box is 90 × 24
    EXPECT_EQ(sizeLabelBox({400, 300}, text, screen), QRectF(355, 314, 90, 24));
    // Bottom-right corner: 800 − 4 − 90 = 706, 600 − 4 − 24 = 572.
    EXPECT_EQ(sizeLabelBox({790, 590}, text, screen), QRectF(706, 572, 90, 24));
    EXPECT_EQ(sizeLabelBox({400, 580}, text, screen), QRectF(355, 572, 90, 24));
    // Left edge: 10 − 45 would be −35.
    EXPECT_EQ(sizeLabelBox({10, 5}, text, screen), QRectF(4, 19, 90, 24));
}
