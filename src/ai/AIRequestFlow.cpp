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
    reportOwnerGone();
    finish(m_run, false);
    cancel();
}

void AIRequestFlow::reportOwnerGone() const {
    m_listener.response(QStringLiteral("Editor closed."));
}

CanvasDocument* AIRequestFlow::canvasOrGone() const {
    CanvasDocument* canvas = m_host.canvas();
    if (!canvas) {
        reportOwnerGone();
    }
    return canvas;
}

QueryRoute AIRequestFlow::routeFor(const RunPtr& run, std::optional<QueryRoute> classified) const {
    const auto fast = fastRoute(run->query);
    const QueryRoute route = decideRoute(classified, fast);
    log(routeLogLine(run->provider, classified, fast, route, run->query));
    return route;
}

void AIRequestFlow::fail(const RunPtr& run, const QString& message) {
    m_listener.failed(message);
    finish(run, false);
}

void AIRequestFlow::finish(const RunPtr& run, bool emptyField) {
    run->live = false;
    m_listener.finished(emptyField);
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
    if (!canvasOrGone()) {
        finish(run, false);
        return;
    }
    SensitiveKinds kinds = sensitiveKindsForRequest(run->query);
    if (!kinds) {
        kinds = allSensitiveKinds;
    }
    m_listener.status(QStringLiteral("Looking for sensitive text…"));
    m_host.redactSensitiveText(kinds,
                               guarded(run, [this](const RunPtr& run, int count, bool applied) {
                                   m_listener.response(redactionResponse(count, applied));
                                   m_listener.status(QStringLiteral("Done"));
                                   finish(run, false);
                               }));
}

QString AIRequestFlow::contextFor(QueryRoute route, const std::optional<VisionAnalysis>& analysis,
                                  const QString& query) const {
    CanvasDocument* canvas = m_host.canvas();
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

} // namespace vellumix
