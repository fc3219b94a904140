#include "ai/AIRequestFlow.h"

#include "BundleToolRun.h"
#include "FakeHttpServer.h"
#include "FakeModelAnswers.h"
#include "ai/AIService.h"
#include "ai/GeminiService.h"
#include "bundle/ProjectBundle.h"
#include "canvas/CanvasDocument.h"
#include "model/Fonts.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace std::chrono_literals;
using vellumix::test::FakeHttpServer;
using Response = FakeHttpServer::Response;

namespace {

using namespace vellumix::test;

struct Events {
    QStringList statuses;
    QStringList metas;
    QStringList responses;
    QStringList failures;
    QList<bool> finished;
};

class AIRequestFlowTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(local.start());
        ASSERT_TRUE(cloud.start());
        QImage image(400, 300, QImage::Format_ARGB32);
        image.fill(Qt::white);
        canvas.setImage(image);

        AIService::Options localOptions;
        localOptions.baseUrls = {local.baseUrl()};
        localOptions.log = [this](const QString& line) { logLines << line; };
        localService = std::make_unique<AIService>(localOptions);
        GeminiService::Options cloudOptions;
        cloudOptions.baseUrl = cloud.baseUrl();
        cloudOptions.log = [this](const QString& line) { logLines << line; };
        geminiService = std::make_unique<GeminiService>(cloudOptions);

        AIRequestHost host;
        host.canvas = [this] { return hostGone ? nullptr : &canvas; };
        host.analysis = [this](std::function<void(const VisionAnalysis&)> receiver) {
            ++analyses;
            VisionAnalysis analysis;
            analysis.lines.push_back({QStringLiteral("Total $42"), QRectF(10, 10, 80, 12)});
            receiver(analysis);
        };
        host.applyFilter = [this](const QString& kind, double strength) {
            filters << QStringLiteral("%1 %2").arg(kind).arg(strength);
            return kind == u"sharpen";
        };
        host.replaceImage = [this](const QImage& image) { replaced = image; };
        host.redactSensitiveText = [this](SensitiveKinds kinds,
                                          std::function<void(int, bool)> done) {
            redactedKinds = kinds;
            done(redactionsFound, redactionsApplied);
        };
        AIRequestListener listener;
        listener.status = [this](const QString& s) { events.statuses << s; };
        listener.meta = [this](const QString& s) { events.metas << s; };
        listener.response = [this](const QString& s) { events.responses << s; };
        listener.failed = [this](const QString& s) { events.failures << s; };
        listener.finished = [this](bool empty) { events.finished << empty; };
        flow = std::make_unique<AIRequestFlow>(
            AIRequestFlow::Clients{geminiService.get(), localService.get(), &fonts,
                                   [this](const QString& line) { logLines << line; }},
            host, listener);
    }

    void serveLocal(const char* route, Response chat) { test::serveLocal(local, route, chat); }
    void serveCloud(const char* mode, Response answer) { test::serveCloud(cloud, mode, answer); }

    bool awaitFinish(int ms = 5000) {
        return QTest::qWaitFor([this] { return !events.finished.isEmpty(); }, ms);
    }

    FakeHttpServer local;
    FakeHttpServer cloud;
    CanvasDocument canvas;
    QtFontCatalogue fonts;
    std::unique_ptr<AIService> localService;
    std::unique_ptr<GeminiService> geminiService;
    std::unique_ptr<AIRequestFlow> flow;
    Events events;
    QStringList logLines;
    QStringList filters;
    std::optional<QImage> replaced;
    int analyses = 0;
    bool hostGone = false;
    std::optional<SensitiveKinds> redactedKinds;
    int redactionsFound = 0;
    bool redactionsApplied = false;
};

const QString key = QStringLiteral("k-123");

// The newest of `list`, or a marker that shows in the failure message.
QString last(const QStringList& list) {
    return list.isEmpty() ? QStringLiteral("<none>") : list.back();
}

} // namespace

