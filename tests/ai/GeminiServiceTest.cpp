#include "ai/GeminiService.h"

#include "FakeHttpServer.h"
#include "FakeModelAnswers.h"
#include "ai/GeminiRequests.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace std::chrono_literals;
using vellumix::test::FakeHttpServer;
using vellumix::test::geminiText;

namespace {

constexpr char apiKey[] = "AIzaTestKey-123";

QImage filled(QSize size, QColor color) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    return image;
}

/// The request body with every base64 image replaced by "<png>"; the images go to `images`.
QByteArray withoutImages(const QByteArray& body, QList<QByteArray>* pngs = nullptr) {
    static const QRegularExpression data(QStringLiteral("\"data\":\"([A-Za-z0-9+/=]*)\""));
    QString text = QString::fromUtf8(body);
    for (const auto& match : data.globalMatch(text)) {
        if (pngs) {
            *pngs << QByteArray::fromBase64(match.captured(1).toLatin1());
        }
    }
    return text.replace(data, QStringLiteral("\"data\":\"<png>\"")).toUtf8();
}

QString failureText(const auto& outcome) {
    const auto* failure = std::get_if<GeminiFailure>(&outcome);
    return failure ? geminiErrorText(*failure) : QStringLiteral("<no failure>");
}

class GeminiServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.start());
        options.baseUrl = server.baseUrl();
        options.log = [this](const QString& line) { logLines << line; };
        options.requestTimeout = 5s;
    }

    void TearDown() override {
        // The key travels in its header and nowhere else.
        for (const auto& request : server.requests()) {
            EXPECT_FALSE(request.target.contains(apiKey));
            EXPECT_FALSE(request.body.contains(apiKey));
        }
        for (const QString& line : logLines) {
            EXPECT_FALSE(line.contains(apiKey)) << line.toStdString();
        }
    }

    GeminiService& service() {
        if (!m_service) {
            m_service = std::make_unique<GeminiService>(options);
        }
        return *m_service;
    }

    GeminiService::StatusCallback recordStatus() {
        return [this](const QString& text) { statuses << text; };
    }

    using Outcome = std::optional<GeminiOutcome<GeminiResult>>;
    // "q" about a small black picture (or `images`) with `key`; the outcome lands in `slot`.
    std::unique_ptr<GeminiCall> ask(Outcome& slot, const QString& key = apiKey,
                                    const QList<QImage>& images = {
                                        filled(QSize(2, 2), Qt::black)}) {
        return service().answerQuestion(key, images, "q", std::nullopt, {},
                                        [&slot](GeminiOutcome<GeminiResult> o) { slot = o; });
    }

    template <class T> T await(const std::optional<T>& slot, int ms = 5000) {
        EXPECT_TRUE(QTest::qWaitFor([&slot] { return slot.has_value(); }, ms));
        return slot.value_or(T{});
    }

    FakeHttpServer server;
    GeminiService::Options options;
    QStringList logLines;
    QStringList statuses;

private:
    std::unique_ptr<GeminiService> m_service;
};

} // namespace

TEST_F(GeminiServiceTest, ClassifySendsItsInstructionAndReadsTheWord) {
    server.answerWith(FakeHttpServer::Response::json(200, geminiText(R"(\"annotationEdit\")")));
    std::optional<GeminiClassifyResult> result;
    auto call = service().classifyQuery(apiKey, "circle the logo",
                                        [&](GeminiClassifyResult r) { result = r; });
    const GeminiClassifyResult answer = await(result);
    // What else the answer holds is the parser's (GeminiResponsesTest); the time is the call's.
    EXPECT_EQ(answer.mode, QueryMode::annotationEdit);
    EXPECT_GT(answer.duration, 0);
    EXPECT_FALSE(call->isRunning());

    ASSERT_EQ(server.requests().size(), 1);
    const auto& request = server.requests()[0];
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/v1beta/models/gemini-3.5-flash:generateContent");
    EXPECT_EQ(request.header("Content-Type"), "application/json");
    EXPECT_EQ(request.header("x-goog-api-key"), apiKey);
    EXPECT_EQ(request.body, classifyRequestBody("circle the logo"));
}

