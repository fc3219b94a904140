#pragma once

#include "ai/CloudModelClient.h"

#include <QImage>
#include <QList>
#include <QString>
#include <QUrl>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;

namespace vellumix {

namespace detail {
struct CallRoute;
} // namespace detail

/// The Gemini REST client: intent classification, questions, image edits and detection.
/// Calls are made and answered on the thread that made the service (it needs a running event
/// loop); image encoding and answer parsing run on worker threads. Nothing is retried. The API
/// key travels only in the "x-goog-api-key" header and is never logged.
class GeminiService final : public CloudModelClient {
public:
    using Options = CloudClientOptions;

    GeminiService();
    explicit GeminiService(Options options);
    ~GeminiService() override;

    /// $VELLUMIX_GEMINI_BASE_URL, else the provider's public endpoint.
    static QString defaultBaseUrl();

    /// Never fails: any failure gives a result without a mode.
    [[nodiscard]] std::unique_ptr<GeminiCall>
    classifyQuery(const QString& apiKey, const QString& request,
                  std::function<void(GeminiClassifyResult)> done) override;

    [[nodiscard]] std::unique_ptr<GeminiCall>
    answerQuestion(const QString& apiKey, const QList<QImage>& images, const QString& prompt,
                   const std::optional<QString>& systemInstruction, StatusCallback status,
                   std::function<void(GeminiOutcome<GeminiResult>)> done) override;

    /// `model` is `gemini::flashImageModel` or `gemini::proImageModel`.
    [[nodiscard]] std::unique_ptr<GeminiCall>
    generateImage(const QString& apiKey, const QList<QImage>& images, const QString& prompt,
                  const std::optional<QString>& systemInstruction, const QString& model,
                  StatusCallback status,
                  std::function<void(GeminiOutcome<GeminiResult>)> done) override;

    [[nodiscard]] std::unique_ptr<GeminiCall>
    detectAnnotations(const QString& apiKey, const QImage& image, const QString& prompt,
                      StatusCallback status,
                      std::function<void(GeminiOutcome<GeminiDetectionResult>)> done) override;

    /// The text to show for a failure; also writes its console line.
    QString describeError(const GeminiFailure& failure) const override;

private:
    const std::shared_ptr<QNetworkAccessManager>& network() const;
    detail::CallRoute route(const QUrl& url, std::chrono::milliseconds idle,
                            std::chrono::milliseconds total, StatusCallback status) const;

    Options m_options;
    QUrl m_textModelUrl;
    /// Set when the base address would carry the key in clear: every call is refused.
    std::optional<QString> m_insecureAddress;
    mutable std::shared_ptr<QNetworkAccessManager> m_network;
};

} // namespace vellumix