TEST_F(AIRequestFlowTest, LocalQuestionIsRoutedLoggedAndStreamed) {
    Response stream;
    stream.headers = {{"Content-Type", "text/event-stream"}};
    stream.chunks = {sse("It says "), sse("Total $42.", "\"stop\""), "data: [DONE]\n\n"};
    stream.chunkIntervalMs = 40;
    serveLocal("question", stream);

    flow->start(AIProvider::localModel, QStringLiteral("What does the label say?"), std::nullopt);
    EXPECT_TRUE(flow->isRunning());
    ASSERT_TRUE(awaitFinish());
    EXPECT_FALSE(flow->isRunning());

    EXPECT_EQ(events.statuses.front(), "Analyzing image…");
    EXPECT_EQ(events.statuses.back(), "Done");
    // The classifying note stays above the answer.
    EXPECT_EQ(events.metas, QStringList({"_» Classifying your prompt…_"}));
    ASSERT_GE(events.responses.size(), 1);
    EXPECT_EQ(last(events.responses), "It says Total $42.");
    EXPECT_TRUE(events.failures.isEmpty());
    EXPECT_EQ(events.finished, QList<bool>{false});
    EXPECT_EQ(analyses, 1);

    EXPECT_TRUE(logLines.contains("[Vellumix] AI route: llm=question fast=question → question  "
                                  "query=\"What does the label say?\""));
    // The recognised text goes to the model; the console only hears how much of it there was.
    const auto chat = local.requests().back();
    EXPECT_TRUE(chat.body.contains("Total $42"));
    EXPECT_TRUE(chat.body.contains("What does the label say?"));
    const auto context = std::find_if(logLines.begin(), logLines.end(), [](const QString& l) {
        return l.startsWith("[Vellumix] AI context (question): ");
    });
    ASSERT_NE(context, logLines.end()) << logLines.join('\n').toStdString();
    EXPECT_TRUE(context->endsWith(" characters")) << context->toStdString();
    for (const QString& line : logLines) {
        EXPECT_FALSE(line.contains("Total $42")) << line.toStdString();
    }
}

TEST_F(AIRequestFlowTest, LocalAnnotationEditIsOneUndoStepAndARefusalChangesNothing) {
    serveLocal("annotationEdit",
               Response::json(
                   200, completion(escaped(canvasDirective({{"shouldDraw", true},
                                                            {"shape", "rect"},
                                                            {"x", 10},
                                                            {"y", 20},
                                                            {"width", 90},
                                                            {"height", 30},
                                                            {"color", "green"},
                                                            {"summary", "Boxed the total."}})))));
    // The classifier's answer wins over the heuristic's question.
    flow->start(AIProvider::localModel, QStringLiteral("is the total boxed? box it"), std::nullopt);
    ASSERT_TRUE(awaitFinish());
    EXPECT_TRUE(logLines.contains("[Vellumix] AI route: llm=annotationEdit fast=question → "
                                  "annotationEdit  query=\"is the total boxed? box it\""));
    EXPECT_EQ(last(events.responses), "Boxed the total.");
    // Where the box lands and the step's name are the commander's (AICanvasCommanderTest).
    ASSERT_EQ(canvas.annotations().size(), 1u);
    EXPECT_EQ(canvas.undoStack().count(), 1);

    events = {};
    serveLocal(
        "annotationEdit",
        Response::json(200, completion(escaped(canvasDirective({{"summary", "Which box?"}})))));
    flow->start(AIProvider::localModel, QStringLiteral("recolor the box"), std::nullopt);
    ASSERT_TRUE(awaitFinish());
    EXPECT_EQ(last(events.responses), "Which box?");
    EXPECT_EQ(canvas.annotations().size(), 1u);
    EXPECT_EQ(canvas.undoStack().count(), 1);
}

