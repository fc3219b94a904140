#include "ai/AIContext.h"

#include "model/AnnotationStyle.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace vellumix;

namespace {

AIContext::Inputs inputs(const AnnotationList& annotations, QSize size = {800, 600}) {
    AIContext::Inputs in;
    in.imageSize = size;
    in.annotations = &annotations;
    in.imageRect = QRectF(20, 20, size.width(), size.height());
    return in;
}

std::vector<OCRLine> numberedLines(int count, const QString& special = {}, int specialAt = -1) {
    std::vector<OCRLine> lines;
    for (int i = 0; i < count; ++i) {
        lines.push_back({i == specialAt ? special : QStringLiteral("line %1").arg(i),
                         QRectF(0, i * 20, 100, 18), OCRLineSize::regular});
    }
    return lines;
}

} // namespace

TEST(AIContextForms, EmptyCanvasFullForm) {
    const AnnotationList none;
    EXPECT_EQ(AIContext::full(inputs(none)).summary,
              QStringLiteral("Image size: 800 × 600 px\nAnnotations: 0\nSelected annotations: 0"));
    EXPECT_EQ(AIContext::build(QueryRoute::imageEdit, inputs(none)).summary,
              QStringLiteral("Image size: 800 × 600 px"));
}

TEST(AIContextForms, AnnotationLinesInBothForms) {
    ShapeAnnotation shape;
    shape.id = *AnnotationID::decode("aB3xZ");
    shape.shape = ShapeAnnotation::Shape::oval;
    shape.rect = QRectF(120.4, 20.6, 10.5, 3);
    shape.strokeColor = Color::rgb(0.9, 0.2, 0.2);
    TextAnnotation text = makeText(
        QRectF(30, 40, 50, 20), QStringLiteral("Hello\nWorld and a long tail that goes past forty"),
        AnnotationStyle());
    text.id = *AnnotationID::decode("t0000");
    text.color = Color::clear();
    OverlayAnnotation overlay;
    overlay.id = *AnnotationID::decode("o0000");
    overlay.rect = QRectF(20, 20, 5, 5);
    const AnnotationList list{shape, text, overlay};
    AIContext::Inputs in = inputs(list);
    in.selectedCount = 2;

    EXPECT_EQ(AIContext::full(in).summary,
              QStringLiteral(
                  "Image size: 800 × 600 px\n"
                  "Annotations: 3\n"
                  "  [100,1 11×3] type=oval stroke=#E63333\n"
                  "  [10,20 50×20] type=text text=\"Hello World and a long tail that goes pa\"\n"
                  "  [0,0 5×5] type=overlay\n"
                  "Selected annotations: 2"));
    EXPECT_EQ(AIContext::compact(in).summary,
              QStringLiteral(
                  "Image size: 800 × 600 px\n"
                  "Existing annotations: 3\n"
                  "  aB3xZ: oval [100,1 11×3] stroke=#E63333\n"
                  "  t0000: text [10,20 50×20] text=\"Hello World and a long tail that goes pa\"\n"
                  "  o0000: overlay [0,0 5×5]"));
}

TEST(AIContextForms, AnalysisSectionsOfTheFullForm) {
    VisionAnalysis analysis;
    analysis.classifications = {"document", "screenshot"};
    analysis.salientRegions = {{QRectF(412, 80.4, 610, 339.5), 0.87f}};
    analysis.lines = {{"Quarterly report", QRectF(40, 22, 380, 36), OCRLineSize::large},
                      {"body", QRectF(40, 70, 200, 14), OCRLineSize::regular}};
    const AnnotationList none;
    AIContext::Inputs in = inputs(none);
    in.analysis = analysis;
    EXPECT_EQ(AIContext::full(in).summary,
              QStringLiteral("Image size: 800 × 600 px\n"
                             "Image content (Vision classifications): document, screenshot\n"
                             "Salient regions (Vision objectness, image-pixel coords):\n"
                             "  [412,80 610×340] confidence=0.87\n"
                             "Text recognized in image (Vision OCR, image-pixel coords; size only "
                             "when not regular):\n"
                             "  [40,22 380×36] \"Quarterly report\" (large)\n"
                             "  [40,70 200×14] \"body\"\n"
                             "Annotations: 0\n"
                             "Selected annotations: 0"));
    // The text only where a person watches; else its size, which says nothing of the screen.
    EXPECT_EQ(AIContext::logLine(QueryRoute::question, AIContext{"x"}, true),
              QStringLiteral("[Vellumix] AI context (question):\nx\n---"));
    EXPECT_EQ(AIContext::logLine(QueryRoute::question, AIContext{"pw: hunter2\nok"}, false),
              QStringLiteral("[Vellumix] AI context (question): 2 lines, 14 characters"));
    EXPECT_EQ(AIContext::logLine(QueryRoute::imageEdit, AIContext{"x"}, false),
              QStringLiteral("[Vellumix] AI context (imageEdit): 1 line, 1 character"));
}

