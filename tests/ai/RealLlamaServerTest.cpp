// The local model client against a real llama-server running a tiny random-weight model: the
// protocol, the server's conversion of every JSON schema we send into a grammar, streaming and
// the server's own errors. The answers are gibberish by construction; nothing here asserts on
// their meaning.

#include "AIEvents.h"
#include "LlamaServerProcess.h"
#include "TinyGguf.h"
#include "ai/AIRequestFlow.h"
#include "ai/AIService.h"
#include "ai/LocalModelRequests.h"
#include "canvas/CanvasDocument.h"
#include "model/Fonts.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace vellumix;
using namespace std::chrono_literals;
using vellumix::test::describe;
using vellumix::test::LlamaServerProcess;

namespace {

const QString context = QStringLiteral("Image size: 400 × 300 px\nExisting annotations: 0");

class RealLlamaServerTest : public ::testing::Test {
protected:
    // One server for the suite: it loads in well under a second, but there is no need to.
    static void SetUpTestSuite() {
        if (LlamaServerProcess::binary().isEmpty()) {
            return;
        }
        s_dir = new QTemporaryDir;
        QFile model(s_dir->filePath(QStringLiteral("tiny.gguf")));
        if (!model.open(QIODevice::WriteOnly) || model.write(test::tinyLlamaGguf()) < 0) {
            return;
        }
        model.close();
        s_server = new LlamaServerProcess;
        if (!s_server->start(model.fileName()) || !s_server->awaitHealth(200, 60'000)) {
            s_failure = s_server->output();
        }
    }

    static void TearDownTestSuite() {
        delete s_server;
        delete s_dir;
        s_server = nullptr;
        s_dir = nullptr;
    }

    void SetUp() override {
        if (!s_server) {
            if (LlamaServerProcess::required()) {
                FAIL() << LlamaServerProcess::missingMessage().toStdString();
            }
            GTEST_SKIP() << LlamaServerProcess::missingMessage().toStdString();
        }
        ASSERT_TRUE(s_failure.isEmpty()) << "llama-server did not start:\n"
                                         << s_failure.toStdString();
        AIService::Options options;
        options.baseUrls = {s_server->baseUrl()};
        options.log = [this](const QString& line) { logLines << line; };
        options.requestTimeout = 60s;
        service = std::make_unique<AIService>(options);
    }

    AIService::EventCallback record() {
        return [this](const AIEvent& e) { events << e; };
    }

    bool awaitEnd() { return test::awaitEnd(events, 120'000); }

    QString serverOutput() const { return s_server ? s_server->output() : QString(); }

    static inline QTemporaryDir* s_dir = nullptr;
    static inline LlamaServerProcess* s_server = nullptr;
    static inline QString s_failure;
    std::unique_ptr<AIService> service;
    QList<AIEvent> events;
    QStringList logLines;
};

} // namespace

TEST_F(RealLlamaServerTest, EverySchemaBecomesTheServersGrammarAndItsAnswersParse) {
    std::optional<std::optional<QueryRoute>> route;
    auto classify =
        service->classify(QStringLiteral("circle the total"),
                          [&route](std::optional<QueryRoute> answer) { route = answer; });
    ASSERT_TRUE(QTest::qWaitFor([&route] { return route.has_value(); }, 120'000));
    EXPECT_TRUE(route->has_value()) << logLines.join('\n').toStdString();

    std::optional<AICanvasDirectivePublic> directive;
    auto edit =
        service->editAnnotations(QStringLiteral("circle the total"), context, record(),
                                 [&directive](const AICanvasDirectivePublic& d) { directive = d; });
    ASSERT_TRUE(awaitEnd());
    EXPECT_TRUE(directive.has_value()) << describe(events);
    EXPECT_EQ(events.back().kind, AIEvent::Kind::complete) << describe(events);

    events.clear();
    std::optional<FilterDirectivePublic> filter;
    auto filtering = service->editImage(QStringLiteral("sharpen it"), context, record(),
                                        [&filter](const FilterDirectivePublic& f) { filter = f; });
    ASSERT_TRUE(awaitEnd());
    ASSERT_TRUE(filter.has_value()) << describe(events);
    EXPECT_GE(filter->strength, 0.0);
    EXPECT_LE(filter->strength, 1.0);
    EXPECT_EQ(events.back().kind, AIEvent::Kind::complete) << describe(events);
    EXPECT_TRUE(logLines.isEmpty()) << logLines.join('\n').toStdString();
}

TEST_F(RealLlamaServerTest, AQuestionsAnswerStreamsInAndEnds) {
    auto call = service->answerQuestion(QStringLiteral("What does it say?"), context, record());
    ASSERT_TRUE(awaitEnd());
    ASSERT_GE(events.size(), 4) << describe(events);
    EXPECT_EQ(events.front(), AIEvent::status(QStringLiteral("Thinking…")));
    EXPECT_EQ(describe(events.mid(events.size() - 2)), "status: Done | complete");
    // Each update holds the whole answer so far.
    const QString answer = events[events.size() - 3].text;
    EXPECT_FALSE(answer.isEmpty());
    for (const AIEvent& e : events.mid(1, events.size() - 3)) {
        EXPECT_EQ(e.kind, AIEvent::Kind::textUpdated) << describe(events);
        EXPECT_TRUE(answer.startsWith(e.text)) << describe(events);
    }
}

// The flow as the editor runs it: the model list, the route, the request the route asks for.
TEST_F(RealLlamaServerTest, TheLocalFlowRunsAllItsStepsOnTheServer) {
    CanvasDocument canvas;
    QImage image(400, 300, QImage::Format_ARGB32);
    image.fill(Qt::white);
    canvas.setImage(image);
    const QtFontCatalogue fonts;
    AIRequestHost host;
    host.canvas = [&canvas] { return &canvas; };
    host.applyFilter = [](const QString&, double) { return true; };
    QStringList responses;
    QStringList failures;
    bool finished = false;
    AIRequestListener listener;
    listener.response = [&responses](const QString& text) { responses << text; };
    listener.failed = [&failures](const QString& text) { failures << text; };
    listener.finished = [&finished](bool) { finished = true; };
    AIRequestFlow flow(
        {nullptr, service.get(), &fonts, [this](const QString& l) { logLines << l; }}, host,
        listener);

    flow.start(AIProvider::localModel, QStringLiteral("what is on the screen?"), std::nullopt);
    ASSERT_TRUE(QTest::qWaitFor([&finished] { return finished; }, 120'000));
    EXPECT_TRUE(failures.isEmpty()) << failures.join('\n').toStdString();
    EXPECT_FALSE(responses.isEmpty());
    EXPECT_TRUE(logLines.front().startsWith("[Vellumix] AI route: llm="))
        << logLines.join('\n').toStdString();
    EXPECT_FALSE(logLines.front().contains("llm=nil")) << logLines.front().toStdString();
}

// Requests never carry pictures to a local model; one that did gets the server's own words.
TEST_F(RealLlamaServerTest, AnImagePartGetsTheServersOwnErrorText) {
    QNetworkAccessManager network;
    QNetworkRequest request(QUrl(s_server->baseUrl() + QStringLiteral("/v1/chat/completions")));
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    std::unique_ptr<QNetworkReply> reply(network.post(
        request,
        R"({"messages":[{"role":"user","content":[{"type":"text","text":"what is it?"},)"
        R"({"type":"image_url","image_url":{"url":"data:image/png;base64,iVBORw0KGgo="}}]}]})"));
    ASSERT_TRUE(QTest::qWaitFor([&reply] { return reply->isFinished(); }, 30'000));
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const QByteArray body = reply->readAll();
    EXPECT_GE(status, 400) << body.constData();
    const QString shown =
        localErrorUserText(localOperationLabel(QueryRoute::question), localHttpError(status, body));
    EXPECT_TRUE(shown.startsWith("image input is not supported")) << shown.toStdString();
}

// A server whose model file never finishes opening stays in its loading state: every endpoint
// but the web page answers 503.
TEST_F(RealLlamaServerTest, AServerStillLoadingItsModelShowsLocalModelLoading) {
    QTemporaryDir dir;
    const QString fifo = dir.filePath(QStringLiteral("loading.gguf"));
    ASSERT_EQ(mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    LlamaServerProcess loading;
    ASSERT_TRUE(loading.start(fifo));
    ASSERT_TRUE(loading.awaitHealth(503, 30'000)) << loading.output().toStdString();

    AIService::Options options;
    options.baseUrls = {loading.baseUrl()};
    options.log = [](const QString&) {};
    AIService waiting(options);
    std::optional<LocalModelStatus> status;
    auto probe = waiting.checkAvailability([&status](LocalModelStatus s) { status = s; });
    ASSERT_TRUE(QTest::qWaitFor([&status] { return status.has_value(); }, 30'000));
    EXPECT_EQ(status->availability, LocalModelAvailability::loading);
    auto call = waiting.answerQuestion(QStringLiteral("anyone there?"), context, record());
    ASSERT_TRUE(awaitEnd());
    EXPECT_EQ(events.back(), AIEvent::failure(QStringLiteral("Local model loading…")));
}
