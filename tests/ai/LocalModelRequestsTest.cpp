#include "ai/LocalModelRequests.h"

#include <gtest/gtest.h>

using namespace vellumix;
using json = nlohmann::ordered_json; // key order is part of what is sent

TEST(LocalModelAddress, EnvironmentThenSettingThenOllamaFallback) {
    EXPECT_EQ(localModelCandidateUrls(" http://127.0.0.1:5555 ", "http://10.0.0.9:8080"),
              QStringList{"http://127.0.0.1:5555"});
    EXPECT_EQ(localModelCandidateUrls("", "http://127.0.0.1:8080"),
              (QStringList{"http://127.0.0.1:8080", "http://127.0.0.1:11434"}));
    EXPECT_EQ(localModelCandidateUrls("", "http://127.0.0.1:8080/"),
              (QStringList{"http://127.0.0.1:8080/", "http://127.0.0.1:11434"}));
    EXPECT_EQ(localModelCandidateUrls("", "http://box.lan:9931"),
              QStringList{"http://box.lan:9931"});
    EXPECT_TRUE(localModelCandidateUrls("", "  ").isEmpty()); // turned off
    EXPECT_EQ(localModelEndpoint("http://127.0.0.1:11434//", "/v1/chat/completions"),
              QUrl("http://127.0.0.1:11434/v1/chat/completions"));
}

TEST(LocalModelPrompt, CanvasStateThenHeaderThenQuery) {
    EXPECT_EQ(
        localModelPrompt(QueryRoute::question, "Image size: 10 × 20 px", "What is it?"),
        QStringLiteral("Canvas state:\nImage size: 10 × 20 px\n\nUser question:\nWhat is it?"));
    EXPECT_EQ(localModelPrompt(QueryRoute::annotationEdit, "C", "circle it"),
              QStringLiteral("Canvas state:\nC\n\nUser request:\ncircle it"));
    EXPECT_EQ(localModelPrompt(QueryRoute::imageEdit, "", "blur"),
              QStringLiteral("Canvas state:\n\n\nUser request:\nblur"));
}

TEST(LocalModelRequestBodies, QuestionStreamsAndLeavesSamplingToTheServer) {
    EXPECT_EQ(
        localQuestionRequestBody("qwen", "Be brief.", "Canvas state:\nC\n\nUser question:\nQ"),
        QByteArray(R"({"model":"qwen","messages":[{"role":"system","content":"Be brief."},)"
                   R"({"role":"user","content":"Canvas state:\nC\n\nUser question:\nQ"}],)"
                   R"("stream":true})"));
}

TEST(LocalModelRequestBodies, ClassifierAsksForOneOfThreeRoutes) {
    const json body = json::parse(localClassifyRequestBody("m", "circle the total").toStdString());
    EXPECT_EQ(body["stream"], false);
    EXPECT_EQ(body["messages"][1]["content"], "circle the total"); // the query alone
    EXPECT_EQ(body["messages"][0]["content"], classifierInstructionsText().toStdString());
    EXPECT_EQ(body["response_format"].dump(),
              R"({"type":"json_schema","json_schema":{"name":"QueryRoute","strict":true,)"
              R"("schema":{"type":"object","properties":{"route":{"type":"string","enum":)"
              R"(["question","imageEdit","annotationEdit"]}},"required":["route"],)"
              R"("additionalProperties":false}}})");
    EXPECT_FALSE(body.contains("temperature"));
    EXPECT_FALSE(body.contains("max_tokens"));
}

TEST(LocalModelRequestBodies, DirectiveSchemasCarryTheFieldGuides) {
    const json body =
        json::parse(localAnnotationEditRequestBody("m", "I", "C", "box the date").toStdString());
    EXPECT_EQ(body["messages"][1]["content"], "Canvas state:\nC\n\nUser request:\nbox the date");
    const json& format = body["response_format"];
    EXPECT_EQ(format["json_schema"]["name"], "AICanvasDirective");
    const json& schema = format["json_schema"]["schema"];
    EXPECT_EQ(schema["required"].size(), 20u); // the guides' order is the directives' test's
    EXPECT_EQ(schema["additionalProperties"], false);
    EXPECT_EQ(schema["properties"]["x"].dump(),
              R"({"type":"integer","description":"Top-left X in image pixels — NOT the center."})");
    EXPECT_EQ(schema["properties"]["shape"]["enum"], json({"rect", "oval", ""}));
    const std::string fontGuide = schema["properties"]["fontFamily"]["description"];
    EXPECT_NE(fontGuide.find(R"(as installed on this computer (e.g. "DejaVu Sans", )"
                             R"("Liberation Serif", "Noto Sans", "DejaVu Sans Mono"))"),
              std::string::npos);

    const json filter =
        json::parse(localImageEditRequestBody("m", "I", "C", "sharpen").toStdString());
    const json& filterSchema = filter["response_format"]["json_schema"]["schema"];
    EXPECT_EQ(filter["response_format"]["json_schema"]["name"], "FilterDirective");
    EXPECT_EQ(filterSchema["required"], json({"shouldApply", "kind", "strength", "summary"}));
    EXPECT_EQ(filterSchema["properties"]["kind"]["enum"],
              json({"sharpen", "contrast", "brightness", "blur"}));
    EXPECT_EQ(filterSchema["properties"]["strength"]["type"], "number");
}

TEST(LocalModelInstructions, KeptVerbatimAndWordedForThisSystem) {
    const QString question = questionInstructionsText();
    EXPECT_TRUE(question.startsWith("You answer the user's questions about a Vellumix canvas."));
    EXPECT_TRUE(question.contains("(e.g.   \"computer, monitor, screen\")")); // inner blanks kept
    EXPECT_TRUE(question.contains("I don't have a position for the logo —   the local model only "
                                  "locates OCR'd text."));
    // The field guides name this system's fonts (the schema's guide is checked with the bodies).
    EXPECT_TRUE(annotationEditInstructionsText().contains("\"DejaVu Sans\""));
    for (const QString& text : {question, annotationEditInstructionsText(),
                                imageEditInstructionsText(), classifierInstructionsText()}) {
        EXPECT_FALSE(text.contains("Apple"));
        EXPECT_FALSE(text.contains("macOS"));
        EXPECT_FALSE(text.startsWith(' '));
    }
}
