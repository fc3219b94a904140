#include "imaging/ResizeRules.h"

#include <gtest/gtest.h>

using namespace vellumix::resizerules;

TEST(AspectRatioLabel, SmallReducedSidesShowAsWholeNumbers) {
    EXPECT_EQ(aspectRatioLabel(800, 600), "4 : 3");
    EXPECT_EQ(aspectRatioLabel(512, 512), "1 : 1");
    EXPECT_EQ(aspectRatioLabel(1920, 1080), "16 : 9");
    EXPECT_EQ(aspectRatioLabel(99, 98), "99 : 98"); // both exactly at the limit or below
    EXPECT_EQ(aspectRatioLabel(101, 303), "1 : 3"); // large sides that reduce below it
}

TEST(AspectRatioLabel, LargeReducedSidesShowAsOneDecimalToOne) {
    EXPECT_EQ(aspectRatioLabel(1000, 487), "2.1 : 1"); // 2.053 rounds up
    EXPECT_EQ(aspectRatioLabel(2301, 1000), "2.3 : 1");
    EXPECT_EQ(aspectRatioLabel(100, 99), "1.0 : 1"); // 100 is one over the limit
    EXPECT_EQ(aspectRatioLabel(1, 4000), "0.0 : 1");
    // 2300 × 1000 reduces to 23 : 10, small enough to show as it is.
    EXPECT_EQ(aspectRatioLabel(2300, 1000), "23 : 10");
}

TEST(AspectRatioLabel, MissingOrNonPositiveSidesShowADash) {
    EXPECT_EQ(aspectRatioLabel(std::nullopt, 600), "—");
    EXPECT_EQ(aspectRatioLabel(800, std::nullopt), "—");
    EXPECT_EQ(aspectRatioLabel(0, 600), "—");
    EXPECT_EQ(aspectRatioLabel(800, -3), "—");
}

TEST(AspectLock, StartsLockedAtTheImageRatio) {
    const AspectLock lock = AspectLock::forSize(QSize(300, 200));
    EXPECT_TRUE(lock.locked);
    EXPECT_DOUBLE_EQ(lock.ratio, 1.5);
    EXPECT_DOUBLE_EQ(AspectLock::forSize(QSize(300, 0)).ratio, 1);
    EXPECT_DOUBLE_EQ(AspectLock::forSize(QSize(0, 0)).ratio, 1);
    EXPECT_DOUBLE_EQ(initialRatio(QSize(1000, 500)), 2);
}

TEST(AspectLock, TypedSideSetsTheOtherRounded) {
    const AspectLock lock{true, 1.5};
    EXPECT_EQ(lock.heightForWidth(301), 201); // 200.67
    EXPECT_EQ(lock.heightForWidth(300), 200);
    EXPECT_EQ(lock.widthForHeight(201), 302); // 301.5 rounds away from zero
    EXPECT_EQ(lock.widthForHeight(1), 2);     // 1.5
    EXPECT_EQ(lock.heightForWidth(1), 1);     // 0.67
}

TEST(AspectLock, NothingIsLinkedWithoutAPositiveNumberARatioOrTheLock) {
    const AspectLock lock{true, 1.5};
    EXPECT_EQ(lock.widthForHeight(0), std::nullopt);
    EXPECT_EQ(lock.widthForHeight(-4), std::nullopt);
    EXPECT_EQ(lock.heightForWidth(std::nullopt), std::nullopt);
    EXPECT_EQ((AspectLock{false, 1.5}).heightForWidth(301), std::nullopt);
    EXPECT_EQ((AspectLock{true, 0}).heightForWidth(301), std::nullopt);
    EXPECT_EQ((AspectLock{true, 0}).widthForHeight(301), std::nullopt);
}

TEST(AspectLock, LockingAgainRecapturesTheRatioFromTheFields) {
    AspectLock lock{true, 1.5};
    lock.toggle(400, 100); // unlocking keeps the ratio whatever the fields say
    EXPECT_FALSE(lock.locked);
    EXPECT_DOUBLE_EQ(lock.ratio, 1.5);
    lock.toggle(400, 100);
    EXPECT_TRUE(lock.locked);
    EXPECT_DOUBLE_EQ(lock.ratio, 4);
    EXPECT_EQ(lock.heightForWidth(800), 200);

    // Without two numbers and a positive height the previous ratio stays.
    for (const auto& [w, h] : {std::pair<std::optional<int>, std::optional<int>>{640, 0},
                               {std::nullopt, 100},
                               {640, std::nullopt},
                               {640, -2}}) {
        lock.toggle(w, h);
        lock.toggle(w, h);
        EXPECT_TRUE(lock.locked);
        EXPECT_DOUBLE_EQ(lock.ratio, 4);
    }
    // A zero width is a number: the ratio becomes 0, which links nothing.
    lock.toggle(0, 50);
    lock.toggle(0, 50);
    EXPECT_DOUBLE_EQ(lock.ratio, 0);
    EXPECT_EQ(lock.heightForWidth(10), std::nullopt);
}

TEST(AspectLock, ToolTipNamesTheStateAndTheClick) {
    EXPECT_EQ((AspectLock{true, 1}).toolTip(), "Aspect ratio locked — click to unlock");
    EXPECT_EQ((AspectLock{false, 1}).toolTip(), "Aspect ratio unlocked — click to lock");
}

TEST(ParseDimension, OnlyWholeNumbersCount) {
    EXPECT_EQ(parseDimension(u"301"), 301);
    EXPECT_EQ(parseDimension(u"0"), 0);
    EXPECT_EQ(parseDimension(u""), std::nullopt);
    EXPECT_EQ(parseDimension(u"12a"), std::nullopt);
    EXPECT_EQ(parseDimension(u"1.5"), std::nullopt);
}
