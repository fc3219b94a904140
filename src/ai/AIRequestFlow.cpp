#include "AIRequestFlow.h"

#include "ai/AICanvasCommander.h"
#include "ai/AIContext.h"
#include "ai/AIRequestFlow+Run.h"
#include "ai/ConsoleText.h"
#include "canvas/CanvasDocument.h"

namespace vellumix {

using flow::guarded;

AIRequestFlow::AIRequestFlow(Clients clients, AIRequestHost host, AIRequestListener listener)
    : m_clients(std::move(clients)), m_host(std::move(host)), m_listener(std::move(listener)) {}

AIRequestFlow::~AIRequestFlow() {
    cancel();
}

QString AIRequestFlow::classifyingMeta() {
    return QStringLiteral("_» Classifying your prompt…_");
}

bool AIRequestFlow::isRunning() const {
    return m_run && m_run->live;
}

void AIRequestFlow::cancel() {
    if (m_run) {
        m_run->live = false;
    }
    // Destroying the calls cancels them; their callbacks never run.
    m_run.reset();
}

void AIRequestFlow::ownerClosed() {
    if (!isRunning()) {
        return;
    }
    endOwnerGone(m_run);
    cancel();
}

CanvasDocument* AIRequestFlow::hostCanvas() const {
    return m_host.canvas ? m_host.canvas() : nullptr;
}

void AIRequestFlow::status(const QString& text) const {
    if (m_listener.status) {
        m_listener.status(text);
    }
}

void AIRequestFlow::meta(const QString& markdown) const {
    if (m_listener.meta) {
        m_listener.meta(markdown);
    }
}

void AIRequestFlow::respond(const QString& markdown) const {
    if (m_listener.response) {
        m_listener.response(markdown);
    }
}

void AIRequestFlow::endOwnerGone(const RunPtr& run) {
    respond(flow::editorClosed());
    finish(run, false);
}

void AIRequestFlow::fail(const RunPtr& run, const QString& message) {
    if (m_listener.failed) {
        m_listener.failed(message);
    }
    finish(run, false);
}

void AIRequestFlow::finish(const RunPtr& run, bool emptyField) {
    run->live = false;
    if (m_listener.finished) {
        m_listener.finished(emptyField);
    }
}

void AIRequestFlow::log(const QString& line) const {
    if (m_clients.log) {
        m_clients.log(line);
    } else {
        console::print(line);
    }
}

void AIRequestFlow::logOutside(const AICommandResult& result) const {
    for (const auto& [command, box] : result.outside) {
        log(console::appLine(QStringLiteral("AI box off the image dropped: [%1,%2 %3×%4]"))
                .arg(box.x)
                .arg(box.y)
                .arg(box.width)
                .arg(box.height));
    }
}

QString AIRequestFlow::redactionResponse(int count, bool applied) {
    if (count == 0) {
        return QStringLiteral("No sensitive text found.");
    }
    if (applied) {
        return count == 1 ? QStringLiteral("Redacted 1 area.")
                          : QStringLiteral("Redacted %1 areas.").arg(count);
    }
    return count == 1 ? QStringLiteral("Marked 1 area to redact: check it and choose Apply.")
                      : QStringLiteral("Marked %1 areas to redact: check them and choose Apply.")
                            .arg(count);
}

void AIRequestFlow::start(AIProvider provider, const QString& query,
                          const std::optional<QString>& apiKey) {
    cancel();
    auto run = std::make_shared<Run>();
    run->provider = provider;
    run->query = query;
    run->apiKey = apiKey.value_or(QString());
    m_run = run;
    // Recognised before any classifier: even the request's words stay on this computer, and
    // whatever the classifier said, the picture with the secrets would not be sent.
    if (isRedactionRequest(query)) {
        redactLocally(run);
    } else if (isCloudProvider(provider)) {
        runCloud(run);
    } else {
        runLocal(run);
    }
}

void AIRequestFlow::redactLocally(const RunPtr& run) {
    log(console::appLine(QStringLiteral("AI route: redaction, on this computer  query=\"")) +
        run->query + QLatin1Char('"'));
    if (!m_host.redactSensitiveText) {
        fail(run, QStringLiteral("Redaction isn't available here."));
        return;
    }
    if (!hostCanvas()) {
        endOwnerGone(run);
        return;
    }
    SensitiveKinds kinds = sensitiveKindsForRequest(run->query);
    if (!kinds) {
        kinds = allSensitiveKinds;
    }
    status(QStringLiteral("Looking for sensitive text…"));
    m_host.redactSensitiveText(kinds,
                               guarded(run, [this](const RunPtr& run, int count, bool applied) {
                                   respond(redactionResponse(count, applied));
                                   status(QStringLiteral("Done"));
                                   finish(run, false);
                               }));
}

QString AIRequestFlow::contextFor(QueryRoute route, const std::optional<VisionAnalysis>& analysis,
                                  const QString& query) const {
    CanvasDocument* canvas = hostCanvas();
    if (!canvas) {
        return {};
    }
    AIContext::Inputs inputs;
    inputs.imageSize = canvas->image().size();
    inputs.annotations = &canvas->annotations();
    inputs.selectedCount = int(canvas->selectedIndices().size());
    inputs.imageRect = canvas->imageRect();
    inputs.analysis = analysis;
    inputs.query = query;
    const AIContext context = AIContext::build(route, inputs);
    log(AIContext::logLine(route, context, m_clients.logContextText));
    return context.summary;
}

// --- On the local model ----------------------------------------------------------------------

void AIRequestFlow::runLocal(const RunPtr& run) {
    if (!m_clients.local) {
        fail(run, QStringLiteral("Local model unavailable."));
        return;
    }
    status(QStringLiteral("Analyzing image…"));
    auto analysed = guarded(run, [this](const RunPtr& run, const VisionAnalysis& analysis) {
        // The note stays above the answer until the next request.
        meta(classifyingMeta());
        run->localClassify = m_clients.local->classify(
            run->query,
            guarded(run, [this, analysis](const RunPtr& run, std::optional<QueryRoute> llm) {
                const auto fast = fastRoute(run->query);
                const QueryRoute route = decideRoute(llm, fast);
                log(routeLogLine(run->provider, llm, fast, route, run->query));
                localRequest(run, route,
                             route == QueryRoute::imageEdit ? std::nullopt
                                                            : std::optional(analysis));
            }));
    });
    if (m_host.analysis) {
        m_host.analysis(analysed);
    } else {
        analysed(VisionAnalysis{});
    }
}

void AIRequestFlow::localRequest(const RunPtr& run, QueryRoute route,
                                 std::optional<VisionAnalysis> analysis) {
    const QString context = contextFor(route, analysis, run->query);
    auto events = guarded(run, [this](const RunPtr& run, const AIEvent& event) {
        switch (event.kind) {
        case AIEvent::Kind::statusChanged:
            status(event.text);
            break;
        case AIEvent::Kind::textUpdated:
            if (!event.text.isEmpty()) {
                respond(event.text);
            }
            break;
        case AIEvent::Kind::failed:
            fail(run, event.text);
            break;
        case AIEvent::Kind::complete:
            finish(run, false);
            break;
        }
    });
    AIService& local = *m_clients.local;
    switch (route) {
    case QueryRoute::question:
        run->localRequest = local.answerQuestion(run->query, context, events);
        break;
    case QueryRoute::annotationEdit:
        run->localRequest = local.editAnnotations(
            run->query, context, events,
            guarded(run, [this](const RunPtr&, const AICanvasDirectivePublic& directive) {
                applyDirective(directive);
            }));
        break;
    case QueryRoute::imageEdit:
        run->localRequest = local.editImage(
            run->query, context, events,
            guarded(run, [this](const RunPtr&, const FilterDirectivePublic& filter) {
                applyFilter(filter);
            }));
        break;
    }
}

void AIRequestFlow::applyDirective(const AICanvasDirectivePublic& directive) {
    CanvasDocument* canvas = hostCanvas();
    QString response = directive.summary;
    if (!canvas) {
        response = flow::editorClosed();
    } else if (const auto command = makeCommand(directive, *m_clients.fonts)) {
        const AICommandResult result =
            AICanvasCommander::apply({*command}, AICanvasCommander::actionName(*command), *canvas);
        logOutside(result);
        if (result.created.empty() && result.deleted.empty() && result.updated.empty()) {
            response = QStringLiteral("Couldn't apply the change — ") + directive.summary;
        }
    }
    respond(response);
}

void AIRequestFlow::applyFilter(const FilterDirectivePublic& filter) {
    QString response = filter.summary;
    if (!hostCanvas()) {
        response = flow::editorClosed();
    } else if (filter.shouldApply &&
               !(m_host.applyFilter && m_host.applyFilter(filter.kind, filter.strength))) {
        response = QStringLiteral("Couldn't apply '%1' — %2").arg(filter.kind, filter.summary);
    }
    respond(response);
}

} // namespace vellumix
