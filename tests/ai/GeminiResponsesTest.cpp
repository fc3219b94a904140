#include "ai/GeminiResponses.h"

#include "FakeModelAnswers.h"
#include "ai/GeminiError.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace vellumix;
using nlohmann::json;

namespace {

GeminiHttpAnswer ok(const QByteArray& body) {
    return {200, body};
}

/// A one-candidate answer whose only part is `text`.
QByteArray textAnswer(const std::string& text) {
    json body = json::parse(
        R"({"candidates":[{"content":{"parts":[{"text":""}],"role":"model"},"finishReason":"STOP"}],
            "usageMetadata":{"promptTokenCount":1301,"candidatesTokenCount":11,"totalTokenCount":1350},
            "modelVersion":"gemini-3.5-flash"})");
    body["candidates"][0]["content"]["parts"][0]["text"] = text;
    return QByteArray::fromStdString(body.dump());
}

QString errorText(const auto& parsed) {
    const auto* error = std::get_if<GeminiError>(&parsed);
    return error ? error->text() : QStringLiteral("<no error>");
}

struct Lines {
    QStringList lines;
    GeminiLog sink() {
        return [this](const QString& line) { lines << line; };
    }
};

PixelRect rectOf(const AICanvasDirectivePublic& d) {
    return {d.x, d.y, d.width, d.height};
}

GeminiDetectionResult detect(const char* entries, QSize imageSize, GeminiLog log = {}) {
    const auto parsed = parseDetectionResponse(ok(textAnswer(entries)), imageSize, log);
    EXPECT_TRUE(std::holds_alternative<GeminiDetectionResult>(parsed))
        << errorText(parsed).toStdString();
    return std::holds_alternative<GeminiDetectionResult>(parsed)
               ? std::get<GeminiDetectionResult>(parsed)
               : GeminiDetectionResult{};
}

} // namespace

TEST(GeminiClassify, QuotedBareOrPaddedWordsCountButCaseMatters) {
    EXPECT_EQ(parseClassifyResponse(ok(textAnswer("\"imageEdit\""))).mode, QueryMode::imageEdit);
    EXPECT_EQ(parseClassifyResponse(ok(textAnswer("imageEdit"))).mode, QueryMode::imageEdit);
    EXPECT_EQ(parseClassifyResponse(ok(textAnswer(" imageEdit\n"))).mode, QueryMode::imageEdit);
    EXPECT_EQ(parseClassifyResponse(ok(textAnswer("\"question\"\n"))).mode, QueryMode::question);
    EXPECT_EQ(parseClassifyResponse(ok(textAnswer("ImageEdit"))).mode, std::nullopt);
    EXPECT_EQ(parseClassifyResponse(ok(textAnswer("[\"imageEdit\"]"))).mode, std::nullopt);

    const GeminiClassifyResult full = parseClassifyResponse(ok(textAnswer("annotationEdit")));
    EXPECT_EQ(full.promptTokens, 1301);
    EXPECT_EQ(full.responseTokens, 11);
    EXPECT_EQ(full.modelVersion, "gemini-3.5-flash");

    // Every failure is a result without a mode.
    EXPECT_EQ(parseClassifyResponse(std::nullopt).mode, std::nullopt);
    EXPECT_EQ(parseClassifyResponse(GeminiHttpAnswer{503, textAnswer("question")}).mode,
              std::nullopt);
    EXPECT_EQ(parseClassifyResponse(ok("question")).mode, std::nullopt);
    EXPECT_EQ(parseClassifyResponse(ok(R"({"candidates":[]})")).modelVersion, std::nullopt);
}