TEST_F(AIRequestFlowTest, LocalFilterGoesThroughTheImageOperationWithoutTheAnalysis) {
    serveLocal(
        "imageEdit",
        Response::json(200, completion(escaped(filterDirective("sharpen", 0.5, "Sharpened.")))));
    flow->start(AIProvider::localModel, QStringLiteral("sharpen"), std::nullopt);
    ASSERT_TRUE(awaitFinish());
    EXPECT_EQ(filters, QStringList{"sharpen 0.5"});
    EXPECT_EQ(last(events.responses), "Sharpened.");
    EXPECT_FALSE(local.requests().back().body.contains("Total $42"));

    events = {};
    serveLocal("imageEdit",
               Response::json(200, completion(escaped(filterDirective("blur", 1, "Blurred.")))));
    flow->start(AIProvider::localModel, QStringLiteral("blur"), std::nullopt);
    ASSERT_TRUE(awaitFinish());
    EXPECT_EQ(last(events.responses), "Couldn't apply 'blur' — Blurred.")
        << events.failures.join("|").toStdString();
}

// Redaction requests never reach a model of any kind, not even its classifier: the request's
// words, and whatever a classifier might answer, would otherwise decide whether the picture
// with the secrets is sent.
TEST_F(AIRequestFlowTest, RedactionRequestsAreServedWithoutAnyRequestLeaving) {
    serveLocal("imageEdit", Response::json(500, R"({"error":{"message":"not expected"}})"));
    serveCloud("annotationEdit", Response::json(500, "not expected"));
    const struct {
        AIProvider provider;
        const char* query;
        SensitiveKinds kinds;
        int found;
        bool applied;
        const char* response;
    } cases[] = {
        {AIProvider::localModel, "redact the email addresses and phone numbers",
         SensitiveKind::email | SensitiveKind::phoneNumber, 2, false,
         "Marked 2 areas to redact: check them and choose Apply."},
        {AIProvider::googleGeminiFlash, "redact the email addresses", SensitiveKind::email, 1, true,
         "Redacted 1 area."},
        {AIProvider::googleGeminiPro, "censor this screenshot", allSensitiveKinds, 0, false,
         "No sensitive text found."},
    };
    for (const auto& c : cases) {
        events = {};
        redactedKinds.reset();
        redactionsFound = c.found;
        redactionsApplied = c.applied;
        flow->start(c.provider, QString::fromUtf8(c.query), key);
        ASSERT_TRUE(awaitFinish()) << c.query;
        EXPECT_TRUE(events.failures.isEmpty()) << last(events.failures).toStdString();
        EXPECT_EQ(redactedKinds, c.kinds) << c.query;
        EXPECT_EQ(last(events.responses), c.response);
        EXPECT_EQ(last(events.statuses), "Done");
    }
    QTest::qWait(50);
    EXPECT_TRUE(local.requests().isEmpty());
    EXPECT_TRUE(cloud.requests().isEmpty());
    EXPECT_TRUE(filters.isEmpty());

    // An owner that cannot redact refuses: the request goes nowhere else either.
    AIRequestListener listener;
    listener.failed = [this](const QString& s) { events.failures << s; };
    listener.finished = [this](bool empty) { events.finished << empty; };
    AIRequestFlow bare({geminiService.get(), localService.get(), &fonts, {}}, {}, listener);
    events = {};
    bare.start(AIProvider::googleGeminiFlash, QStringLiteral("hide my card number"), key);
    ASSERT_TRUE(awaitFinish());
    EXPECT_EQ(events.failures, QStringList{"Redaction isn't available here."});
    EXPECT_TRUE(cloud.requests().isEmpty());

    // An image edit that redacts nothing still goes to the model.
    events = {};
    serveLocal(
        "imageEdit",
        Response::json(200, completion(escaped(filterDirective("sharpen", 0.5, "Sharper.")))));
    flow->start(AIProvider::localModel, QStringLiteral("sharpen the photo"), std::nullopt);
    ASSERT_TRUE(awaitFinish());
    EXPECT_EQ(last(events.responses), "Sharper.");
}