TEST_F(GeminiServiceTest, ClassifyAbsorbsFailuresAndSendsNothingWithoutKey) {
    server.answerWith(FakeHttpServer::Response::json(500, R"({"error":{"message":"boom"}})"));
    std::optional<GeminiClassifyResult> failed;
    auto call =
        service().classifyQuery(apiKey, "sharpen", [&](GeminiClassifyResult r) { failed = r; });
    EXPECT_EQ(await(failed).mode, std::nullopt);

    std::optional<GeminiClassifyResult> keyless;
    auto second =
        service().classifyQuery("", "sharpen", [&](GeminiClassifyResult r) { keyless = r; });
    EXPECT_EQ(await(keyless).mode, std::nullopt);
    EXPECT_EQ(keyless->duration, 0);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(GeminiServiceTest, QuestionSendsImagesInOrderAndReportsProgress) {
    server.answerWith(FakeHttpServer::Response::json(200, geminiText("Two buttons.")));
    const QList<QImage> images{filled(QSize(8, 6), Qt::red), filled(QSize(4, 4), Qt::blue)};
    std::optional<GeminiOutcome<GeminiResult>> outcome;
    auto call = service().answerQuestion(apiKey, images, "How many buttons?",
                                         QStringLiteral("Answer briefly."), recordStatus(),
                                         [&](GeminiOutcome<GeminiResult> o) { outcome = o; });
    const auto answer = await(outcome);
    ASSERT_TRUE(std::holds_alternative<GeminiResult>(answer)) << failureText(answer).toStdString();
    const GeminiResult& result = std::get<GeminiResult>(answer);
    EXPECT_EQ(result.text, "Two buttons.");
    EXPECT_EQ(statuses,
              (QStringList{"Sending image & annotations: ↑ 0 KB…", "Processing your prompt…"}));

    ASSERT_EQ(server.requests().size(), 1);
    QList<QByteArray> pngs;
    // The body's layout is the request builder's; here the images, in order, and the instruction.
    withoutImages(server.requests()[0].body, &pngs);
    EXPECT_TRUE(server.requests()[0].body.contains(
        R"("systemInstruction":{"parts":[{"text":"Answer briefly."}]})"));
    ASSERT_EQ(pngs.size(), 2);
    EXPECT_EQ(QImage::fromData(pngs[0], "PNG").convertToFormat(QImage::Format_ARGB32), images[0]);
    EXPECT_EQ(QImage::fromData(pngs[1], "PNG").convertToFormat(QImage::Format_ARGB32), images[1]);
    EXPECT_EQ(result.requestBytes, pngs[0].size() + pngs[1].size());
}

TEST_F(GeminiServiceTest, QuestionFailuresCarryTheirTexts) {
    int answered = 0;
    server.setHandler([&answered](const FakeHttpServer::Request&) {
        return answered++ == 0 ? FakeHttpServer::Response::json(429, "quota")
                               : FakeHttpServer::Response::json(500, "\xff\xfe not text");
    });
    Outcome quota, binary, keyless, imageless;
    auto a = ask(quota);
    EXPECT_EQ(failureText(await(quota)), "Gemini API error 429: quota");
    auto b = ask(binary);
    EXPECT_EQ(failureText(await(binary)), "Gemini API error 500: <no body>");

    auto c = ask(keyless, "");
    auto d = ask(imageless, apiKey, {});
    EXPECT_EQ(failureText(await(keyless)), "Gemini API key missing. Add one in Settings.");
    EXPECT_EQ(failureText(await(imageless)), "Couldn't parse Gemini response: No images to send");
    EXPECT_EQ(server.requests().size(), 2);

    EXPECT_EQ(service().describeError(std::get<GeminiFailure>(*quota)),
              "Gemini API error 429: quota");
    EXPECT_EQ(logLines.last(),
              "[Vellumix] Gemini error: GeminiError — Gemini API error 429: quota");
}

TEST_F(GeminiServiceTest, TheKeyNeverFollowsARedirectNorBreaksTheHeader) {
    FakeHttpServer::Response moved;
    moved.status = 307;
    moved.headers = {{"Location", "/elsewhere"}};
    server.answerWith(moved);
    Outcome redirected, injected;
    auto a = ask(redirected);
    EXPECT_EQ(failureText(await(redirected)), "Gemini API error 307: ");
    auto b = ask(injected, "key\r\nX-Injected: 1");
    EXPECT_EQ(failureText(await(injected)),
              "Couldn't parse Gemini response: The API key holds characters a header can't carry");
    QTest::qWait(100);
    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].target, "/v1beta/models/gemini-3.5-flash:generateContent");
}