TEST(GeminiQuestion, ErrorsInTheirOrder) {
    EXPECT_EQ(errorText(parseQuestionResponse(std::nullopt)), "Gemini returned no content.");
    // Statuses outside 2xx: see the service tests (429 with a body, a body that is not UTF-8).
    EXPECT_EQ(errorText(parseQuestionResponse(ok("[1,2]"))),
              "Couldn't parse Gemini response: Non-JSON response (5 bytes)");
    EXPECT_EQ(errorText(parseQuestionResponse(ok(R"({"error":{"code":400,"message":"Bad key"}})"))),
              "Couldn't parse Gemini response: API error: Bad key");
    // A safety stop carries no parts.
    EXPECT_EQ(errorText(parseQuestionResponse(ok(R"({"candidates":[{"finishReason":"SAFETY"}]})"))),
              "Couldn't parse Gemini response: No Q&A candidate");
    EXPECT_EQ(errorText(parseQuestionResponse(ok(textAnswer("")))), "Gemini returned no content.");
    EXPECT_EQ(errorText(parseQuestionResponse(ok(QByteArray(64 * 1024 * 1024 + 1, ' ')))),
              "Couldn't parse Gemini response: Response too large (over 64 MiB)");
    // Nesting beyond any real answer is refused rather than walked.
    EXPECT_EQ(errorText(parseQuestionResponse(ok(QByteArray(100000, '[')))),
              "Couldn't parse Gemini response: Non-JSON response (100000 bytes)");
}

TEST(GeminiQuestion, TextPartsJoinAndUsageIsRead) {
    const QByteArray body =
        R"({"candidates":[{"content":{"parts":[{"text":"The dialog "},{"thought":true},{"text":"says hi."}]},
            "finishReason":"MAX_TOKENS"}],"usageMetadata":{"promptTokenCount":7,"totalTokenCount":12},
            "modelVersion":"gemini-3.5-flash-001"})";
    const auto parsed = parseQuestionResponse(ok(body));
    ASSERT_TRUE(std::holds_alternative<GeminiResult>(parsed)) << errorText(parsed).toStdString();
    const GeminiResult& result = std::get<GeminiResult>(parsed);
    EXPECT_EQ(result.text, "The dialog says hi.");
    EXPECT_EQ(result.totalTokens, 12);
    EXPECT_EQ(result.promptTokens, 7);
    EXPECT_EQ(result.responseTokens, std::nullopt);
    EXPECT_EQ(result.modelVersion, "gemini-3.5-flash-001");
    EXPECT_EQ(result.finishReason, "MAX_TOKENS");
    EXPECT_EQ(result.responseBytes, body.size());
    EXPECT_FALSE(result.image.has_value());
}

TEST(GeminiImageEdit, FirstDecodableImageWinsAndTextComesAlong) {
    json body = {{"modelVersion", "gemini-3.1-flash-image"}};
    body["candidates"][0]["finishReason"] = "STOP";
    auto& parts = body["candidates"][0]["content"]["parts"];
    parts.push_back({{"text", "Here it is."}});
    parts.push_back({{"inlineData", {{"mimeType", "image/png"}, {"data", "not base64!"}}}});
    parts.push_back({{"inline_data", {{"mime_type", "image/png"}, {"data", "iVBORw0KGgo="}}}});
    const std::string red = test::pngBase64(QSize(4, 3), Qt::red).toStdString();
    parts.push_back({{"inline_data", {{"mime_type", "image/png"}, {"data", red}}}});
    parts.push_back({{"inlineData",
                      {{"mimeType", "image/png"},
                       {"data", test::pngBase64(QSize(2, 2), Qt::blue).toStdString()}}}});

    const auto parsed = parseImageEditResponse(ok(QByteArray::fromStdString(body.dump())), {});
    ASSERT_TRUE(std::holds_alternative<GeminiResult>(parsed)) << errorText(parsed).toStdString();
    const GeminiResult& result = std::get<GeminiResult>(parsed);
    EXPECT_EQ(result.text, "Here it is.");
    ASSERT_TRUE(result.image.has_value());
    EXPECT_EQ(result.image->size(), QSize(4, 3));
    EXPECT_EQ(result.image->pixel(3, 2), qRgb(255, 0, 0));
    EXPECT_EQ(result.image->devicePixelRatio(), 1.0);
    EXPECT_EQ(result.responseImageBytes,
              QByteArray::fromBase64(QByteArray::fromStdString(red)).size());
}

