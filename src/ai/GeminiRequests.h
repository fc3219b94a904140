#pragma once

#include <QByteArray>
#include <QList>
#include <QSize>
#include <QString>
#include <QUrl>

#include <functional>
#include <optional>

namespace vellumix {

namespace gemini {
/// Classification, questions and detection.
inline constexpr char textModel[] = "gemini-3.5-flash";
/// Image edits for the Flash and Pro providers.
inline constexpr char flashImageModel[] = "gemini-3.1-flash-image";
inline constexpr char proImageModel[] = "gemini-3-pro-image";
inline constexpr char publicBaseUrl[] = "https://generativelanguage.googleapis.com";
/// Bodies larger than this are refused unread: no real answer comes near it.
inline constexpr qint64 maxResponseBytes = 64LL * 1024 * 1024;
} // namespace gemini

/// base + "/v1beta/models/{model}:generateContent"; a trailing "/" on the base is ignored.
QUrl generateContentUrl(const QString& baseUrl, const QString& model);
/// Why the key must not be sent to `baseUrl`, if it must not: the address has to use https, or
/// plain http to this computer's loopback (the tests' servers), or the key would travel in clear.
std::optional<QString> insecureBaseUrlReason(const QString& baseUrl);
/// Whether a key can travel in a header unchanged (printable ASCII only).
bool isSendableApiKey(const QString& apiKey);

/// The system instruction of the intent classifier, verbatim.
QString classifierInstruction();
/// The system instruction of a detection for an image of this size (its field guide included).
QString detectionInstruction(QSize imageSize);

/// The JSON request bodies, keys in the order contents, systemInstruction, generationConfig.
/// Images arrive as PNG bytes and are sent base64-encoded.
QByteArray classifyRequestBody(const QString& request);
QByteArray questionRequestBody(const QString& prompt, const QList<QByteArray>& pngs,
                               const std::optional<QString>& systemInstruction);
QByteArray imageEditRequestBody(const QString& prompt, const QList<QByteArray>& pngs,
                                const std::optional<QString>& systemInstruction);
QByteArray detectionRequestBody(const QString& prompt, const QByteArray& png, QSize imageSize);

/// "Sending image: ↑ 12 KB…" (one image) or "Sending image & annotations: ↑ …" (several).
QString sendingStatus(qsizetype imageCount, qint64 pngBytes);
/// "Sending image: ↑ 12 KB…" before a detection.
QString detectionSendingStatus(qint64 pngBytes);
/// "[Gemini] image[0]: 640×480 px → PNG 1234 bytes (1.2 KB)"
QString encodedImageLogLine(int index, QSize pixelSize, qint64 pngBytes);

namespace gemini {
QString processingStatus(); ///< an image edit's upload has completed
QString parsingStatus();    ///< an image edit's answer has arrived
QString promptStatus();     ///< a question's or a detection's answer has arrived
} // namespace gemini

/// Tells once per request that the whole body has been sent, however often the network layer
/// repeats the final count.
struct GeminiUploadCompletionTracker {
    std::function<void()> onUploadComplete;
    bool fired = false;

    void bytesSent(qint64 totalSent, qint64 expectedTotal);
};

} // namespace vellumix
