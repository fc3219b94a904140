#include "editor/RedactionMarks.h"

#include <gtest/gtest.h>

using namespace vellumix;
using imageops::RedactionStyle;

namespace {

// A 400 × 300 picture at the canvas inset, as the editor places it.
class RedactionMarksTest : public ::testing::Test {
protected:
    void SetUp() override {
        marks.setImage(QImage(400, 300, QImage::Format_RGB32), QPointF(20, 20));
        marks.setActive(true);
        marks.onChanged = [this] { ++changes; };
    }
    void drag(QPointF from, QPointF to) {
        marks.mouseDown(from);
        marks.mouseDragged((from + to) / 2);
        marks.mouseDragged(to);
        marks.mouseUp(to);
    }
    void click(QPointF at) {
        marks.mouseDown(at);
        marks.mouseUp(at);
    }

    RedactionMarks marks;
    int changes = 0;
};

TEST_F(RedactionMarksTest, DragsAddMarksClippedToThePictureAndClicksAreNotMarks) {
    drag({400, 300}, {60, 40});
    drag({380, 250}, {500, 400}); // reaches past the picture's right and bottom edges
    click({100, 100});            // on a mark: a dragged mark switched off is gone
    drag({30, 30}, {32, 200});    // too thin to be a mark
    ASSERT_EQ(marks.marks().size(), 1u);
    EXPECT_EQ(marks.marks()[0].rect, QRectF(380, 250, 40, 70));
    EXPECT_FALSE(marks.marks()[0].isProposal());
    EXPECT_GT(changes, 0);

    // Areas are in image pixels, in the chosen style.
    marks.setStyle(RedactionStyle::pixelate);
    const auto areas = marks.areas();
    ASSERT_EQ(areas.size(), 1u);
    EXPECT_EQ(areas[0].rect, QRectF(360, 230, 40, 70));
    EXPECT_EQ(areas[0].style, RedactionStyle::pixelate);
}

TEST_F(RedactionMarksTest, ProposalsToggleAndAreReplacedByTheNextSearch) {
    drag({50, 50}, {250, 90});
    marks.setProposals({{QRectF(60, 60, 100, 20), true, QStringLiteral("Email address")},
                        {QRectF(60, 200, 120, 20), true, QStringLiteral("Card number")}});
    // The first lies inside the dragged mark: it adds nothing.
    ASSERT_EQ(marks.marks().size(), 2u);
    EXPECT_EQ(marks.enabledCount(), 2);

    click({100, 210});
    EXPECT_EQ(marks.enabledCount(), 1);
    ASSERT_EQ(marks.areas().size(), 1u);
    click({100, 210});
    EXPECT_EQ(marks.enabledCount(), 2);
    click({100, 210});

    // A new search replaces the proposals, switched-off ones included; dragged marks stay.
    marks.setProposals({{QRectF(300, 20, 50, 20), true, QStringLiteral("Secret")}});
    ASSERT_EQ(marks.marks().size(), 2u);
    EXPECT_FALSE(marks.marks()[0].isProposal());
    EXPECT_EQ(marks.marks()[1].label, "Secret");
    EXPECT_EQ(marks.enabledCount(), 2);

    marks.clear();
    EXPECT_TRUE(marks.marks().empty());
}

TEST_F(RedactionMarksTest, BlocksFollowTheRecognisedLinesOrEachShortMarkUntilThen) {
    drag({40, 40}, {240, 70});   // 30 tall: one line of text
    drag({40, 100}, {240, 300}); // 200 tall: a paragraph, no guess
    ASSERT_EQ(marks.blockGuides().size(), 1u);
    EXPECT_EQ(marks.blockGuides()[0], QRectF(20, 20, 200, 30));

    marks.setTextLines({QRectF(25, 24, 150, 18)});
    EXPECT_EQ(marks.blockGuides(), std::vector<QRectF>{QRectF(25, 24, 150, 18)});
    // Another picture: its lines are unknown again.
    marks.setImage(QImage(400, 300, QImage::Format_RGB32), QPointF(20, 20));
    EXPECT_EQ(marks.blockGuides().size(), 1u);
}

TEST_F(RedactionMarksTest, SwitchingTheModeDropsAGestureUnderWay) {
    marks.mouseDown({50, 50});
    marks.mouseDragged({150, 150});
    ASSERT_TRUE(marks.dragRect());
    marks.setActive(false);
    EXPECT_FALSE(marks.dragRect());
    marks.mouseUp({150, 150});
    EXPECT_TRUE(marks.marks().empty());
}

} // namespace
