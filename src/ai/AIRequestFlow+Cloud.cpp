#include "AIRequestFlow.h"
#include "ai/AICanvasCommander.h"
#include "ai/AIRequestFlow+Run.h"
#include "ai/LocalModelRequests.h"
#include "ai/RequestTexts.h"
#include "canvas/CanvasDocument.h"

namespace vellumix {

using flow::guarded;

namespace {

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

QString resultMetaLine(const GeminiResult& result, const QString& model) {
    CloudResultMeta meta = metaOf(result, model);
    meta.hasText = result.text.has_value();
    meta.hasImage = result.image.has_value();
    return cloudMetaLine(meta);
}

} // namespace

void AIRequestFlow::runCloud(const RunPtr& run) {
    if (!m_clients.gemini) {
        fail(run, QStringLiteral("Gemini unavailable."));
        return;
    }
    if (run->apiKey.isEmpty()) {
        fail(run, m_clients.gemini->describeError(GeminiError::missingKey()));
        return;
    }
    m_listener.status(QStringLiteral("Classifying your prompt…"));
    // The note stays above the answer until the result's own line replaces it.
    m_listener.meta(classifyingMeta());
    run->cloudClassify = m_clients.gemini->classifyQuery(
        run->apiKey, run->query,
        guarded(run, [this](const RunPtr& run, const GeminiClassifyResult& classified) {
            cloudRequest(run, routeFor(run, classified.mode));
        }));
}

void AIRequestFlow::cloudRequest(const RunPtr& run, QueryRoute route) {
    CanvasDocument* canvas = canvasOrGone();
    if (!canvas) {
        finish(run, false);
        return;
    }
    switch (route) {
    case QueryRoute::question:
        cloudQuestion(run, canvas->image());
        break;
    case QueryRoute::imageEdit:
        cloudImageEdit(run, canvas->image());
        break;
    case QueryRoute::annotationEdit:
        cloudDetection(run, canvas->image());
        break;
    }
}

void AIRequestFlow::cloudDone(const RunPtr& run, const QString& metaLine, bool emptyField) {
    m_listener.meta(metaLine);
    m_listener.status(QStringLiteral("Done"));
    finish(run, emptyField);
}

void AIRequestFlow::cloudQuestion(const RunPtr& run, const QImage& image) {
    // A question reads the analysis; the request waits for it.
    auto ask = guarded(run, [this, image](const RunPtr& run, const VisionAnalysis& analysis) {
        const QString context = contextFor(QueryRoute::question, analysis, run->query);
        const QString prompt = localModelPrompt(QueryRoute::question, context, run->query);
        run->cloudRequest = m_clients.gemini->answerQuestion(
            run->apiKey, {image}, prompt, std::nullopt,
            guarded(run, [this](const RunPtr&, const QString& text) { m_listener.status(text); }),
            guarded(run, [this](const RunPtr& run, GeminiOutcome<GeminiResult> out) {
                if (const auto* failure = std::get_if<GeminiFailure>(&out)) {
                    fail(run, m_clients.gemini->describeError(*failure));
                    return;
                }
                const auto& result = std::get<GeminiResult>(out);
                m_listener.response(result.text.value_or(QString()));
                cloudDone(run, resultMetaLine(result, QString::fromLatin1(gemini::textModel)),
                          false);
            }));
    });
    m_listener.status(QStringLiteral("Analyzing image…"));
    m_host.analysis(ask);
}

void AIRequestFlow::cloudImageEdit(const RunPtr& run, const QImage& image) {
    contextFor(QueryRoute::imageEdit, std::nullopt, run->query);
    const QString model =
        QString::fromLatin1(run->provider == AIProvider::googleGeminiPro ? gemini::proImageModel
                                                                         : gemini::flashImageModel);
    run->cloudRequest = m_clients.gemini->generateImage(
        run->apiKey, {image}, run->query, imageEditInstruction(image.size()), model,
        guarded(run, [this](const RunPtr&, const QString& text) { m_listener.status(text); }),
        guarded(run, [this, model](const RunPtr& run, GeminiOutcome<GeminiResult> out) {
            if (const auto* failure = std::get_if<GeminiFailure>(&out)) {
                fail(run, m_clients.gemini->describeError(*failure));
                return;
            }
            const auto& result = std::get<GeminiResult>(out);
            if (canvasOrGone()) {
                if (result.image) {
                    m_host.replaceImage(*result.image);
                }
                m_listener.response(result.text.value_or(QString()));
            }
            cloudDone(run, resultMetaLine(result, model), false);
        }));
}

void AIRequestFlow::cloudDetection(const RunPtr& run, const QImage& image) {
    // Detection reads the compact context, which carries no text lines.
    const QString context = contextFor(QueryRoute::annotationEdit, std::nullopt, run->query);
    const QString prompt = localModelPrompt(QueryRoute::annotationEdit, context, run->query);
    run->cloudRequest = m_clients.gemini->detectAnnotations(
        run->apiKey, image, prompt,
        guarded(run, [this](const RunPtr&, const QString& text) { m_listener.status(text); }),
        guarded(run, [this](const RunPtr& run, GeminiOutcome<GeminiDetectionResult> out) {
            if (const auto* failure = std::get_if<GeminiFailure>(&out)) {
                fail(run, m_clients.gemini->describeError(*failure));
                return;
            }
            const auto& result = std::get<GeminiDetectionResult>(out);
            CanvasDocument* canvas = canvasOrGone();
            if (canvas) {
                m_listener.response(applyDetection(result, *canvas));
            }
            cloudDone(run, cloudMetaLine(metaOf(result, QString::fromLatin1(gemini::textModel))),
                      canvas != nullptr);
        }));
}

QString AIRequestFlow::applyDetection(const GeminiDetectionResult& result, CanvasDocument& canvas) {
    std::vector<AICanvasCommand> commands;
    std::vector<std::optional<QString>> labels; // for the commands that create
    for (const AICanvasDirectivePublic& directive : result.shapes) {
        auto command = makeCommand(directive, *m_clients.fonts);
        if (!command) {
            continue;
        }
        const bool creates = std::holds_alternative<CreateShapeCommand>(*command) ||
                             std::holds_alternative<CreateTextCommand>(*command);
        labels.push_back(creates ? std::optional(directive.summary) : std::nullopt);
        commands.push_back(std::move(*command));
    }
    const AICommandResult applied =
        AICanvasCommander::apply(commands, AICanvasCommander::batchActionName(commands), canvas);
    logOutside(applied);
    // Only what was drawn is named: a box off the picture was dropped.
    for (const auto& dropped : applied.outside) {
        labels[dropped.command].reset();
    }
    QStringList drawn;
    for (const auto& label : labels) {
        if (label) {
            drawn << *label;
        }
    }
    return detectionBatchResponse(int(applied.created.size()), int(applied.deleted.size()),
                                  int(applied.updated.size()), drawn, result.text);
}

} // namespace vellumix