TEST(GeminiImageEdit, RefusalsAreExplainedAndLogged) {
    Lines log;
    EXPECT_EQ(
        errorText(parseImageEditResponse(
            ok(R"({"error":{"code":429,"message":"Quota exceeded","status":"RESOURCE_EXHAUSTED"}})"),
            log.sink())),
        "Couldn't parse Gemini response: API error 429: Quota exceeded");
    EXPECT_EQ(
        errorText(parseImageEditResponse(
            ok(R"({"promptFeedback":{"safetyRatings":[{"probability":"HIGH","category":"HARM_CATEGORY_DANGEROUS_CONTENT","blocked":true}],"blockReason":"SAFETY"}})"),
            log.sink())),
        "Couldn't parse Gemini response: Prompt blocked: SAFETY");
    EXPECT_EQ(errorText(parseImageEditResponse(
                  ok(R"({"candidates":[{"finishReason":"SAFETY","index":0,"safetyRatings":[
                        {"category":"HARM_CATEGORY_HATE_SPEECH","probability":"NEGLIGIBLE"},
                        {"category":"HARM_CATEGORY_HARASSMENT","probability":"MEDIUM","blocked":true}]}]})"),
                  log.sink())),
              "Couldn't parse Gemini response: No content (finishReason: SAFETY) — blocked: "
              "HARASSMENT");
    EXPECT_EQ(errorText(parseImageEditResponse(ok(R"({"usageMetadata":{},"modelVersion":"m"})"),
                                               log.sink())),
              "Couldn't parse Gemini response: No candidates returned (top-level keys: "
              "modelVersion, usageMetadata)");
    EXPECT_EQ(errorText(parseImageEditResponse(ok("<html>oops</html>"), log.sink())),
              "Couldn't parse Gemini response: Non-JSON response (17 bytes)");
    // An image that does not decode counts as no image.
    EXPECT_EQ(errorText(parseImageEditResponse(
                  ok(R"({"candidates":[{"content":{"parts":[{"inlineData":{"data":"AAAA"}}]}}]})"),
                  log.sink())),
              "Couldn't parse Gemini response: No content (finishReason: unknown)");

    ASSERT_EQ(log.lines.size(), 6);
    EXPECT_EQ(log.lines[0], "[Gemini] API error 429: Quota exceeded");
    EXPECT_EQ(log.lines[1],
              "[Gemini] Prompt blocked: SAFETY — full feedback: {\"blockReason\":\"SAFETY\","
              "\"safetyRatings\":[{\"blocked\":true,\"category\":\"HARM_CATEGORY_DANGEROUS_"
              "CONTENT\",\"probability\":\"HIGH\"}]}");
    EXPECT_TRUE(log.lines[2].startsWith("[Gemini] Candidate without parts: {\"finishReason\":"));
    EXPECT_EQ(log.lines[3], "[Gemini] No candidates in response. Top-level keys: modelVersion, "
                            "usageMetadata\nBody:\n{\"usageMetadata\":{},\"modelVersion\":\"m\"}");
    EXPECT_EQ(log.lines[4], "[Gemini] Non-JSON response (17 bytes):\n<html>oops</html>");
}

// The console ends up in the journal: no image data there, and only an excerpt of any body.
TEST(GeminiImageEdit, LogLinesCarryNoImageDataAndOnlyAnExcerptOfTheBody) {
    Lines log;
    const std::string data(5000, 'A'); // base64 of zeros: no image decodes from it
    const std::string message(1000, 'm');
    parseImageEditResponse(ok(QByteArray::fromStdString(
                               R"({"candidates":[{"content":{"parts":[{"inlineData":{"data":")" +
                               data + R"("}}]},"finishReason":"OTHER"}]})")),
                           log.sink());
    parseImageEditResponse(
        ok(QByteArray::fromStdString(R"({"error":{"code":500,"message":")" + message + R"("}})")),
        log.sink());
    parseImageEditResponse(ok(QByteArray(1000, 'x')), log.sink());
    log.lines << geminiErrorLogLine(GeminiError::http(500, QString(1000, u'b')));
    ASSERT_EQ(log.lines.size(), 4);
    EXPECT_TRUE(log.lines[0].contains("\"data\":\"<5000 characters>\""))
        << log.lines[0].toStdString();
    for (const QString& line : log.lines) {
        EXPECT_FALSE(line.contains("AAAA")) << line.toStdString();
        // The letters of the fixed words aside, at most 200 of the body's.
        for (const QChar c : {u'm', u'x', u'b'}) {
            EXPECT_LE(line.count(c), 200 + 10) << line.toStdString();
        }
    }
}

