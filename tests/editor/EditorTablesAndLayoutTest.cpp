#include "editor/EditorLayout.h"
#include "editor/EditorModel.h"
#include "editor/EditorValueTables.h"

#include <gtest/gtest.h>

using namespace vellumix;

// The tables' entries are exercised through the model (EditorModelTest); the tool tips are texts.
TEST(EditorValueTables, ToolButtonToolTips) {
    EXPECT_EQ(editorTexts::toolButtonToolTip(Tool::arrow), QStringLiteral("Arrow (a)"));
    EXPECT_TRUE(editorTexts::toolButtonToolTip(Tool::editImage).isEmpty());
}

TEST(EditorValueTables, NearestEntryPrefersTheEarlierOnATie) {
    const auto& opacity = valueTables::opacity();
    EXPECT_EQ(nearestIndex(opacity, 0.6), 1);   // 50%
    EXPECT_EQ(nearestIndex(opacity, 0.625), 1); // halfway between 50% and 75%
    EXPECT_EQ(nearestIndex(opacity, 0.9), 3);   // 100%
    EXPECT_EQ(nearestIndex(opacity, 0.0), 0);
    EXPECT_EQ(nearestIndex(opacity, 7.0), 3);

    EXPECT_EQ(nearestIndex(valueTables::lineWidth(), 3), 0);      // S (2) and M (4) tie
    EXPECT_EQ(nearestIndex(valueTables::lineWidth(), 20.5), 4);   // XXL
    EXPECT_EQ(nearestIndex(valueTables::cornerRadius(), 11), 1);  // 6 and 16 tie
    EXPECT_EQ(nearestIndex(valueTables::fontSize(), 40), 5);      // 32 and 48 tie
    EXPECT_EQ(nearestIndex(valueTables::textPadding(), 18.1), 3); // 24
    EXPECT_EQ(nearestIndex(ValueTable<double>{}, 1), -1);
}

TEST(EditorValueTables, FamilyByTitleAndPatternByValue) {
    EXPECT_EQ(fontFamilyIndex(QStringLiteral("System")), 0);
    EXPECT_EQ(fontFamilyIndex(QStringLiteral("Menlo")), 9);
    EXPECT_EQ(fontFamilyIndex(QStringLiteral("menlo")), -1); // titles match exactly
    EXPECT_EQ(fontFamilyIndex(QStringLiteral("DejaVu Sans")), -1);
    EXPECT_EQ(linePatternIndex(LineStyle::solid), 0);
    EXPECT_EQ(linePatternIndex(LineStyle::dashed), 2);
}

TEST(EditorLayout, LargeImageFitsTheVisibleFrame) {
    const auto g = editorLayout::openingGeometry(QSizeF(4000, 3000), QRectF(0, 25, 1440, 900));
    // Available: 1440·0.85 − 40 = 1184 wide, 900·0.85 − 176 = 589 high; 589/3000 is smaller.
    EXPECT_NEAR(g.fitScale, 0.196333, 1e-6);
    EXPECT_NEAR(g.contentSize.width(), 825.333, 1e-3); // 4000·0.196333 + 40
    EXPECT_NEAR(g.contentSize.height(), 765, 1e-9);    // 589 + 40 + 136
    EXPECT_NEAR(g.minimumMagnification, 0.196333, 1e-6);
    EXPECT_EQ(g.maximumMagnification, 4);
}

TEST(EditorLayout, SmallImageOpensAtFullSizeInTheMinimumArea) {
    const auto g = editorLayout::openingGeometry(QSizeF(100, 50), QRectF(0, 0, 1920, 1080));
    EXPECT_EQ(g.fitScale, 1);
    EXPECT_EQ(g.contentSize, QSizeF(800, 536));
    EXPECT_EQ(g.minimumMagnification, 0.25);
}

TEST(EditorLayout, WithoutAScreenAndOnATinyOne) {
    EXPECT_EQ(editorLayout::availableSize(std::nullopt), QSizeF(1184, 589));
    // A wide image is limited by the width: 1184 / 2368.
    EXPECT_DOUBLE_EQ(editorLayout::fitScale(QSizeF(2368, 100), std::nullopt), 0.5);
    // 300·0.85 − 40 = 215 wide; the height has no room left and counts as one pixel.
    const double tiny = editorLayout::fitScale(QSizeF(430, 200), QRectF(0, 0, 300, 200));
    EXPECT_GT(tiny, 0);
    EXPECT_DOUBLE_EQ(tiny, 1.0 / 200);
    // An empty image does not divide by zero.
    EXPECT_EQ(editorLayout::fitScale(QSizeF(0, 0), QRectF(0, 0, 1440, 900)), 1);
}

TEST(EditorZoom, StepsSnapToPowersOfOneAndAQuarter) {
    EXPECT_DOUBLE_EQ(zoomInStep(1), 1.25);
    EXPECT_DOUBLE_EQ(zoomInStep(1.1), 1.25);
    EXPECT_DOUBLE_EQ(zoomInStep(1.25), 1.5625); // an exact power moves on
    EXPECT_DOUBLE_EQ(zoomOutStep(1), 0.8);
    EXPECT_DOUBLE_EQ(zoomOutStep(1.1), 1);
    EXPECT_DOUBLE_EQ(zoomOutStep(0.8), 0.64);
    EXPECT_DOUBLE_EQ(zoomInStep(0.7), 0.8);
}