TEST_F(AIRequestFlowTest, CloudDetectionBatchIsOneStepWithItsTextAndMetaLine) {
    serveCloud(
        "annotationEdit",
        Response::json(200, geminiText(detections({detected("rect", 10, 10, 100, 20, "title"),
                                                   detected("rect", 10, 50, 60, 20, "button"),
                                                   detected("oval", 200, 100, 50, 50, ""),
                                                   detected("rect", 900, 10, 50, 50, "ghost")}))));
    flow->start(AIProvider::googleGeminiFlash, QStringLiteral("box every control"), key);
    ASSERT_TRUE(awaitFinish());
    ASSERT_TRUE(events.failures.isEmpty()) << events.failures.join("|").toStdString();
    EXPECT_EQ(last(events.responses), "Drew 3 shapes: title, button, object.");
    EXPECT_EQ(events.finished, QList<bool>{true});
    EXPECT_EQ(events.statuses.front(), "Classifying your prompt…");
    EXPECT_EQ(events.statuses.back(), "Done");
    // The classifying note until the result's own line takes its place.
    ASSERT_EQ(events.metas.size(), 2);
    EXPECT_EQ(events.metas[0], "_» Classifying your prompt…_");
    EXPECT_TRUE(
        events.metas[1].startsWith("gemini-3.5-flash: 1,350 tokens (1,301 in + 11 out) · ↓ "))
        << events.metas[1].toStdString();
    // The box off the 400 × 300 picture is dropped, with its line.
    EXPECT_TRUE(logLines.contains("[Vellumix] AI box off the image dropped: [900,10 50×50]"))
        << logLines.join('\n').toStdString();
    EXPECT_TRUE(logLines.contains("[Vellumix] Gemini route: llm=annotationEdit fast=nil → "
                                  "annotationEdit  query=\"box every control\""));
    EXPECT_EQ(canvas.annotations().size(), 3u);
    EXPECT_EQ(canvas.undoStack().count(), 1);
    canvas.undoStack().undo();
    EXPECT_TRUE(canvas.annotations().empty());
    // The detection prompt has no text lines: the analysis is not waited for.
    EXPECT_EQ(analyses, 0);
    EXPECT_FALSE(cloud.requests().back().body.contains("Total $42"));
}

TEST_F(AIRequestFlowTest, CloudImageEditHandsTheImageOverAndQuestionsReadTheAnalysis) {
    serveCloud("imageEdit", Response::json(200, geminiImage(QSize(3, 2), Qt::red)));
    flow->start(AIProvider::googleGeminiPro, QStringLiteral("make it a watercolor"), key);
    ASSERT_TRUE(awaitFinish());
    ASSERT_TRUE(replaced.has_value());
    EXPECT_EQ(replaced->size(), QSize(3, 2));
    EXPECT_TRUE(cloud.requests().back().target.contains("gemini-3-pro-image"));
    EXPECT_TRUE(last(events.metas).startsWith("gemini-3-pro-image: image · ↓ "))
        << last(events.metas).toStdString();

    events = {};
    serveCloud("question", Response::json(200, geminiText("A receipt.")));
    flow->start(AIProvider::googleGeminiFlash, QStringLiteral("what is this?"), key);
    ASSERT_TRUE(awaitFinish());
    EXPECT_EQ(last(events.responses), "A receipt.");
    EXPECT_EQ(analyses, 1);
    EXPECT_TRUE(cloud.requests().back().body.contains("Total $42"));
}

TEST_F(AIRequestFlowTest, ANewRequestCancelsTheRunningOneAndClosingEndsIt) {
    Response slow = Response::json(200, geminiText("first"));
    slow.delayMs = 400;
    serveCloud("question", slow);
    flow->start(AIProvider::googleGeminiFlash, QStringLiteral("what is first?"), key);
    QTest::qWait(50);
    serveCloud("question", Response::json(200, geminiText("second")));
    flow->start(AIProvider::googleGeminiFlash, QStringLiteral("what is second?"), key);
    ASSERT_TRUE(awaitFinish());
    QTest::qWait(600);
    EXPECT_EQ(events.responses, QStringList{"second"});
    EXPECT_EQ(events.finished.size(), 1);

    events = {};
    Response never;
    never.neverAnswer = true;
    serveLocal("question", never);
    flow->start(AIProvider::localModel, QStringLiteral("what now?"), std::nullopt);
    QTest::qWait(100);
    flow->ownerClosed();
    EXPECT_EQ(events.responses, QStringList{"Editor closed."});
    EXPECT_EQ(events.finished.size(), 1);
    EXPECT_FALSE(flow->isRunning());
}