TEST(GeminiBodyPreview, CutsAtFourHundredCharactersOrNamesTheBytes) {
    EXPECT_EQ(geminiBodyPreview(QByteArray(400, 'a')), QString(400, 'a'));
    EXPECT_EQ(geminiBodyPreview(QByteArray(401, 'a')), QString(400, 'a') + "…");
    // An accent that combines with its letter is part of that character.
    EXPECT_EQ(geminiBodyPreview(QString("e\u0301").repeated(401).toUtf8()),
              QString("e\u0301").repeated(400) + "…");
    EXPECT_EQ(geminiBodyPreview(QByteArray("\xc3\x28\x00", 3)), "<3 bytes binary>");
}

TEST(GeminiDetection, BoxesOnTheModelsGridAreScaledToLargeImagesOnly) {
    const char* entries =
        R"([{"shouldDraw":true,"kind":"shape","shape":"oval","x":100,"y":100,"width":200,"height":100,"summary":"lamp"},
            {"shouldDraw":true,"operation":"delete","targetId":"abcde"}])";
    Lines log;
    const GeminiDetectionResult large = detect(entries, QSize(3000, 2000), log.sink());
    ASSERT_EQ(large.shapes.size(), 2);
    EXPECT_EQ(rectOf(large.shapes[0]), (PixelRect{300, 200, 600, 200}));
    EXPECT_EQ(large.shapes[0].summary, "lamp");
    EXPECT_EQ(large.shapes[0].operation, "create");
    EXPECT_EQ(rectOf(large.shapes[1]), (PixelRect{0, 0, 0, 0}));
    EXPECT_EQ(log.lines, QStringList{"[Gemini] Detection coords look 0–1000 normalized on a "
                                     "3000×2000 image — denormalizing to pixels."});
    EXPECT_EQ(large.text, std::nullopt);

    const GeminiDetectionResult small = detect(entries, QSize(1200, 800));
    EXPECT_EQ(rectOf(small.shapes[0]), (PixelRect{100, 100, 200, 100}));

    // One box reaching past 1000 shows the answer is in pixels.
    const GeminiDetectionResult pixels = detect(
        R"([{"x":100,"y":100,"width":200,"height":100},{"x":801,"y":0,"width":200,"height":10}])",
        QSize(3000, 2000));
    EXPECT_EQ(rectOf(pixels.shapes[0]), (PixelRect{100, 100, 200, 100}));
    EXPECT_EQ(rectOf(pixels.shapes[1]), (PixelRect{801, 0, 200, 10}));

    // 1 × 1.5 = 1.5 → 2; 3 × 1.5 = 4.5 → 5; 999 × 1.5 = 1498.5 → 1499; −1 × 1.5 → −2.
    const GeminiDetectionResult halves =
        detect(R"([{"x":3,"y":1,"width":1,"height":999},{"x":-1,"y":0,"width":5,"height":5}])",
               QSize(1500, 1000));
    EXPECT_EQ(rectOf(halves.shapes[0]), (PixelRect{5, 1, 2, 999}));
    EXPECT_EQ(rectOf(halves.shapes[1]), (PixelRect{-2, 0, 8, 5}));
}

