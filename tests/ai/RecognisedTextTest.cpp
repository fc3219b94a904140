#include "ai/RecognisedText.h"

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

// Three lines in reading order: a title across the top, then two columns' first lines.
VisionAnalysis page() {
    VisionAnalysis analysis;
    analysis.lines = {{QStringLiteral("Quarterly harbour report"), QRectF(20, 10, 300, 24)},
                      {QStringLiteral("Cranes in service"), QRectF(20, 60, 140, 16)},
                      {QStringLiteral("Berths free"), QRectF(200, 60, 100, 16)}};
    return analysis;
}

} // namespace

TEST(CopyText, TheWholePictureGivesEveryLineInReadingOrder) {
    const CopiedText all = copiedText(page(), std::nullopt);
    EXPECT_EQ(all.lineCount, 3);
    EXPECT_EQ(all.text, QStringLiteral("Quarterly harbour report\nCranes in service\nBerths free"));
}

TEST(CopyText, AnAreaTakesTheLinesItMeetsEvenAtAnEdge) {
    // The right column only.
    EXPECT_EQ(copiedText(page(), QRectF(190, 50, 150, 40)).text, QStringLiteral("Berths free"));
    // Across both columns, below the title; the order stays the analysis's.
    const CopiedText both = copiedText(page(), QRectF(100, 70, 150, 2));
    EXPECT_EQ(both.text, QStringLiteral("Cranes in service\nBerths free"));
    // Even a point meets the line whose corner it is; one beside it meets nothing.
    EXPECT_EQ(copiedText(page(), QRectF(0, 34, 10, 0)).lineCount, 0);
    EXPECT_EQ(copiedText(page(), QRectF(20, 34, 0, 0)).text,
              QStringLiteral("Quarterly harbour report"));
    EXPECT_EQ(copiedText(page(), QRectF(400, 300, 20, 20)).lineCount, 0);
}

TEST(CopyText, BlankLinesAndEmptyAnalysesGiveNothing) {
    VisionAnalysis analysis = page();
    analysis.lines.insert(analysis.lines.begin() + 1, OCRLine{QStringLiteral("  "), QRectF()});
    EXPECT_EQ(copiedText(analysis, std::nullopt).lineCount, 3);
    const CopiedText none = copiedText(VisionAnalysis(), std::nullopt);
    EXPECT_EQ(none.lineCount, 0);
    EXPECT_TRUE(none.text.isEmpty());
}

TEST(CopyText, TheStatusCountsLines) {
    EXPECT_EQ(copyTextStatus(0), QStringLiteral("No text found"));
    EXPECT_EQ(copyTextStatus(1), QStringLiteral("Copied 1 line"));
    EXPECT_EQ(copyTextStatus(12), QStringLiteral("Copied 12 lines"));
}
