#include "model/AnnotationStyle.h"

#include <gtest/gtest.h>

using namespace vellumix;

TEST(Color, OpaqueFormKeepsClearColoursClear) {
    EXPECT_EQ(Color::rgb(0.2, 0.4, 0.6, 0.3).opaque(), Color::rgb(0.2, 0.4, 0.6, 1));
    EXPECT_EQ(Color::rgb(0.2, 0.4, 0.6, 0).opaque(), Color::clear());
    EXPECT_TRUE(Color::rgb(1, 1, 1, 0).isClear());
}

TEST(Color, ConversionTakesRgbAndAlphaFromTheirSources) {
    const Color base = Color::rgb(0.1, 0.2, 0.3, 0.4);
    const Color other = Color::rgb(0.9, 0.8, 0.7, 1);
    EXPECT_EQ(base.withAlpha(0.75), Color::rgb(0.1, 0.2, 0.3, 0.75));
    EXPECT_EQ(base.converted(other, std::nullopt), Color::rgb(0.9, 0.8, 0.7, 0.4));
    EXPECT_EQ(base.converted(other, 0.5), Color::rgb(0.9, 0.8, 0.7, 0.5));
    EXPECT_EQ(base.converted(std::nullopt, std::nullopt), base);
}

TEST(Color, QColorRoundTripIsCloseAndOutOfRangeIsClamped) {
    const Color c = Color::rgb(0.878, 0.106, 0.141, 0.5);
    const Color back = Color::fromQColor(c.toQColor());
    EXPECT_NEAR(back.red, c.red, 1e-4);
    EXPECT_NEAR(back.alpha, 0.5, 1e-4);
    const QColor clamped = Color::rgb(1.5, -0.2, 0.5, 2).toQColor();
    EXPECT_EQ(clamped.red(), 255);
    EXPECT_EQ(clamped.green(), 0);
    EXPECT_EQ(clamped.alpha(), 255);
}

TEST(AnnotationStyle, DefaultIsTheSharedStartingStyle) {
    const AnnotationStyle& s = AnnotationStyle::defaultStyle();
    EXPECT_EQ(s.strokeColor, SystemColors::red);
    EXPECT_EQ(s.fontColor, SystemColors::red);
    EXPECT_EQ(s.fillColor, Color::clear());
    EXPECT_EQ(s.lineWidth, 2);
    EXPECT_EQ(s.cornerRadius, 0);
    EXPECT_EQ(s.opacity, 1);
    EXPECT_EQ(s.lineStyle, LineStyle::solid);
    EXPECT_EQ(s.fontFamily, QStringLiteral("System"));
    EXPECT_EQ(s.fontStyle, QStringLiteral("Regular"));
    EXPECT_EQ(s.fontSize, 16);
    EXPECT_EQ(s.alignment, TextAlignment::left);
    EXPECT_EQ(s.textPadding, 6);
    EXPECT_EQ(&s, &AnnotationStyle::defaultStyle());
}

TEST(AnnotationStyle, EachKindTakesItsOwnFieldsFromTheStyle) {
    AnnotationStyle style;
    style.strokeColor = SystemColors::blue;
    style.fillColor = SystemColors::green;
    style.fontColor = Color::black();
    style.lineWidth = 5;
    style.cornerRadius = 3;
    style.lineStyle = LineStyle::dashed;
    style.textPadding = 9;
    style.alignment = TextAlignment::right;

    const auto text = makeText(QRectF(0, 0, 10, 10), QStringLiteral("hi"), style);
    EXPECT_EQ(text.color, Color::black());
    EXPECT_EQ(text.backgroundColor, SystemColors::green);
    EXPECT_EQ(text.strokeColor, SystemColors::blue);
    EXPECT_EQ(text.padding, 9);
    EXPECT_EQ(text.alignment, TextAlignment::right);
    EXPECT_EQ(text.lineStyle, LineStyle::dashed);

    const auto arrow = makeArrow({0, 0}, {10, 0}, {5, 0}, style, ArrowEndCap::dotBoth);
    EXPECT_EQ(arrow.color, SystemColors::blue);
    EXPECT_EQ(arrow.endCap, ArrowEndCap::dotBoth);

    const auto shape = makeShape(ShapeAnnotation::Shape::oval, QRectF(1, 2, 3, 4), style);
    EXPECT_EQ(shape.fillColor, SystemColors::green);
    EXPECT_EQ(shape.cornerRadius, 3);
    EXPECT_FALSE(shape.isLocked);

    const auto stroke = makeStroke(QPainterPath(), style);
    EXPECT_EQ(stroke.color, SystemColors::blue);
    EXPECT_EQ(stroke.lineWidth, 5);
}

