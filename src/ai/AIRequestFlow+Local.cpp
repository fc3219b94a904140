#include "AIRequestFlow.h"
#include "ai/AICanvasCommander.h"
#include "ai/AIRequestFlow+Run.h"
#include "canvas/CanvasDocument.h"

// The local model's side of the request flow: classify, then one streamed request per route.

namespace vellumix {

using flow::guarded;

void AIRequestFlow::runLocal(const RunPtr& run) {
    if (!m_clients.local) {
        fail(run, QStringLiteral("Local model unavailable."));
        return;
    }
    m_listener.status(QStringLiteral("Analyzing image…"));
    auto analysed = guarded(run, [this](const RunPtr& run, const VisionAnalysis& analysis) {
        // The note stays above the answer until the next request.
        m_listener.meta(classifyingMeta());
        run->localClassify = m_clients.local->classify(
            run->query,
            guarded(run, [this, analysis](const RunPtr& run, std::optional<QueryRoute> llm) {
                const QueryRoute route = routeFor(run, llm);
                localRequest(run, route,
                             route == QueryRoute::imageEdit ? std::nullopt
                                                            : std::optional(analysis));
            }));
    });
    m_host.analysis(analysed);
}

void AIRequestFlow::localRequest(const RunPtr& run, QueryRoute route,
                                 std::optional<VisionAnalysis> analysis) {
    const QString context = contextFor(route, analysis, run->query);
    auto events = guarded(run, [this](const RunPtr& run, const AIEvent& event) {
        switch (event.kind) {
        case AIEvent::Kind::statusChanged:
            m_listener.status(event.text);
            break;
        case AIEvent::Kind::textUpdated:
            if (!event.text.isEmpty()) {
                m_listener.response(event.text);
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
    LocalModelClient& local = *m_clients.local;
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
    CanvasDocument* canvas = canvasOrGone();
    if (!canvas) {
        return;
    }
    QString response = directive.summary;
    if (const auto command = makeCommand(directive, *m_clients.fonts)) {
        const AICommandResult result =
            AICanvasCommander::apply({*command}, AICanvasCommander::actionName(*command), *canvas);
        logOutside(result);
        if (result.created.empty() && result.deleted.empty() && result.updated.empty()) {
            response = QStringLiteral("Couldn't apply the change — ") + directive.summary;
        }
    }
    m_listener.response(response);
}

void AIRequestFlow::applyFilter(const FilterDirectivePublic& filter) {
    if (!canvasOrGone()) {
        return;
    }
    if (filter.shouldApply && !m_host.applyFilter(filter.kind, filter.strength)) {
        m_listener.response(
            QStringLiteral("Couldn't apply '%1' — %2").arg(filter.kind, filter.summary));
    } else {
        m_listener.response(filter.summary);
    }
}

} // namespace vellumix
