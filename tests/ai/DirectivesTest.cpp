#include "ai/Directives.h"

#include <gtest/gtest.h>
#include <set>

using namespace vellumix;

namespace {

class Fonts final : public FontCatalogue {
public:
    QString systemFamily() const override { return QStringLiteral("UI Sans"); }
    bool hasMember(const QString&, bool, bool) const override { return true; }
    QStringList families() const override {
        return {"DejaVu Sans", "Helvetica", "Times New Roman"};
    }
};

// A directive whose style fields all sit at their "use the toolbar" sentinels.
AICanvasDirectivePublic sentinels() {
    AICanvasDirectivePublic d;
    d.shouldDraw = true;
    d.cornerRadius = -1;
    d.opacity = -1;
    return d;
}

const Fonts fonts;

} // namespace

TEST(ParseColor, NamesHexAndClear) {
    EXPECT_EQ(ai::parseColor(" Red "), Color::rgb(0.9, 0.2, 0.2));
    for (const char* red : {"#F00", "f00", "0xFF0000", "#ff0000"}) {
        EXPECT_EQ(ai::parseColor(red), Color::rgb(1, 0, 0)) << red;
    }
    EXPECT_EQ(ai::parseColor("#0x123456"), Color::rgb(0x12 / 255.0, 0x34 / 255.0, 0x56 / 255.0));
    for (const char* clear : {"none", "Transparent", " CLEAR"}) {
        EXPECT_EQ(ai::parseColor(clear), Color::clear()) << clear;
    }
    for (const char* bad : {"", "  ", "#FF000080", "#GG0000", "reddish", "#ff00", "0x"}) {
        EXPECT_EQ(ai::parseColor(bad), std::nullopt) << bad;
    }
}

TEST(ParseLineStyle, ForgivingSpellings) {
    EXPECT_EQ(ai::parseLineStyle("dash-dot"), LineStyle::dashDot);
    EXPECT_EQ(ai::parseLineStyle("Dash_Dot"), LineStyle::dashDot);
    EXPECT_EQ(ai::parseLineStyle(" dot dash "), LineStyle::dashDot);
    EXPECT_EQ(ai::parseLineStyle("dots"), LineStyle::dotted);
    EXPECT_EQ(ai::parseLineStyle("DASHES"), LineStyle::dashed);
    EXPECT_EQ(ai::parseLineStyle("solid"), LineStyle::solid);
    EXPECT_EQ(ai::parseLineStyle("wavy"), std::nullopt);
    EXPECT_EQ(ai::parseLineStyle(""), std::nullopt);
}

TEST(StyleOverride, SentinelsClampsAndToolbarFlags) {
    EXPECT_EQ(makeStyleOverride(sentinels(), fonts), std::nullopt);

    AICanvasDirectivePublic d = sentinels();
    d.color = "Auto";
    d.fillColor = "DEFAULT";
    auto style = makeStyleOverride(d, fonts);
    ASSERT_TRUE(style);
    EXPECT_TRUE(style->strokeUseToolbar);
    EXPECT_TRUE(style->fillUseToolbar);
    EXPECT_FALSE(style->strokeColor);

    d = sentinels();
    d.fillColor = "transparent";
    style = makeStyleOverride(d, fonts);
    ASSERT_TRUE(style);
    EXPECT_EQ(style->fillColor, Color::clear());

    d = sentinels();
    d.lineWidth = 500;
    d.cornerRadius = 0;
    d.opacity = 250;
    d.fontSize = 1000;
    d.fontFamily = " helvetica ";
    d.lineStyle = "dash-dot";
    style = makeStyleOverride(d, fonts);
    EXPECT_EQ(style->lineWidth, 64);
    EXPECT_EQ(style->cornerRadius, 0);
    EXPECT_EQ(style->opacity, 1.0);
    EXPECT_EQ(style->fontSize, 200);
    EXPECT_EQ(style->fontFamily, QStringLiteral("Helvetica"));
    EXPECT_EQ(style->lineStyle, LineStyle::dashDot);
    EXPECT_FALSE(style->fontStyle);
    EXPECT_FALSE(style->alignment);
    EXPECT_FALSE(style->textPadding);

    d = sentinels();
    d.opacity = 0;
    EXPECT_EQ(makeStyleOverride(d, fonts)->opacity, 0.0);
    d = sentinels();
    d.fontFamily = "Comic Neue"; // not installed
    d.color = "chartreuse-ish";  // not a colour
    EXPECT_EQ(makeStyleOverride(d, fonts), std::nullopt);
}

