#include "ai/Routing.h"

#include "ai/RequestTexts.h"

#include <gtest/gtest.h>

using namespace vellumix;

TEST(FastRoute, PrefixesThenImageEditsThenAnnotations) {
    EXPECT_EQ(fastRoute("What color is the box?"), QueryRoute::question);
    EXPECT_EQ(fastRoute("  Show me the errors "), QueryRoute::question);
    EXPECT_EQ(fastRoute("please sharpen it"), QueryRoute::imageEdit);
    EXPECT_EQ(fastRoute("sharpen"), QueryRoute::imageEdit);
    EXPECT_EQ(fastRoute("it looks blurred"), QueryRoute::imageEdit);
    EXPECT_EQ(fastRoute("circle the total"), QueryRoute::annotationEdit);
    EXPECT_EQ(fastRoute("Change the color of the box"), QueryRoute::annotationEdit);
    EXPECT_EQ(fastRoute("circled items?"), std::nullopt);
    EXPECT_EQ(fastRoute(""), std::nullopt);
}

TEST(DecideRoute, TheClassifierWinsWhenItAnswers) {
    EXPECT_EQ(decideRoute(QueryRoute::annotationEdit, QueryRoute::imageEdit),
              QueryRoute::annotationEdit);
    EXPECT_EQ(decideRoute(std::nullopt, QueryRoute::imageEdit), QueryRoute::imageEdit);
    EXPECT_EQ(decideRoute(std::nullopt, std::nullopt), QueryRoute::question);
    EXPECT_EQ(routeLogLine(AIProvider::localModel, std::nullopt, QueryRoute::imageEdit,
                           QueryRoute::imageEdit, "sharpen"),
              QStringLiteral(
                  "[Vellumix] AI route: llm=nil fast=imageEdit → imageEdit  query=\"sharpen\""));
    EXPECT_TRUE(routeLogLine(AIProvider::googleGeminiPro, QueryRoute::question, std::nullopt,
                             QueryRoute::question, "q")
                    .startsWith("[Vellumix] Gemini route: llm=question fast=nil"));
}

TEST(PromptField, ProviderKeyAndLocalModelDecide) {
    using A = LocalModelAvailability;
    EXPECT_EQ(promptFieldState(AIProvider::googleGeminiFlash, false, A::available),
              (PromptFieldState{false, "Provide your Gemini API key in Settings"}));
    EXPECT_EQ(promptFieldState(AIProvider::googleGeminiPro, true, A::loading),
              (PromptFieldState{true, "Ask Gemini (Nano Banana) Pro…"}));
    EXPECT_EQ(promptFieldState(AIProvider::localModel, false, A::available),
              (PromptFieldState{true, "Ask the local model…"}));
    EXPECT_EQ(promptFieldState(AIProvider::localModel, true, A::serverNotRunning),
              (PromptFieldState{false, "Local model server not running"}));
    EXPECT_EQ(promptFieldState(AIProvider::localModel, true, A::noModelLoaded),
              (PromptFieldState{false, "No model loaded in the local server"}));
    EXPECT_EQ(promptFieldState(AIProvider::localModel, true, A::loading),
              (PromptFieldState{false, "Local model loading…"}));
    EXPECT_EQ(
        promptFieldState(AIProvider::localModel, true, A::notEnabled),
        (PromptFieldState{false, "Start llama-server or Ollama, or set its address in Settings"}));
    EXPECT_EQ(promptFieldState(AIProvider::localModel, true, A::otherUnavailable),
              (PromptFieldState{false, "Local model unavailable"}));
    EXPECT_EQ(providerTitle(AIProvider::localModel), QStringLiteral("Local model"));
    EXPECT_EQ(providerTitle(AIProvider::googleGeminiFlash),
              QStringLiteral("Google Gemini (Flash)"));
    EXPECT_TRUE(providerTips(AIProvider::googleGeminiPro).startsWith("**Google Gemini (Pro)**"));
}

