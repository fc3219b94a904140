#pragma once

#include "ai/AIRequestHost.h"
#include "ai/Directives.h"
#include "ai/Routing.h"
#include "library/Settings.h"

#include <functional>
#include <memory>
#include <optional>

namespace vellumix {

struct AICommandResult;
class CanvasDocument;
class CloudModelClient;
class FontCatalogue;
struct GeminiDetectionResult;
class LocalModelClient;

/// One assistant request at a time: analysis, routing, context, the provider's client and
/// applying its answer. Starting a request cancels the running one; destroying the flow cancels
/// it without another report. Lives on the thread whose event loop runs the clients.
class AIRequestFlow {
public:
    struct Clients {
        CloudModelClient* gemini = nullptr;
        LocalModelClient* local = nullptr;
        const FontCatalogue* fonts = nullptr;
        /// Receives the route and context lines; standard output when empty.
        std::function<void(const QString&)> log;
        /// Whether the context line prints the summary, with whatever text is on screen, or
        /// only its size (`console::showsContextText`).
        bool logContextText = false;
    };

    AIRequestFlow(Clients clients, AIRequestHost host, AIRequestListener listener);
    ~AIRequestFlow();
    AIRequestFlow(const AIRequestFlow&) = delete;
    AIRequestFlow& operator=(const AIRequestFlow&) = delete;

    /// Runs `query` with `provider`; `apiKey` is the stored cloud key, if any.
    void start(AIProvider provider, const QString& query, const std::optional<QString>& apiKey);
    /// Stops the running request; nothing more is reported for it.
    void cancel();
    /// The owner is going: a running request ends with "Editor closed." and changes nothing.
    void ownerClosed();
    bool isRunning() const;

    static QString classifyingMeta();
    /// The answer to a redaction request: what was found, and marked or redacted.
    static QString redactionResponse(int count, bool applied);

private:
    struct Run;
    using RunPtr = std::shared_ptr<Run>;
    // On this computer, without a model.
    void redactLocally(const RunPtr& run);
    // The local model (AIRequestFlow+Local.cpp).
    void runLocal(const RunPtr& run);
    void localRequest(const RunPtr& run, QueryRoute route, std::optional<VisionAnalysis> analysis);
    void applyDirective(const AICanvasDirectivePublic& directive);
    void applyFilter(const FilterDirectivePublic& filter);
    // The cloud model (AIRequestFlow+Cloud.cpp).
    void runCloud(const RunPtr& run);
    void cloudRequest(const RunPtr& run, QueryRoute route);
    void cloudQuestion(const RunPtr& run, const QImage& image);
    void cloudImageEdit(const RunPtr& run, const QImage& image);
    void cloudDetection(const RunPtr& run, const QImage& image);
    QString applyDetection(const GeminiDetectionResult& result, CanvasDocument& canvas);
    void cloudDone(const RunPtr& run, const QString& meta, bool emptyField);
    // Shared steps.
    /// The route from the classifier's answer (none when it gave none) and the query's own
    /// words, logged once.
    QueryRoute routeFor(const RunPtr& run, std::optional<QueryRoute> classified) const;
    void log(const QString& line) const;
    /// One line per box the commander dropped for lying off the image.
    void logOutside(const AICommandResult& result) const;
    QString contextFor(QueryRoute route, const std::optional<VisionAnalysis>& analysis,
                       const QString& query) const;
    void fail(const RunPtr& run, const QString& message);
    /// "Editor closed.": the answer once the owner has gone, whatever the request was.
    void reportOwnerGone() const;
    /// The canvas while its owner is there; null, with `reportOwnerGone`, once it has gone.
    CanvasDocument* canvasOrGone() const;
    void finish(const RunPtr& run, bool emptyField);

    Clients m_clients;
    AIRequestHost m_host;
    AIRequestListener m_listener;
    std::shared_ptr<Run> m_run;
};

} // namespace vellumix