TEST(MakeCommand, OperationsAndTheirEmptyCases) {
    AICanvasDirectivePublic d = sentinels();
    d.shouldDraw = false;
    d.width = d.height = 10;
    EXPECT_FALSE(makeCommand(d, fonts));

    d = sentinels();
    d.operation = " Delete ";
    d.targetId = " ab12C ";
    const auto del = makeCommand(d, fonts);
    ASSERT_TRUE(del && std::holds_alternative<DeleteCommand>(*del));
    EXPECT_EQ(std::get<DeleteCommand>(*del).id.rawValue(), QStringLiteral("ab12C"));
    d.targetId = "  ";
    EXPECT_FALSE(makeCommand(d, fonts));

    d = sentinels();
    d.operation = "update";
    d.targetId = "ab12C";
    EXPECT_FALSE(makeCommand(d, fonts)); // nothing to change
    d.width = 10;
    const auto update = makeCommand(d, fonts);
    ASSERT_TRUE(update && std::holds_alternative<UpdateCommand>(*update));
    EXPECT_EQ(std::get<UpdateCommand>(*update).rect, (PixelRect{0, 0, 10, 0}));
    EXPECT_FALSE(std::get<UpdateCommand>(*update).style);
    d.operation = "UpdateStyle";
    d.width = 0;
    d.color = "blue";
    EXPECT_TRUE(std::holds_alternative<UpdateCommand>(*makeCommand(d, fonts)));
}

TEST(MakeCommand, CreationKindsAndShapeWords) {
    AICanvasDirectivePublic d = sentinels();
    d.kind = "TEXT";
    EXPECT_FALSE(makeCommand(d, fonts)); // a label needs text
    d.text = " ";
    EXPECT_TRUE(std::holds_alternative<CreateTextCommand>(*makeCommand(d, fonts)));

    d = sentinels();
    d.kind = "label";
    d.shape = "Circle";
    EXPECT_EQ(std::get<CreateShapeCommand>(*makeCommand(d, fonts)).kind,
              ShapeAnnotation::Shape::oval);
    d.shape = " circle"; // the shape word is not trimmed
    EXPECT_EQ(std::get<CreateShapeCommand>(*makeCommand(d, fonts)).kind,
              ShapeAnnotation::Shape::rect);
    d.operation = "frobnicate";
    d.shape = "ellipse";
    d.x = -5;
    d.width = 0;
    const auto shape = std::get<CreateShapeCommand>(*makeCommand(d, fonts));
    EXPECT_EQ(shape.kind, ShapeAnnotation::Shape::oval);
    EXPECT_EQ(shape.rect, (PixelRect{-5, 0, 0, 0})); // passed on unchecked
}

TEST(DirectiveSchemas, GuidesAndDetectionSchemaListEveryFieldInOrder) {
    const auto& guides = annotationDirectiveGuides();
    EXPECT_STREQ(guides.front().name, "shouldDraw");
    EXPECT_STREQ(guides[12].name, "cornerRadius");
    EXPECT_STREQ(guides.back().name, "summary");

    const auto schema = detectionSchema();
    // That every field is required, and the enums, are checked on the request that sends it.
    EXPECT_EQ(schema["required"][5], "x");
    EXPECT_EQ(schema["properties"]["opacity"].dump(), R"({"type":"integer"})");
    EXPECT_EQ(schema["properties"].begin().key(), "shouldDraw");
}

TEST(QueryRouteDecoding, UnknownValuesSayWhatTheyGot) {
    EXPECT_EQ(*decodeQueryRoute("imageEdit"), QueryRoute::imageEdit);
    const auto bad = decodeQueryRoute("edit");
    ASSERT_FALSE(bad);
    EXPECT_TRUE(bad.error().message.startsWith("Unexpected rawValue \""));
}

TEST(DirectiveJson, MissingAndMistypedFieldsTakeDefaults) {
    const auto d = AICanvasDirectivePublic::fromJson(nlohmann::json::parse(
        R"({"shouldDraw":true,"x":12.9,"y":"7","width":30,"color":"red","opacity":-1})"));
    EXPECT_TRUE(d.shouldDraw);
    EXPECT_EQ(d.x, 12);
    EXPECT_EQ(d.y, 0);
    EXPECT_EQ(d.width, 30);
    EXPECT_EQ(d.cornerRadius, 0);
    EXPECT_EQ(d.color, QStringLiteral("red"));
    EXPECT_FALSE(AICanvasDirectivePublic::fromJson(nlohmann::json::array()).shouldDraw);
}
