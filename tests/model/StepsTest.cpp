#include "model/Steps.h"

#include <gtest/gtest.h>
#include <limits>

using namespace vellumix;

namespace {

TextAnnotation circle(const QString& text, double side = 32, double radius = 16) {
    TextAnnotation t;
    t.rect = QRectF(100, 100, side, side);
    t.text = text;
    t.cornerRadius = radius;
    return t;
}

AnnotationList numbered(std::initializer_list<const char*> texts) {
    AnnotationList list;
    double x = 0;
    for (const char* text : texts) {
        TextAnnotation step = circle(QString::fromLatin1(text));
        step.rect.moveLeft(x += 40);
        list.push_back(step);
    }
    return list;
}

using Changes = std::vector<std::pair<int, int>>;

} // namespace

TEST(Steps, OnlyPositiveWholeNumbersCount) {
    EXPECT_EQ(steps::stepNumber(circle("1")), 1);
    EXPECT_EQ(steps::stepNumber(circle("42")), 42);
    EXPECT_EQ(steps::stepNumber(circle("999999999")), 999999999);
    for (const char* text :
         {"", "0", "07", "-3", "+3", "1.5", " 1", "1\n", "one", "1a", "٣", "1234567890"}) {
        EXPECT_EQ(steps::stepNumber(circle(QString::fromUtf8(text))), std::nullopt) << text;
    }
}

TEST(Steps, TheBoxMustBeACircleWithinATolerance) {
    // Files keep two decimals: a circle read back may be a hundredth off.
    EXPECT_TRUE(steps::stepNumber(circle("3", 32.01, 15.995)));
    EXPECT_TRUE(steps::stepNumber(circle("3", 32, 40))); // radii beyond half still draw a circle
    EXPECT_FALSE(steps::stepNumber(circle("3", 32, 12)));

    TextAnnotation wide = circle("3");
    wide.rect.setWidth(40);
    EXPECT_FALSE(steps::stepNumber(wide));
    TextAnnotation empty = circle("3", 0, 0);
    EXPECT_FALSE(steps::stepNumber(empty));
    TextAnnotation broken = circle("3", std::numeric_limits<double>::quiet_NaN(), 16);
    EXPECT_FALSE(steps::stepNumber(broken));

    ShapeAnnotation shape;
    shape.rect = QRectF(0, 0, 32, 32);
    shape.cornerRadius = 16;
    EXPECT_FALSE(steps::isStep(shape));
    EXPECT_TRUE(steps::isStep(circle("8")));
}

TEST(Steps, NumberingContinuesFromTheHighestStep) {
    EXPECT_EQ(steps::nextStepNumber({}), 1);
    EXPECT_EQ(steps::nextStepNumber(numbered({"1", "2", "5"})), 6);
    EXPECT_EQ(steps::nextStepNumber(numbered({"5", "2"})), 6);

    // Text that is not a step does not count, whatever it says.
    AnnotationList list = numbered({"2"});
    TextAnnotation label = circle("9");
    label.cornerRadius = 0;
    list.push_back(label);
    EXPECT_EQ(steps::nextStepNumber(list), 3);
    EXPECT_FALSE(steps::hasSteps({label}));
    EXPECT_TRUE(steps::hasSteps(list));
}

TEST(Steps, RenumberingOrdersByNumberThenByListOrder) {
    EXPECT_TRUE(steps::renumbering({}).empty());
    EXPECT_TRUE(steps::renumbering(numbered({"1", "2", "3"})).empty());
    // Already 1…n in number order, whatever the list order: nothing to do.
    EXPECT_TRUE(steps::renumbering(numbered({"3", "1", "2"})).empty());

    EXPECT_EQ(steps::renumbering(numbered({"1", "2", "5"})), (Changes{{2, 3}}));
    EXPECT_EQ(steps::renumbering(numbered({"7", "4"})), (Changes{{1, 1}, {0, 2}}));
    // Two 2s: the earlier in the list keeps 2, the later becomes 3.
    EXPECT_EQ(steps::renumbering(numbered({"2", "1", "2"})), (Changes{{2, 3}}));

    // Other annotations keep their places in the list and are not numbered.
    AnnotationList mixed = numbered({"4"});
    mixed.insert(mixed.begin(), ShapeAnnotation{});
    EXPECT_EQ(steps::renumbering(mixed), (Changes{{1, 1}}));
}