TEST(GeminiDetection, ExtremeNumbersNeitherOverflowNorRescaleWrongly) {
    const GeminiDetectionResult huge =
        detect(R"([{"x":9223372036854775807,"y":0,"width":1,"height":1}])", QSize(3000, 2000));
    EXPECT_EQ(huge.shapes[0].x, 9223372036854775807LL);
    const GeminiDetectionResult negative =
        detect(R"([{"x":-9000000000000000000,"y":0,"width":10,"height":10}])", QSize(3000, 2000));
    EXPECT_EQ(negative.shapes[0].x, std::numeric_limits<qint64>::min());
    EXPECT_EQ(rectOf(negative.shapes[0]).width, 30);
    EXPECT_EQ(rectOf(negative.shapes[0]).height, 20);
}

TEST(GeminiDetection, EntriesWithoutTargetOrSizeAreDropped) {
    const GeminiDetectionResult result = detect(
        R"([{"operation":"update","targetId":"  ","color":"red"},
            {"operation":"create","x":5,"y":5,"width":0,"height":50},
            {"operation":"UPDATE","targetId":"abcde","color":"blue"},
            {"x":2,"y":3,"width":1,"height":1,"text":"hi","fontSize":24}])",
        QSize(640, 480));
    ASSERT_EQ(result.shapes.size(), 2);
    EXPECT_EQ(result.shapes[0].operation, "UPDATE");
    EXPECT_EQ(result.shapes[0].color, "blue");
    EXPECT_EQ(result.shapes[1].operation, "create");
    EXPECT_EQ(result.shapes[1].fontSize, 24);

    const GeminiDetectionResult none = detect("[]", QSize(3000, 2000));
    EXPECT_TRUE(none.shapes.isEmpty());
    EXPECT_EQ(none.text, "No matching objects detected.");
    EXPECT_EQ(none.totalTokens, 1350);
    EXPECT_EQ(none.finishReason, "STOP");
}

TEST(GeminiDetection, ErrorsInTheirOrder) {
    const QSize size(640, 480);
    EXPECT_EQ(errorText(parseDetectionResponse(std::nullopt, size, {})),
              "Couldn't parse Gemini response: No HTTP response");
    EXPECT_EQ(
        errorText(parseDetectionResponse(GeminiHttpAnswer{503, QByteArray(450, 'o')}, size, {})),
        "Gemini API error 503: " + QString(400, 'o') + "…");
    EXPECT_EQ(errorText(parseDetectionResponse(GeminiHttpAnswer{400, "\xff"}, size, {})),
              "Gemini API error 400: <1 bytes binary>");
    EXPECT_EQ(errorText(parseDetectionResponse(ok("{\"candidates\":"), size, {})),
              "Couldn't parse Gemini response: JSON parse failed");
    EXPECT_EQ(errorText(parseDetectionResponse(ok(R"({"promptFeedback":{"blockReason":"OTHER"}})"),
                                               size, {})),
              "Couldn't parse Gemini response: Prompt blocked: OTHER");
    EXPECT_EQ(errorText(parseDetectionResponse(ok(R"({"candidates":[{"finishReason":"SAFETY"}]})"),
                                               size, {})),
              "Couldn't parse Gemini response: No detection candidate");
    for (const char* text : {R"({"x":1})", "[1]", "[{}, 2]", "not json"}) {
        EXPECT_EQ(errorText(parseDetectionResponse(ok(textAnswer(text)), size, {})),
                  "Couldn't parse Gemini response: Detection JSON parse failed")
            << text;
    }
}

// The texts of the other failures reach the caller in the service tests.
TEST(GeminiErrors, TheLostConnectionIsExplainedAndLogged) {
    const GeminiFailure lost =
        GeminiNetworkError{GeminiNetworkError::Kind::connectionLost, "Connection closed"};
    EXPECT_TRUE(geminiErrorText(lost).startsWith(
        "Gemini closed the connection mid-response. This usually means the request was still "
        "processing on Google's side when an intermediate timeout fired"));
    EXPECT_TRUE(
        geminiErrorText(lost).endsWith("Try again, or switch to Flash for faster turnaround."));
    EXPECT_EQ(geminiErrorLogLine(lost),
              "[Vellumix] Gemini error: NetworkError — Connection closed");
}
