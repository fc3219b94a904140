#include "BenchData.h"
#include "ai/AIService.h"
#include "ai/FakeHttpServer.h"
#include "editor/AIOverlayView.h"
#include "editor/AnalysisCache.h"
#include "editor/EditorWindowController.h"
#include "library/Settings.h"
#include "library/StyleLibrary.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTest>

#include <benchmark/benchmark.h>

using namespace vellumix;
using vellumix::test::FakeHttpServer;
using Response = FakeHttpServer::Response;

namespace {

// A local model server that answers at once: its model, the route "question", and an answer
// whose first piece is in the first chunk.
void serveAtOnce(FakeHttpServer& server) {
    server.setHandler([](const FakeHttpServer::Request& request) {
        if (request.target == "/v1/models") {
            return Response::json(200, R"({"object":"list","data":[{"id":"m","object":"model"}]})");
        }
        if (request.body.contains(R"("name":"QueryRoute")")) {
            return Response::json(200, R"({"object":"chat.completion","choices":[{"index":0,)"
                                       R"("message":{"role":"assistant","content":)"
                                       R"("{\"route\":\"question\"}"},"finish_reason":"stop"}]})");
        }
        Response stream;
        stream.headers = {{"Content-Type", "text/event-stream"}};
        stream.chunks = {R"(data: {"choices":[{"index":0,"delta":{"content":"A"},)"
                         R"("finish_reason":"stop"}]})"
                         "\n\n",
                         "data: [DONE]\n\n"};
        return stream;
    });
}

struct Editor {
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    StyleLibrary styles{dir.path()};
    FakeHttpServer server;
    std::unique_ptr<AIService> local;
    std::unique_ptr<EditorWindowController> window;

    Editor() {
        server.start();
        serveAtOnce(server);
        AIService::Options options;
        options.baseUrls = {server.baseUrl()};
        options.log = [](const QString&) {};
        local = std::make_unique<AIService>(options);
        AssistantServices services;
        services.localModel = local.get();
        EditorWindowController::setAssistantServices(services);
        settings.setAIProvider(AIProvider::localModel);
        window = std::make_unique<EditorWindowController>(
            EditorDocument{bench::syntheticScreenshot(1440, 900), std::nullopt, std::nullopt, {}},
            EditorServices{settings, styles, nullptr});
        window->present();
        window->showPromptFieldState({true, QStringLiteral("Ask…")});
    }
    ~Editor() {
        window.reset();
        EditorWindowController::setAssistantServices({});
    }

    // Return in the prompt field; true once the answer's first character is on screen.
    bool askAndAwaitFirstCharacter() {
        QLineEdit* field = window->promptField();
        field->setText(QStringLiteral("what does it say?"));
        // As a person types there: the field holds the focus, so Return is the field's and not
        // the window's save key.
        field->setFocus(Qt::OtherFocusReason);
        QTest::keyClick(field, Qt::Key_Return);
        // Woken by each event as it comes, so the time is not rounded to a polling interval.
        QElapsedTimer waited;
        waited.start();
        while (window->aiOverlayView()->shownText().isEmpty()) {
            if (waited.elapsed() > 5000) {
                return false;
            }
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        return true;
    }
    bool awaitEnd() {
        return QTest::qWaitFor([&] { return window->promptField()->isEnabled(); }, 5000);
    }
};

// From Return to the first streamed character in the panel, the image analysis already kept
// (the analysis is measured below): routing, context, three requests to the local server (model
// list, route, answer) and the panel's Markdown rendering.
void ReturnToFirstStreamedCharacter(benchmark::State& state) {
    Editor editor;
    // The first request pays for the analysis; from then on it is kept.
    if (!editor.askAndAwaitFirstCharacter() || !editor.awaitEnd()) {
        state.SkipWithError("no answer from the fake server");
        return;
    }
    for (auto _ : state) {
        if (!editor.askAndAwaitFirstCharacter()) {
            state.SkipWithError("no answer from the fake server");
            break;
        }
        state.PauseTiming();
        editor.awaitEnd();
        state.ResumeTiming();
    }
}
BENCHMARK(ReturnToFirstStreamedCharacter)->Unit(benchmark::kMillisecond)->Iterations(30);

// The editor's analysis of its 1440 × 900 picture, which a request waits for when not kept.
void AnalysisOfTheEditorsImage(benchmark::State& state) {
    Editor editor;
    AnalysisCache& cache = editor.window->visionAnalysis();
    for (auto _ : state) {
        cache.invalidate();
        bool done = false;
        cache.request([&done](const VisionAnalysis&) { done = true; });
        if (!QTest::qWaitFor([&done] { return done; }, 30000)) {
            state.SkipWithError("the analysis never finished");
            break;
        }
    }
}
BENCHMARK(AnalysisOfTheEditorsImage)->Unit(benchmark::kMillisecond)->Iterations(5);

} // namespace
