#include "ai/AIService.h"

#include "AIEvents.h"
#include "FakeHttpServer.h"
#include "FakeModelAnswers.h"
#include "ai/LocalModelRequests.h"

#include <QTest>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace std::chrono_literals;
using vellumix::test::FakeHttpServer;
using Response = FakeHttpServer::Response;

namespace {

using namespace vellumix::test;

class AIServiceTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(server.start());
        options.baseUrls = {server.baseUrl()};
        options.log = [this](const QString& line) { logLines << line; };
        options.requestTimeout = 5s;
        options.probeTimeout = 2s;
    }

    /// The model list at /v1/models, `chat` for the chat endpoint.
    void serve(Response chat, Response models = Response::json(200, modelList)) {
        server.setHandler([chat, models](const FakeHttpServer::Request& request) {
            return request.target == "/v1/models" ? models : chat;
        });
    }

    AIService& service() {
        if (!m_service) {
            m_service = std::make_unique<AIService>(options);
        }
        return *m_service;
    }

    AIService::EventCallback record() {
        return [this](const AIEvent& e) { events << e; };
    }

    bool awaitEnd() { return test::awaitEnd(events, 5000); }

    QList<FakeHttpServer::Request> chatRequests() const {
        QList<FakeHttpServer::Request> posts;
        for (const auto& r : server.requests()) {
            if (r.target == "/v1/chat/completions") {
                posts << r;
            }
        }
        return posts;
    }

    FakeHttpServer server;
    AIService::Options options;
    QStringList logLines;
    QList<AIEvent> events;

private:
    std::unique_ptr<AIService> m_service;
};

const QString context = QStringLiteral("Image size: 4 × 3 px");

} // namespace

TEST_F(AIServiceTest, QuestionStreamsTheWholeTextSoFarAndSendsOneFreshConversation) {
    // Splits and pings are the decoder's (LocalModelResponsesTest); that each update holds the
    // whole text so far is seen against the real server (RealLlamaServerTest).
    Response stream;
    stream.headers = {{"Content-Type", "text/event-stream"}};
    stream.chunks = {sse("It is "), sse("a cat.", "\"stop\""), "data: [DONE]\n\n"};
    serve(stream);
    service().questionInstructionsText = QStringLiteral("Short answers.");

    auto call = service().answerQuestion("What is it?", context, record());
    ASSERT_TRUE(awaitEnd());
    ASSERT_GE(events.size(), 4) << describe(events);
    EXPECT_EQ(events.front(), AIEvent::status("Thinking…"));
    EXPECT_EQ(describe(events.mid(events.size() - 3)),
              "text: It is a cat. | status: Done | complete");
    ASSERT_EQ(server.requests().size(), 2);
    EXPECT_EQ(server.requests()[0].method, "GET");
    EXPECT_EQ(server.requests()[0].target, "/v1/models");
    const auto& post = server.requests()[1];
    EXPECT_EQ(post.method, "POST");
    EXPECT_EQ(post.target, "/v1/chat/completions");
    EXPECT_EQ(post.header("Content-Type"), "application/json");
    // The body's layout is the request builder's; here what the service puts in it.
    EXPECT_EQ(post.body, localQuestionRequestBody(
                             "tiny-q4", "Short answers.",
                             localModelPrompt(QueryRoute::question, context, "What is it?")));
    EXPECT_FALSE(call->isRunning());

    // A second question carries nothing of the first answer.
    events.clear();
    auto second = service().answerQuestion("And the colour?", context, record());
    ASSERT_TRUE(awaitEnd());
    ASSERT_EQ(chatRequests().size(), 2);
    EXPECT_FALSE(chatRequests()[1].body.contains("cat"));
    EXPECT_TRUE(chatRequests()[1].body.contains(R"(User question:\nAnd the colour?"}])"));
}

// Both forms of the error and their texts are the decoder's (LocalModelResponsesTest).
TEST_F(AIServiceTest, AMidStreamErrorFailsTheQuestionAfterItsPartialText) {
    Response current;
    current.chunks = {
        sse("Partial"),
        R"(data: {"error":{"code":500,"message":"KV cache full","type":"server_error"}})"
        "\n\n"};
    serve(current);
    auto call = service().answerQuestion("q", context, record());
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(describe(events), "status: Thinking… | text: Partial | failed: KV cache full");
    EXPECT_EQ(logLines.back(),
              QStringLiteral("[Vellumix] AI Q&A error: server_error — KV cache full"));
}

TEST_F(AIServiceTest, ACutConnectionOrSilenceFailsTheStream) {
    Response cut;
    cut.body = sse("Half an ans");
    cut.headers = {{"Content-Type", "text/event-stream"}};
    cut.closeAfterBodyBytes = 20;
    serve(cut);
    auto call = service().answerQuestion("q", context, record());
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(events.back().kind, AIEvent::Kind::failed);
    EXPECT_EQ(describe(events).find("complete"), std::string::npos);

    events.clear();
    options.requestTimeout = 300ms;
    AIService impatient(options);
    Response silent;
    silent.neverAnswer = true;
    serve(silent);
    auto quiet = impatient.answerQuestion("q", context, record());
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(events.back(), AIEvent::failure("The local model server stopped answering."));
}

