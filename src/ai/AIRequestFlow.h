#pragma once

#include "ai/Directives.h"
#include "ai/Routing.h"
#include "ai/SensitiveText.h"
#include "ai/VisionAnalysis.h"
#include "library/Settings.h"

#include <QImage>
#include <QString>

#include <functional>
#include <memory>
#include <optional>

namespace vellumix {

class AIService;
struct AICommandResult;
class CanvasDocument;
class FontCatalogue;
struct GeminiDetectionResult;
class GeminiService;

/// What a request works on: the canvas and the operations of its owner (the editor window, or
/// the bundle command).
struct AIRequestHost {
    /// The canvas; null once its owner has gone (the answer then changes nothing).
    std::function<CanvasDocument*()> canvas;
    /// Delivers the image analysis, at once or later, on the calling thread.
    std::function<void(std::function<void(const VisionAnalysis&)>)> analysis;
    /// A named filter at a strength as one undo step; false for an unknown kind.
    std::function<bool(const QString& kind, double strength)> applyFilter;
    /// The cloud's edited picture replaces the image as one undo step.
    std::function<void(const QImage& image)> replaceImage;
    /// A request to redact sensitive text of these kinds, which no model sees: the owner marks
    /// it for the user to check (the window) or redacts it at once (the bundle command), then
    /// reports how many areas and whether they were redacted already. Without it, such requests
    /// fail: they are never sent anywhere.
    std::function<void(SensitiveKinds kinds, std::function<void(int count, bool applied)> done)>
        redactSensitiveText;
};

/// What a request reports, in the order it happens. Every member is optional.
struct AIRequestListener {
    std::function<void(const QString&)> status;
    std::function<void(const QString&)> meta;
    /// The answer so far (markdown), or the final response text.
    std::function<void(const QString&)> response;
    /// The request failed; the message is shown as plain text.
    std::function<void(const QString&)> failed;
    /// The request has ended (after `failed` or the final status). `emptyField` is true after a
    /// cloud detection batch, whose prompt has been used up.
    std::function<void(bool emptyField)> finished;
};

/// One assistant request at a time: analysis, routing, context, the provider's client and
/// applying its answer. Starting a request cancels the running one; destroying the flow cancels
/// it without another report. Lives on the thread whose event loop runs the clients.
class AIRequestFlow {
public:
    struct Clients {
        GeminiService* gemini = nullptr;
        AIService* local = nullptr;
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
    // The local model.
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
    QString applyDetection(const GeminiDetectionResult& result);
    void cloudDone(const RunPtr& run, const QString& meta, bool emptyField);
    // Shared steps.
    void log(const QString& line) const;
    /// One line per box the commander dropped for lying off the image.
    void logOutside(const AICommandResult& result) const;
    QString contextFor(QueryRoute route, const std::optional<VisionAnalysis>& analysis,
                       const QString& query) const;
    void status(const QString& text) const;
    void meta(const QString& markdown) const;
    void respond(const QString& markdown) const;
    void fail(const RunPtr& run, const QString& message);
    /// The canvas, or null once its owner has gone.
    CanvasDocument* hostCanvas() const;
    /// The owner went while the request ran: "Editor closed." and the end, nothing changed.
    void endOwnerGone(const RunPtr& run);
    void finish(const RunPtr& run, bool emptyField);

    Clients m_clients;
    AIRequestHost m_host;
    AIRequestListener m_listener;
    std::shared_ptr<Run> m_run;
};

} // namespace vellumix
