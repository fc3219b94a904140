#include "model/Enums.h"

#include "model/Annotation.h"

#include <gtest/gtest.h>

using namespace vellumix;

template <class E> void expectRoundTrip() {
    for (E value : allCases<E>()) {
        const auto parsed = parseEnum<E>(rawValue(value));
        ASSERT_TRUE(parsed.has_value()) << qPrintable(rawValue(value));
        EXPECT_EQ(*parsed, value);
    }
}

TEST(Enums, EveryCaseRoundTripsThroughItsRawValue) {
    expectRoundTrip<Tool>();
    expectRoundTrip<LineStyle>();
    expectRoundTrip<ArrowEndCap>();
    expectRoundTrip<ShapeAnnotation::Shape>();
    expectRoundTrip<ResizeHandle>();
    expectRoundTrip<CropHandle>();
    expectRoundTrip<ArrowAnchor>();
}

TEST(Enums, ParsingIsExactAndCaseSensitive) {
    EXPECT_EQ(parseTool(u"editImage"), Tool::editImage);
    EXPECT_EQ(parseTool(u"EditImage"), std::nullopt);
    EXPECT_EQ(parseTool(u"edit_image"), std::nullopt);
    EXPECT_EQ(parseTool(u""), std::nullopt);
    EXPECT_EQ(parseLineStyle(u"dashDot"), LineStyle::dashDot);
    EXPECT_EQ(parseLineStyle(u"dashdot"), std::nullopt);
    EXPECT_EQ(parseArrowEndCap(u"triangleBoth"), ArrowEndCap::triangleBoth);
    EXPECT_EQ(parseCropHandle(u"interior"), CropHandle::interior);
    EXPECT_EQ(parseResizeHandle(u"interior"), std::nullopt);
}

TEST(Enums, CaseOrderIsTheDeclaredOrder) {
    EXPECT_EQ(rawValue(allCases<Tool>().back()), QStringLiteral("overlay"));
    EXPECT_EQ(rawValue(allCases<ArrowEndCap>()[3]), QStringLiteral("dotBoth"));
    EXPECT_EQ(rawValue(allCases<ResizeHandle>()[4]), QStringLiteral("centerRight"));
    EXPECT_EQ(allCases<CropHandle>().size(), 9u);
}

TEST(Enums, CropAndResizeHandlesCorrespondByName) {
    for (ResizeHandle h : allCases<ResizeHandle>()) {
        EXPECT_EQ(rawValue(toCropHandle(h)), rawValue(h));
        EXPECT_EQ(toResizeHandle(toCropHandle(h)), h);
    }
    EXPECT_EQ(toResizeHandle(CropHandle::interior), std::nullopt);
}

TEST(Enums, OnlyTheSixDrawingToolsCarryAStyle) {
    int drawing = 0;
    for (Tool t : allCases<Tool>()) {
        drawing += isDrawingTool(t) ? 1 : 0;
    }
    EXPECT_EQ(drawing, 6);
    EXPECT_FALSE(isDrawingTool(Tool::editImage));
    EXPECT_TRUE(isDrawingTool(Tool::draw));
    EXPECT_TRUE(isDrawingTool(Tool::step));
    EXPECT_EQ(parseTool(u"step"), Tool::step);
}
