#include "AIRequestFlow.h"

#include "ai/AICanvasCommander.h"
#include "ai/AIContext.h"
#include "ai/AIService.h"
#include "ai/GeminiService.h"
#include "ai/LocalModelRequests.h"
#include "ai/RequestTexts.h"
#include "canvas/CanvasDocument.h"

#include <cstdio>

namespace vellumix {

struct AIRequestFlow::Run {
    AIProvider provider = AIProvider::localModel;
    QString query;
    QString apiKey;
    bool live = true;
    // One member per step: a call is never destroyed from inside its own callback.
    std::unique_ptr<LocalModelCall> localClassify;
    std::unique_ptr<LocalModelCall> localRequest;
    std::unique_ptr<GeminiCall> cloudClassify;
    std::unique_ptr<GeminiCall> cloudRequest;
};

namespace {

// A step's callback runs only while its request is the live one. It holds the request weakly:
// the request owns the call that owns the callback.
template <class R, class F> auto guarded(const std::shared_ptr<R>& run, F f) {
    return [weak = std::weak_ptr<R>(run), f = std::move(f)](auto&&... args) {
        if (const auto locked = weak.lock(); locked && locked->live) {
            f(locked, std::forward<decltype(args)>(args)...);
        }
    };
}

QString imageEditInstruction(QSize size) {
    return QStringLiteral("Edit the attached image as the user asks. Keep its original pixel "
                          "dimensions (%1×%2) unless the request asks for another size or aspect "
                          "ratio. Return the edited image.")
        .arg(size.width())
        .arg(size.height());
}

template <class Result> CloudResultMeta metaOf(const Result& result, const QString& model) {
    CloudResultMeta meta;
    meta.promptTokens = result.promptTokens;
    meta.responseTokens = result.responseTokens;
    meta.totalTokens = result.totalTokens;
    meta.responseBytes = result.responseBytes;
    meta.seconds = result.duration;
    meta.finishReason = result.finishReason;
    meta.modelName = model;
    return meta;
}

} // namespace

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

void AIRequestFlow::endOwnerGone(std::shared_ptr<Run> run) {
    if (m_listener.response) {
        m_listener.response(QStringLiteral("Editor closed."));
    }
    finish(run, false);
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

bool AIRequestFlow::redactInstead(const std::shared_ptr<Run>& run, QueryRoute route) {
    if (route != QueryRoute::imageEdit || !m_host.redactSensitiveText ||
        !isRedactionRequest(run->query)) {
        return false;
    }
    if (!hostCanvas()) {
        endOwnerGone(run);
        return true;
    }
    // The secrets stay on this computer: the recognised text finds them, no model is asked.
    SensitiveKinds kinds = sensitiveKindsForRequest(run->query);
    if (!kinds) {
        kinds = allSensitiveKinds;
    }
    if (m_listener.status) {
        m_listener.status(QStringLiteral("Looking for sensitive text…"));
    }
    m_host.redactSensitiveText(
        kinds, guarded(run, [this](const std::shared_ptr<Run>& run, int count, bool applied) {
            if (m_listener.response) {
                m_listener.response(redactionResponse(count, applied));
            }
            if (m_listener.status) {
                m_listener.status(QStringLiteral("Done"));
            }
            finish(run, false);
        }));
    return true;
}

void AIRequestFlow::log(const QString& line) const {
    if (m_clients.log) {
        m_clients.log(line);
    } else {
        std::printf("%s\n", qPrintable(line));
        std::fflush(stdout);
    }
}

void AIRequestFlow::classified() {
    // The classifying note has done its job; the answer takes its place.
    if (m_listener.meta) {
        m_listener.meta(QString());
    }
}

void AIRequestFlow::fail(const std::shared_ptr<Run>& run, const QString& message) {
    if (m_listener.failed) {
        m_listener.failed(message);
    }
    finish(run, false);
}

void AIRequestFlow::finish(const std::shared_ptr<Run>& run, bool emptyField) {
    run->live = false;
    if (m_listener.finished) {
        m_listener.finished(emptyField);
    }
}

void AIRequestFlow::start(AIProvider provider, const QString& query,
                          const std::optional<QString>& apiKey) {
    cancel();
    auto run = std::make_shared<Run>();
    run->provider = provider;
    run->query = query;
    run->apiKey = apiKey.value_or(QString());
    m_run = run;
    if (isCloudProvider(provider)) {
        runCloud(run);
    } else {
        runLocal(run);
    }
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
    log(AIContext::logLine(route, context));
    return context.summary;
}

// --- On the local model ----------------------------------------------------------------------

void AIRequestFlow::runLocal(const std::shared_ptr<Run>& run) {
    if (!m_clients.local) {
        fail(run, QStringLiteral("Local model unavailable."));
        return;
    }
    if (m_listener.status) {
        m_listener.status(QStringLiteral("Analyzing image…"));
    }
    auto analysed =
        guarded(run, [this](const std::shared_ptr<Run>& run, const VisionAnalysis& analysis) {
            if (m_listener.meta) {
                m_listener.meta(classifyingMeta());
            }
            run->localClassify = m_clients.local->classify(
                run->query, guarded(run, [this, analysis](const std::shared_ptr<Run>& run,
                                                          std::optional<QueryRoute> llm) {
                    const auto fast = fastRoute(run->query);
                    const QueryRoute route = decideRoute(llm, fast);
                    log(routeLogLine(run->provider, llm, fast, route, run->query));
                    classified();
                    if (redactInstead(run, route)) {
                        return;
                    }
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

void AIRequestFlow::localRequest(const std::shared_ptr<Run>& run, QueryRoute route,
                                 std::optional<VisionAnalysis> analysis) {
    const QString context = contextFor(route, analysis, run->query);
    auto events = guarded(run, [this](const std::shared_ptr<Run>& run, const AIEvent& event) {
        switch (event.kind) {
        case AIEvent::Kind::statusChanged:
            if (m_listener.status) {
                m_listener.status(event.text);
            }
            break;
        case AIEvent::Kind::textUpdated:
            if (!event.text.isEmpty() && m_listener.response) {
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
    AIService& local = *m_clients.local;
    switch (route) {
    case QueryRoute::question:
        run->localRequest = local.answerQuestion(run->query, context, events);
        break;
    case QueryRoute::annotationEdit:
        run->localRequest =
            local.editAnnotations(run->query, context, events,
                                  guarded(run, [this](const std::shared_ptr<Run>& run,
                                                      const AICanvasDirectivePublic& directive) {
                                      applyDirective(run, directive);
                                  }));
        break;
    case QueryRoute::imageEdit:
        run->localRequest = local.editImage(
            run->query, context, events,
            guarded(run, [this](const std::shared_ptr<Run>&, const FilterDirectivePublic& filter) {
                QString response = filter.summary;
                if (!hostCanvas()) {
                    response = QStringLiteral("Editor closed.");
                } else if (filter.shouldApply &&
                           !(m_host.applyFilter &&
                             m_host.applyFilter(filter.kind, filter.strength))) {
                    response =
                        QStringLiteral("Couldn't apply '%1' — %2").arg(filter.kind, filter.summary);
                }
                if (m_listener.response) {
                    m_listener.response(response);
                }
            }));
        break;
    }
}

void AIRequestFlow::applyDirective(const std::shared_ptr<Run>&,
                                   const AICanvasDirectivePublic& directive) {
    CanvasDocument* canvas = hostCanvas();
    QString response = directive.summary;
    if (!canvas) {
        response = QStringLiteral("Editor closed.");
    } else if (const auto command = makeCommand(directive, *m_clients.fonts)) {
        const AICommandResult result =
            AICanvasCommander::apply({*command}, AICanvasCommander::actionName(*command), *canvas);
        if (result.created.empty() && result.deleted.empty() && result.updated.empty()) {
            response = QStringLiteral("Couldn't apply the change — ") + directive.summary;
        }
    }
    if (m_listener.response) {
        m_listener.response(response);
    }
}

// --- In the cloud ----------------------------------------------------------------------------

void AIRequestFlow::runCloud(const std::shared_ptr<Run>& run) {
    if (!m_clients.gemini) {
        fail(run, QStringLiteral("Gemini unavailable."));
        return;
    }
    if (run->apiKey.isEmpty()) {
        fail(run, m_clients.gemini->describeError(GeminiError::missingKey()));
        return;
    }
    if (m_listener.status) {
        m_listener.status(QStringLiteral("Classifying your prompt…"));
    }
    if (m_listener.meta) {
        m_listener.meta(classifyingMeta());
    }
    run->cloudClassify = m_clients.gemini->classifyQuery(
        run->apiKey, run->query,
        guarded(run,
                [this](const std::shared_ptr<Run>& run, const GeminiClassifyResult& classified) {
                    const auto fast = fastRoute(run->query);
                    const QueryRoute route = decideRoute(classified.mode, fast);
                    log(routeLogLine(run->provider, classified.mode, fast, route, run->query));
                    this->classified();
                    if (redactInstead(run, route)) {
                        return;
                    }
                    cloudRequest(run, route);
                }));
}

void AIRequestFlow::cloudRequest(const std::shared_ptr<Run>& run, QueryRoute route) {
    CanvasDocument* canvas = hostCanvas();
    if (!canvas) {
        endOwnerGone(run);
        return;
    }
    GeminiService& gemini = *m_clients.gemini;
    auto status = guarded(run, [this](const std::shared_ptr<Run>&, const QString& text) {
        if (m_listener.status) {
            m_listener.status(text);
        }
    });
    const auto failed = [this](const std::shared_ptr<Run>& run, const GeminiFailure& failure) {
        fail(run, m_clients.gemini->describeError(failure));
    };
    const auto done = [this](const std::shared_ptr<Run>& run, const QString& meta,
                             bool emptyField) {
        if (m_listener.meta) {
            m_listener.meta(meta);
        }
        if (m_listener.status) {
            m_listener.status(QStringLiteral("Done"));
        }
        finish(run, emptyField);
    };
    const QImage image = canvas->image();

    if (route == QueryRoute::question) {
        // A question reads the analysis; the request waits for it.
        auto ask =
            guarded(run, [this, status, failed, done, image](const std::shared_ptr<Run>& run,
                                                             const VisionAnalysis& analysis) {
                const QString context = contextFor(QueryRoute::question, analysis, run->query);
                const QString prompt = localModelPrompt(QueryRoute::question, context, run->query);
                run->cloudRequest = m_clients.gemini->answerQuestion(
                    run->apiKey, {image}, prompt, std::nullopt, status,
                    guarded(run, [this, failed, done](const std::shared_ptr<Run>& run,
                                                      GeminiOutcome<GeminiResult> out) {
                        if (const auto* failure = std::get_if<GeminiFailure>(&out)) {
                            failed(run, *failure);
                            return;
                        }
                        const auto& result = std::get<GeminiResult>(out);
                        if (m_listener.response) {
                            m_listener.response(result.text.value_or(QString()));
                        }
                        CloudResultMeta meta =
                            metaOf(result, QString::fromLatin1(gemini::textModel));
                        meta.hasText = result.text.has_value();
                        meta.hasImage = result.image.has_value();
                        done(run, cloudMetaLine(meta), false);
                    }));
            });
        if (m_listener.status) {
            m_listener.status(QStringLiteral("Analyzing image…"));
        }
        if (m_host.analysis) {
            m_host.analysis(ask);
        } else {
            ask(VisionAnalysis{});
        }
        return;
    }

    if (route == QueryRoute::imageEdit) {
        contextFor(QueryRoute::imageEdit, std::nullopt, run->query);
        const QString model = QString::fromLatin1(run->provider == AIProvider::googleGeminiPro
                                                      ? gemini::proImageModel
                                                      : gemini::flashImageModel);
        run->cloudRequest = gemini.generateImage(
            run->apiKey, {image}, run->query, imageEditInstruction(image.size()), model, status,
            guarded(run, [this, failed, done, model](const std::shared_ptr<Run>& run,
                                                     GeminiOutcome<GeminiResult> out) {
                if (const auto* failure = std::get_if<GeminiFailure>(&out)) {
                    failed(run, *failure);
                    return;
                }
                const auto& result = std::get<GeminiResult>(out);
                const bool present = hostCanvas() != nullptr;
                if (result.image && present && m_host.replaceImage) {
                    m_host.replaceImage(*result.image);
                }
                if (m_listener.response) {
                    m_listener.response(present ? result.text.value_or(QString())
                                                : QStringLiteral("Editor closed."));
                }
                CloudResultMeta meta = metaOf(result, model);
                meta.hasText = result.text.has_value();
                meta.hasImage = result.image.has_value();
                done(run, cloudMetaLine(meta), false);
            }));
        return;
    }

    // Annotation edits: detection over the compact context, which carries no text lines.
    const QString context = contextFor(QueryRoute::annotationEdit, std::nullopt, run->query);
    const QString prompt = localModelPrompt(QueryRoute::annotationEdit, context, run->query);
    run->cloudRequest = gemini.detectAnnotations(
        run->apiKey, image, prompt, status,
        guarded(run, [this, failed, done](const std::shared_ptr<Run>& run,
                                          GeminiOutcome<GeminiDetectionResult> out) {
            if (const auto* failure = std::get_if<GeminiFailure>(&out)) {
                failed(run, *failure);
                return;
            }
            const auto& result = std::get<GeminiDetectionResult>(out);
            CanvasDocument* canvas = hostCanvas();
            QString response = QStringLiteral("Editor closed.");
            if (canvas) {
                std::vector<AICanvasCommand> commands;
                QStringList labels;
                for (const AICanvasDirectivePublic& directive : result.shapes) {
                    auto command = makeCommand(directive, *m_clients.fonts);
                    if (!command) {
                        continue;
                    }
                    if (std::holds_alternative<CreateShapeCommand>(*command) ||
                        std::holds_alternative<CreateTextCommand>(*command)) {
                        labels << directive.summary;
                    }
                    commands.push_back(std::move(*command));
                }
                const AICommandResult applied = AICanvasCommander::apply(
                    commands, AICanvasCommander::batchActionName(commands), *canvas);
                response =
                    detectionBatchResponse(int(applied.created.size()), int(applied.deleted.size()),
                                           int(applied.updated.size()), labels, result.text);
            }
            if (m_listener.response) {
                m_listener.response(response);
            }
            done(run, cloudMetaLine(metaOf(result, QString::fromLatin1(gemini::textModel))),
                 canvas != nullptr);
        }));
}

} // namespace vellumix