TEST(ProviderTips, NameThisSystemsServerAndKeyring) {
    EXPECT_TRUE(providerTips(AIProvider::localModel)
                    .startsWith("**Local model** runs on your computer through a local "
                                "OpenAI-compatible server (llama.cpp's llama-server or Ollama). "
                                "It utilizes a smaller model"));
    EXPECT_TRUE(providerTips(AIProvider::googleGeminiFlash)
                    .endsWith("- Your key is stored in your desktop keyring (Secret Service)."));
    EXPECT_TRUE(providerTips(AIProvider::googleGeminiPro)
                    .contains("(single Gemini keyring entry); switching providers"));
    for (AIProvider p :
         {AIProvider::localModel, AIProvider::googleGeminiFlash, AIProvider::googleGeminiPro}) {
        EXPECT_FALSE(providerTips(p).contains("macOS")) << rawValue(p).toStdString();
        EXPECT_FALSE(providerTips(p).contains("Apple")) << rawValue(p).toStdString();
    }
}

TEST(RequestTexts, DetectionBatchResponses) {
    EXPECT_EQ(detectionBatchResponse(0, 0, 0, {}, std::nullopt),
              QStringLiteral("No matching objects detected."));
    EXPECT_EQ(detectionBatchResponse(0, 0, 0, {}, QStringLiteral("Nothing there")),
              QStringLiteral("Nothing there"));
    EXPECT_EQ(detectionBatchResponse(3, 0, 0, {"title", "button", ""}, std::nullopt),
              QStringLiteral("Drew 3 shapes: title, button, object."));
    EXPECT_EQ(detectionBatchResponse(1, 0, 0, {"the logo"}, std::nullopt),
              QStringLiteral("Drew 1 shape: the logo."));
    EXPECT_EQ(detectionBatchResponse(0, 2, 0, {}, std::nullopt),
              QStringLiteral("Deleted 2 annotations."));
    EXPECT_EQ(detectionBatchResponse(0, 0, 1, {}, std::nullopt),
              QStringLiteral("Updated 1 annotation."));
    EXPECT_EQ(detectionBatchResponse(1, 1, 0, {}, std::nullopt),
              QStringLiteral("Added 1, removed 1 annotations."));
}

TEST(RequestTexts, MetaLineOfACloudResult) {
    CloudResultMeta meta;
    meta.hasText = true;
    meta.promptTokens = 12000;
    meta.responseTokens = 345;
    meta.responseBytes = 1536;
    meta.seconds = 2.345;
    meta.finishReason = QStringLiteral("STOP");
    meta.modelName = QStringLiteral("gemini-3.5-flash");
    EXPECT_EQ(
        cloudMetaLine(meta),
        QStringLiteral(
            "gemini-3.5-flash: text · 12,345 tokens (12,000 in + 345 out) · ↓ 1.5 KB · 2.3s"));
    meta.promptTokens.reset();
    meta.totalTokens = 1234567;
    meta.finishReason = QStringLiteral("MAX_TOKENS");
    meta.modelName.reset();
    meta.hasImage = true;
    meta.responseBytes = 5 * 1024 * 1024;
    EXPECT_EQ(cloudMetaLine(meta),
              QStringLiteral(
                  "image & text · 1,234,567 tokens · ↓ 5,120.0 KB · 2.3s · finish: MAX_TOKENS"));
}

TEST(PromptHistory, SteppingBeepsAtTheEndsAndRestoresTheDraft) {
    PromptHistoryBrowser browser;
    EXPECT_TRUE(browser.step(-1, {}, "x").beep);
    const QStringList history{"first", "second"};
    EXPECT_TRUE(browser.step(+1, history, "draft").beep); // not browsing: Down beeps
    auto s = browser.step(-1, history, "draft");
    EXPECT_EQ(s.text, QStringLiteral("second"));
    EXPECT_EQ(browser.step(-1, history, "second").text, QStringLiteral("first"));
    EXPECT_TRUE(browser.step(-1, history, "first").beep); // nothing older
    EXPECT_EQ(browser.step(+1, history, "first").text, QStringLiteral("second"));
    s = browser.step(+1, history, "second");
    EXPECT_EQ(s.text, QStringLiteral("draft")); // past the newest: the draft comes back
    EXPECT_EQ(browser.index(), -1);
    browser.step(-1, history, "typed");
    browser.fieldEdited();
    EXPECT_EQ(browser.index(), -1);
}