TEST_F(GeminiServiceTest, AnAddressThatWouldCarryTheKeyInClearIsNeverCalled) {
    options.baseUrl = QStringLiteral("http://generativelanguage.googleapis.com");
    const QList<QImage> image{filled(QSize(2, 2), Qt::black)};
    std::optional<GeminiClassifyResult> classified;
    Outcome answered, edited;
    std::optional<GeminiOutcome<GeminiDetectionResult>> detected;
    auto a = service().classifyQuery(apiKey, "q", [&](GeminiClassifyResult r) { classified = r; });
    auto b = ask(answered);
    auto c = service().generateImage(apiKey, image, "q", std::nullopt, "m", {},
                                     [&](GeminiOutcome<GeminiResult> o) { edited = o; });
    auto d = service().detectAnnotations(
        apiKey, image[0], "q", {}, [&](GeminiOutcome<GeminiDetectionResult> o) { detected = o; });
    EXPECT_EQ(await(classified).mode, std::nullopt);
    const QString refusal = *insecureBaseUrlReason(options.baseUrl);
    EXPECT_EQ(failureText(await(answered)), refusal);
    EXPECT_EQ(failureText(await(edited)), refusal);
    EXPECT_EQ(failureText(await(detected)), refusal);
}

TEST_F(GeminiServiceTest, ImageEditTakesTheFirstOfTwoImagesAndTellsEachStage) {
    server.answerWith(FakeHttpServer::Response::json(
        200,
        R"({"candidates":[{"content":{"parts":[{"inlineData":{"mimeType":"image/png","data":")" +
            test::pngBase64(QSize(3, 2), Qt::red) +
            R"("}},{"inlineData":{"mimeType":"image/png","data":")" +
            test::pngBase64(QSize(2, 2), Qt::blue) +
            R"("}}],"role":"model"},"finishReason":"STOP"}],"modelVersion":"gemini-3-pro-image"})"));
    std::optional<GeminiOutcome<GeminiResult>> outcome;
    auto call = service().generateImage(apiKey, {filled(QSize(5, 4), Qt::white)}, "make it red",
                                        std::nullopt, gemini::proImageModel, recordStatus(),
                                        [&](GeminiOutcome<GeminiResult> o) { outcome = o; });
    const auto answer = await(outcome);
    ASSERT_TRUE(std::holds_alternative<GeminiResult>(answer)) << failureText(answer).toStdString();
    const GeminiResult& result = std::get<GeminiResult>(answer);
    ASSERT_TRUE(result.image.has_value());
    EXPECT_EQ(result.image->size(), QSize(3, 2));
    EXPECT_EQ(statuses,
              (QStringList{"Sending image: ↑ 0 KB…", "Gemini processing…", "Parsing response…"}));

    ASSERT_EQ(server.requests().size(), 1);
    EXPECT_EQ(server.requests()[0].target, "/v1beta/models/gemini-3-pro-image:generateContent");
    QList<QByteArray> pngs;
    EXPECT_EQ(withoutImages(server.requests()[0].body, &pngs),
              withoutImages(imageEditRequestBody("make it red", {""}, std::nullopt)));
    ASSERT_EQ(pngs.size(), 1);
    ASSERT_FALSE(logLines.isEmpty());
    const auto line =
        QRegularExpression(
            QStringLiteral(R"(^\[Gemini\] image\[0\]: 5×4 px → PNG (\d+) bytes \(0\.\d KB\)$)"))
            .match(logLines[0]);
    ASSERT_TRUE(line.hasMatch()) << logLines[0].toStdString();
    EXPECT_EQ(line.captured(1).toLongLong(), pngs[0].size());
}

// When to rescale is the parser's (GeminiResponsesTest); here the service hands it the size of
// the picture it sent.
TEST_F(GeminiServiceTest, DetectionReadsTheAnswerAgainstThePictureSent) {
    server.answerWith(FakeHttpServer::Response::json(
        200, geminiText(test::detections({test::detected("rect", 100, 100, 200, 100, "t")}))));
    std::optional<GeminiOutcome<GeminiDetectionResult>> large;
    auto a = service().detectAnnotations(
        apiKey, filled(QSize(3000, 2000), Qt::white), "box the title", recordStatus(),
        [&](GeminiOutcome<GeminiDetectionResult> o) { large = o; });
    const auto answer = await(large, 15000);
    ASSERT_TRUE(std::holds_alternative<GeminiDetectionResult>(answer))
        << failureText(answer).toStdString();
    const auto& scaled = std::get<GeminiDetectionResult>(answer).shapes;
    ASSERT_EQ(scaled.size(), 1);
    EXPECT_EQ((PixelRect{scaled[0].x, scaled[0].y, scaled[0].width, scaled[0].height}),
              (PixelRect{300, 200, 600, 200}));
    ASSERT_EQ(statuses.size(), 2);
    EXPECT_TRUE(QRegularExpression(QStringLiteral(R"(^Sending image: ↑ \d+ KB…$)"))
                    .match(statuses[0])
                    .hasMatch())
        << statuses[0].toStdString();
    EXPECT_EQ(statuses[1], "Processing your prompt…");
    EXPECT_TRUE(server.requests()[0].body.contains("The image is 3000 × 2000 pixels"));
}