TEST(RelevantTextLines, KeywordsScoreAndStopWordsDoNot) {
    auto lines = numberedLines(20);
    lines[3].text = "Invoice number 42";
    lines[15].text = "Invoice TOTAL: 99";
    lines[18].text = "Subtotal";
    const auto relevant = relevantTextLines(lines, "circle the invoice total");
    ASSERT_EQ(relevant.size(), 3u);
    EXPECT_EQ(relevant[0].text, QStringLiteral("Invoice TOTAL: 99")); // both keywords
    EXPECT_EQ(relevant[1].text, QStringLiteral("Invoice number 42")); // ties keep analysis order
    EXPECT_EQ(relevant[2].text, QStringLiteral("Subtotal"));

    EXPECT_EQ(relevantTextLines(lines, "draw a box around this").front().text,
              QStringLiteral("line 0"));
    EXPECT_EQ(relevantTextLines(lines, "draw a box around this").size(), 12u);
    EXPECT_EQ(relevantTextLines(lines, "zebra crossing").size(), 12u); // nothing scores
    EXPECT_EQ(relevantTextLines(numberedLines(5), "invoice").size(), 5u);
}

TEST(LineSizes, BucketsAroundTheUpperMedian) {
    std::vector<OCRLine> lines;
    for (double h : {10.0, 10.0, 20.0, 40.0, 30.0, 50.0, 14.0}) {
        lines.push_back({"", QRectF(0, 0, 10, h), OCRLineSize::regular});
    }
    assignLineSizes(lines); // median of 7 sorted heights is 20
    EXPECT_EQ(lines[0].relativeSize, OCRLineSize::small);
    EXPECT_EQ(lines[2].relativeSize, OCRLineSize::regular);
    EXPECT_EQ(lines[3].relativeSize, OCRLineSize::large);   // 2.0
    EXPECT_EQ(lines[4].relativeSize, OCRLineSize::large);   // exactly 1.5
    EXPECT_EQ(lines[5].relativeSize, OCRLineSize::xlarge);  // exactly 2.5
    EXPECT_EQ(lines[6].relativeSize, OCRLineSize::regular); // exactly 0.7

    std::vector<OCRLine> three{{"", QRectF(0, 0, 1, 5), {}},
                               {"", QRectF(0, 0, 1, 50), {}},
                               {"", QRectF(0, 0, 1, 500), {}}};
    three[0].relativeSize = OCRLineSize::small;
    assignLineSizes(three);
    EXPECT_EQ(three[0].relativeSize, OCRLineSize::regular);
}

// What `vellumix-bundle analyze` prints reads back as far as a request's context needs it.
TEST(AnalysisJson, WhatIsWrittenReadsBack) {
    VisionAnalysis analysis;
    analysis.classifications = {"document"};
    analysis.lines = {{"Total due", QRectF(4, 5, 60, 12.5), OCRLineSize::large}};
    analysis.lines[0].words = {{6, 3, QRectF(40, 5, 24, 12.5)}};
    analysis.salientRegions = {{QRectF(1, 2, 3, 4), 0.5f}};
    const nlohmann::ordered_json written = analysisToJson(analysis);
    EXPECT_EQ(written["lines"][0]["words"][0].dump(),
              R"({"text":"due","rect":[40.0,5.0,24.0,12.5]})");
    const auto read = analysisFromJson(nlohmann::json::parse(written.dump()));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->classifications, analysis.classifications);
    EXPECT_EQ(read->lines[0].text, "Total due");
    EXPECT_EQ(read->lines[0].rect, analysis.lines[0].rect);
    EXPECT_EQ(read->lines[0].relativeSize, OCRLineSize::large);
    EXPECT_EQ(read->salientRegions[0].rect, QRectF(1, 2, 3, 4));
    EXPECT_EQ(read->salientRegions[0].confidence, 0.5f);
    // A confidence out of range is clamped; a line without its text, or no object, is refused.
    const auto clamped = analysisFromJson(
        nlohmann::json::parse(R"({"salientRegions":[{"rect":[0,0,1,1],"confidence":7}]})"));
    EXPECT_EQ(clamped->salientRegions[0].confidence, 1.0f);
    EXPECT_FALSE(analysisFromJson(nlohmann::json::parse(R"({"lines":[{"rect":[0,0,1,1]}]})")));
    EXPECT_FALSE(analysisFromJson(nlohmann::json::array()));
}