// A server still loading its model: RealLlamaServerTest, against the real one.
TEST_F(AIServiceTest, AServerWithoutAModelFailsAtOnce) {
    serve(Response::json(200, completion("unused")), Response::json(200, R"({"data":[]})"));
    auto empty = service().editImage("blur", context, record(), [](FilterDirectivePublic) {
        ADD_FAILURE() << "no result without a model";
    });
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(describe(events), "failed: No model loaded in the local server");
    EXPECT_TRUE(chatRequests().isEmpty());

    std::optional<LocalModelStatus> status;
    auto check = service().checkAvailability([&](LocalModelStatus s) { status = s; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return status.has_value(); }, 5000));
    EXPECT_EQ(status->availability, LocalModelAvailability::noModelLoaded);
}

TEST_F(AIServiceTest, NothingAnsweringTriesTheNextAddressThenGivesUp) {
    FakeHttpServer gone;
    ASSERT_TRUE(gone.start());
    const QString deadUrl = gone.baseUrl();
    gone.stop();

    serve(Response::json(200, completion("unused")));
    options.baseUrls = {deadUrl, server.baseUrl()};
    std::optional<LocalModelStatus> status;
    auto check = service().checkAvailability([&](LocalModelStatus s) { status = s; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return status.has_value(); }, 5000));
    EXPECT_EQ(*status, (LocalModelStatus{LocalModelAvailability::available, "tiny-q4"}));

    AIService::Options deadOnly = options;
    deadOnly.baseUrls = {deadUrl};
    AIService nobody(deadOnly);
    auto call = nobody.answerQuestion("q", context, record());
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(describe(events), "failed: Local model server not running");
    std::optional<std::optional<QueryRoute>> route;
    auto classify = nobody.classify("sharpen", [&](std::optional<QueryRoute> r) { route = r; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return route.has_value(); }, 5000));
    EXPECT_EQ(*route, std::nullopt);
}

TEST_F(AIServiceTest, AnnotationEditSendsTheSchemaAndDeliversTheDirective) {
    serve(Response::json(200, completion(escaped(canvasDirective({{"shouldDraw", true},
                                                                  {"kind", "text"},
                                                                  {"x", 10},
                                                                  {"y", 20},
                                                                  {"width", 90},
                                                                  {"height", 30},
                                                                  {"text", "TODO"},
                                                                  {"summary", "Placed TODO."}})))));
    std::optional<AICanvasDirectivePublic> directive;
    auto call = service().editAnnotations("place TODO at 10,20", context, record(),
                                          [&](AICanvasDirectivePublic d) { directive = d; });
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(describe(events), "status: Thinking… | status: Done | complete");
    ASSERT_TRUE(directive.has_value());
    EXPECT_EQ(directive->text, QStringLiteral("TODO"));
    EXPECT_EQ(directive->width, 90);

    ASSERT_EQ(chatRequests().size(), 1);
    const auto body = nlohmann::json::parse(chatRequests()[0].body.toStdString());
    EXPECT_EQ(body["model"], "tiny-q4");
    EXPECT_EQ(body["messages"][0]["content"],
              service().annotationEditInstructionsText.toStdString());
    EXPECT_EQ(body["messages"][1]["content"],
              "Canvas state:\nImage size: 4 × 3 px\n\nUser request:\nplace TODO at 10,20");
}

// Every way an answer can be wrong is the parser's (LocalModelResponsesTest); here one reaches
// the caller and the console, and no directive does.
TEST_F(AIServiceTest, AnInvalidAnswerFailsWithoutAResult) {
    serve(Response::json(200, completion("I drew a box for you!")));
    bool delivered = false;
    auto call = service().editAnnotations("box it", context, record(),
                                          [&](AICanvasDirectivePublic) { delivered = true; });
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(events.back(),
              AIEvent::failure("The local model's answer is not a valid AICanvasDirective (not "
                               "JSON)."));
    EXPECT_EQ(logLines.back(),
              QStringLiteral("[Vellumix] AI annotation-edit error: InvalidAnswer — The local "
                             "model's answer is not a valid AICanvasDirective (not JSON)."));

    EXPECT_FALSE(delivered);
}

TEST_F(AIServiceTest, ClassifierReadsTheRouteAndLogsFailures) {
    serve(Response::json(200, completion(R"({\"route\":\"imageEdit\"})")));
    std::optional<std::optional<QueryRoute>> route;
    auto call = service().classify("make it pop", [&](std::optional<QueryRoute> r) { route = r; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return route.has_value(); }, 5000));
    EXPECT_EQ(*route, QueryRoute::imageEdit);
    const auto body = nlohmann::json::parse(chatRequests()[0].body.toStdString());
    EXPECT_EQ(body["messages"][1]["content"], "make it pop");

    route.reset();
    serve(Response::json(200, completion(R"({\"route\":\"edit\"})")));
    auto bad = service().classify("make it pop", [&](std::optional<QueryRoute> r) { route = r; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return route.has_value(); }, 5000));
    EXPECT_EQ(*route, std::nullopt);
    EXPECT_TRUE(logLines.back().startsWith(
        "[Vellumix] LLM classify failed: The local model's answer is not a "
        "valid QueryRoute ("));
}

TEST_F(AIServiceTest, CancellingStopsEveryCallback) {
    Response silent;
    silent.neverAnswer = true;
    serve(silent);
    auto call = service().answerQuestion("q", context, record());
    ASSERT_TRUE(QTest::qWaitFor([this] { return chatRequests().size() == 1; }, 5000));
    EXPECT_TRUE(call->isRunning());
    call.reset();
    ASSERT_TRUE(QTest::qWaitFor([this] { return server.abandonedRequests() == 1; }, 5000));
    QTest::qWait(50);
    EXPECT_EQ(describe(events), "status: Thinking…");
}
