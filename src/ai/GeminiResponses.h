#pragma once

#include "Directives.h"
#include "GeminiError.h"

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QSize>
#include <QString>

#include <functional>
#include <optional>

namespace vellumix {

/// The cloud classifier's classes; the same three words as the routes.
using QueryMode = QueryRoute;

/// What the intent classifier answered; `mode` is empty whenever anything went wrong.
struct GeminiClassifyResult {
    std::optional<QueryMode> mode;
    std::optional<qint64> promptTokens;
    std::optional<qint64> responseTokens;
    std::optional<QString> modelVersion;
    double duration = 0; ///< seconds
};

/// The answer to a question or an image edit.
struct GeminiResult {
    std::optional<QString> text;
    std::optional<QImage> image;
    std::optional<qint64> totalTokens;
    std::optional<qint64> promptTokens;
    std::optional<qint64> responseTokens;
    std::optional<QString> modelVersion;
    std::optional<QString> finishReason;
    qint64 requestBytes = 0; ///< the PNGs sent
    qint64 responseBytes = 0;
    std::optional<qint64> responseImageBytes;
    double duration = 0; ///< seconds
};

/// The annotations a detection found, in image pixels.
struct GeminiDetectionResult {
    QList<AICanvasDirectivePublic> shapes;
    std::optional<QString> text; ///< set only when nothing was found
    std::optional<qint64> totalTokens;
    std::optional<qint64> promptTokens;
    std::optional<qint64> responseTokens;
    std::optional<QString> modelVersion;
    std::optional<QString> finishReason;
    qint64 requestBytes = 0;
    qint64 responseBytes = 0;
    double duration = 0; ///< seconds
};

/// An HTTP answer as received: status code and the whole body.
struct GeminiHttpAnswer {
    int statusCode = 0;
    QByteArray body;
};

/// Where the parsers write their "[Gemini] " console lines.
using GeminiLog = std::function<void(const QString&)>;

/// Everything below is pure: no answer at all (`std::nullopt`) stands for a reply that was not
/// HTTP. Request byte counts and durations are the caller's to fill in.
GeminiClassifyResult parseClassifyResponse(const std::optional<GeminiHttpAnswer>& answer);
GeminiParsed<GeminiResult> parseQuestionResponse(const std::optional<GeminiHttpAnswer>& answer);
GeminiParsed<GeminiResult> parseImageEditResponse(const std::optional<GeminiHttpAnswer>& answer,
                                                  const GeminiLog& log);
GeminiParsed<GeminiDetectionResult>
parseDetectionResponse(const std::optional<GeminiHttpAnswer>& answer, QSize imageSize,
                       const GeminiLog& log);

/// The body as UTF-8 text cut to `characters` characters ("…" appended when cut), or
/// "<N bytes binary>" when it is not UTF-8.
QString geminiBodyPreview(const QByteArray& body, int characters = 400);
/// The error for a body over `gemini::maxResponseBytes`.
GeminiError geminiResponseTooLarge();

} // namespace vellumix