TEST(AnnotationStyle, EffectiveOpacityIsTheFirstVisibleAlphaOfTheKind) {
    TextAnnotation text;
    text.color = Color::clear();
    text.strokeColor = Color::clear();
    text.backgroundColor = Color::clear();
    EXPECT_EQ(effectiveOpacity(text), 1);
    text.backgroundColor = Color::rgb(1, 1, 1, 0.3);
    EXPECT_EQ(effectiveOpacity(text), 0.3);
    text.strokeColor = Color::rgb(0, 0, 0, 0.6);
    EXPECT_EQ(effectiveOpacity(text), 0.6);

    ShapeAnnotation shape;
    shape.strokeColor = Color::clear();
    shape.fillColor = Color::rgb(0, 1, 0, 0.25);
    EXPECT_EQ(effectiveOpacity(shape), 0.25);
}

TEST(AnnotationStyle, MatchingComparesOpaqueColoursAndOpacityWithinOnePercent) {
    AnnotationStyle style;
    style.opacity = 0.5;
    ShapeAnnotation shape = makeShape(ShapeAnnotation::Shape::rect, QRectF(0, 0, 5, 5), style);
    shape.strokeColor = style.strokeColor.withAlpha(0.505);
    shape.lineStyle = LineStyle::dotted; // line style is not compared
    EXPECT_TRUE(matchesStyle(shape, style));
    shape.strokeColor = style.strokeColor.withAlpha(0.52);
    EXPECT_FALSE(matchesStyle(shape, style));
    shape.strokeColor = style.strokeColor.withAlpha(0.5);
    shape.cornerRadius = 1;
    EXPECT_FALSE(matchesStyle(shape, style));
}

TEST(AnnotationStyle, TextMatchingCoversFontAndPaddingFields) {
    const AnnotationStyle& style = AnnotationStyle::defaultStyle();
    TextAnnotation text = makeText(QRectF(0, 0, 50, 20), QStringLiteral("x"), style);
    EXPECT_TRUE(matchesStyle(text, style));
    text.padding = 7;
    EXPECT_FALSE(matchesStyle(text, style));
    text.padding = style.textPadding;
    text.fontStyle = QStringLiteral("bold");
    EXPECT_FALSE(matchesStyle(text, style));
}

TEST(AnnotationStyle, OverlaysNeverMatch) {
    OverlayAnnotation overlay;
    EXPECT_FALSE(matchesStyle(overlay, AnnotationStyle::defaultStyle()));
}

TEST(Annotation, CommonAccessorsWorkForEveryKind) {
    const auto id = *AnnotationID::decode(QStringLiteral("fixed"));
    const AnnotationList all{ShapeAnnotation{}, StrokeAnnotation{}, ArrowAnnotation{},
                             TextAnnotation{}, OverlayAnnotation{}};
    const Tool tools[] = {Tool::rect, Tool::draw, Tool::arrow, Tool::text, Tool::overlay};
    for (size_t i = 0; i < all.size(); ++i) {
        EXPECT_EQ(static_cast<size_t>(kindOf(all[i])), i);
        EXPECT_EQ(toolFor(all[i]), tools[i]);
        const Annotation locked = withLocked(withID(all[i], id), true);
        EXPECT_TRUE(isLocked(locked));
        EXPECT_EQ(idOf(locked), id);
        EXPECT_FALSE(isLocked(all[i]));
    }
    ShapeAnnotation oval;
    oval.shape = ShapeAnnotation::Shape::oval;
    EXPECT_EQ(toolFor(oval), Tool::oval);
}