TEST_F(AIRequestFlowTest, AnAnswerArrivingAfterTheOwnerWentChangesNothing) {
    Response late =
        Response::json(200, geminiText(detections({detected("rect", 10, 10, 100, 20, "t")})));
    late.delayMs = 200;
    serveCloud("annotationEdit", late);
    flow->start(AIProvider::googleGeminiFlash, QStringLiteral("box the title"), key);
    QTest::qWait(50);
    hostGone = true;
    ASSERT_TRUE(awaitFinish());
    EXPECT_EQ(events.responses, QStringList{"Editor closed."});
    EXPECT_TRUE(canvas.annotations().empty());
}

// The command runs the same flow on a bundle, with the clients' addresses from the environment.
TEST_F(AIRequestFlowTest, AskCommandAppliesTheAnswerToTheBundleAndReportsFailures) {
    QTemporaryDir dir;
    QImage image(200, 100, QImage::Format_RGB32);
    image.fill(Qt::white);
    ASSERT_TRUE(image.save(dir.filePath("shot.png")));
    const QString bundlePath = dir.filePath("shot.vellumix");
    ASSERT_EQ(runTool({"create", dir.filePath("shot.png"), bundlePath}).status, 0);
    qputenv("VELLUMIX_GEMINI_BASE_URL", cloud.baseUrl().toUtf8());
    qputenv("VELLUMIX_GEMINI_API_KEY", "k-env");
    qputenv("VELLUMIX_LOCAL_MODEL_URL", local.baseUrl().toUtf8());

    serveCloud(
        "annotationEdit",
        Response::json(200, geminiText(detections({detected("rect", 10, 10, 100, 20, "title"),
                                                   detected("oval", 20, 50, 40, 30, "button")}))));
    const ToolRun drawn =
        runTool({"ask", bundlePath, "box every control", "--provider", "gemini-flash"});
    EXPECT_EQ(drawn.status, 0) << drawn.err.toStdString();
    EXPECT_EQ(drawn.out, "Drew 2 shapes: title, button.\n");
    EXPECT_EQ(cloud.requests().back().header("x-goog-api-key"), "k-env");
    EXPECT_EQ(bundle::loadAnnotations(bundlePath).size(), 2u);

    // A cloud image edit rewrites the bundle's picture.
    serveCloud("imageEdit", Response::json(200, geminiImage(QSize(100, 50), Qt::blue)));
    const ToolRun edited =
        runTool({"ask", bundlePath, "make it look like night", "--provider", "gemini-pro"});
    EXPECT_EQ(edited.status, 0) << edited.err.toStdString();
    const QImage stored2 = bundle::readImage(bundlePath);
    EXPECT_EQ(stored2.size(), QSize(100, 50));
    EXPECT_EQ(stored2.pixelColor(5, 5), QColor(Qt::blue));

    serveCloud("question", Response::json(503, "busy"));
    const ToolRun refused =
        runTool({"ask", bundlePath, "what is this?", "--provider", "gemini-flash"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_TRUE(refused.out.isEmpty());
    EXPECT_TRUE(refused.err.endsWith("Gemini API error 503: busy\n")) << refused.err.toStdString();

    Response stream;
    stream.headers = {{"Content-Type", "text/event-stream"}};
    stream.chunks = {sse("Two "), sse("shapes.", "\"stop\""), "data: [DONE]\n\n"};
    serveLocal("question", stream);
    const ToolRun answered = runTool({"ask", bundlePath, "what is drawn?", "--provider", "local"});
    EXPECT_EQ(answered.status, 0) << answered.err.toStdString();
    EXPECT_EQ(answered.out, "Two shapes.\n");

    EXPECT_EQ(runTool({"ask", bundlePath, "hi", "--provider", "apple"}).status, 2);
    qunsetenv("VELLUMIX_GEMINI_BASE_URL");
    qunsetenv("VELLUMIX_GEMINI_API_KEY");
    qunsetenv("VELLUMIX_LOCAL_MODEL_URL");
}