TEST_F(GeminiServiceTest, ADroppedConnectionIsReportedOnceWithoutRetry) {
    auto response =
        FakeHttpServer::Response::json(200, geminiText("a long answer that never ends"));
    response.closeAfterBodyBytes = 40;
    server.answerWith(response);
    Outcome outcome;
    auto call = ask(outcome);
    const auto answer = await(outcome);
    ASSERT_TRUE(std::holds_alternative<GeminiFailure>(answer));
    EXPECT_TRUE(service()
                    .describeError(std::get<GeminiFailure>(answer))
                    .startsWith("Gemini closed the connection mid-response. This usually means"));
    EXPECT_TRUE(logLines.last().startsWith("[Vellumix] Gemini error: NetworkError — "));
    QTest::qWait(100);
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(GeminiServiceTest, SilentServersTimeOut) {
    FakeHttpServer::Response silent;
    silent.neverAnswer = true;
    server.answerWith(silent);
    options.requestTimeout = 300ms;
    options.imageRequestTimeout = 30s;
    options.imageResourceTimeout = 400ms; // the whole image edit, however lively the connection
    const QList<QImage> image{filled(QSize(2, 2), Qt::black)};
    QElapsedTimer clock;
    clock.start();
    Outcome question, edit;
    auto a = ask(question);
    auto b = service().generateImage(apiKey, image, "p", std::nullopt, gemini::flashImageModel, {},
                                     [&](GeminiOutcome<GeminiResult> o) { edit = o; });
    EXPECT_EQ(failureText(await(question)), "The request timed out.");
    EXPECT_EQ(failureText(await(edit)), "The request timed out.");
    EXPECT_LT(clock.elapsed(), 2000);
    const auto* network = std::get_if<GeminiNetworkError>(&std::get<GeminiFailure>(*edit));
    ASSERT_NE(network, nullptr);
    EXPECT_EQ(network->kind, GeminiNetworkError::Kind::timedOut);
}

TEST_F(GeminiServiceTest, CancellingMidRequestClosesTheConnectionAndDeliversNothing) {
    FakeHttpServer::Response silent;
    silent.neverAnswer = true;
    server.answerWith(silent);
    bool delivered = false;
    auto call =
        service().answerQuestion(apiKey, {filled(QSize(2, 2), Qt::black)}, "q", std::nullopt, {},
                                 [&](GeminiOutcome<GeminiResult>) { delivered = true; });
    ASSERT_TRUE(QTest::qWaitFor([this] { return server.requests().size() == 1; }, 5000));
    EXPECT_TRUE(call->isRunning());
    call.reset();
    EXPECT_TRUE(QTest::qWaitFor([this] { return server.abandonedRequests() == 1; }, 5000));
    QTest::qWait(100);
    EXPECT_FALSE(delivered);

    // Cancelled before the request goes out: nothing is sent at all.
    std::optional<GeminiClassifyResult> never;
    auto early = service().classifyQuery(apiKey, "q", [&](GeminiClassifyResult r) { never = r; });
    early->cancel();
    QTest::qWait(200);
    EXPECT_FALSE(never.has_value());
    EXPECT_EQ(server.requests().size(), 1);
}

TEST_F(GeminiServiceTest, OversizedBodiesAreRefused) {
    int answered = 0;
    server.setHandler([&answered](const FakeHttpServer::Request&) {
        FakeHttpServer::Response response;
        if (answered++ == 0) {
            // Announced as over the limit: refused before any of it is read.
            response.body = QByteArray(64 * 1024 * 1024 + 1, ' ');
            response.closeAfterBodyBytes = 10;
        } else {
            // No length given: counted as it streams in.
            response.chunks = QList<QByteArray>(65, QByteArray(1024 * 1024, ' '));
            response.chunks << "{}";
        }
        return response;
    });
    Outcome announced, streamed;
    auto a = ask(announced);
    EXPECT_EQ(failureText(await(announced)),
              "Couldn't parse Gemini response: Response too large (over 64 MiB)");
    auto b = ask(streamed);
    EXPECT_EQ(failureText(await(streamed, 15000)),
              "Couldn't parse Gemini response: Response too large (over 64 MiB)");
}
