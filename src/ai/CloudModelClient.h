#pragma once

#include "ai/GeminiError.h"
#include "ai/GeminiRequests.h"
#include "ai/GeminiResponses.h"
#include "model/ImageCodec.h"

#include <QImage>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace vellumix {

/// A running cloud call. Destroying it cancels the call; once cancelled, no callback runs.
class GeminiCall {
public:
    GeminiCall() = default;
    virtual ~GeminiCall() = default;
    GeminiCall(const GeminiCall&) = delete;
    GeminiCall& operator=(const GeminiCall&) = delete;

    virtual void cancel() = 0;
    virtual bool isRunning() const = 0;
};

struct CloudClientOptions {
    /// Where the REST API lives; `GeminiService::defaultBaseUrl()` unless a test points
    /// elsewhere.
    QString baseUrl;
    /// Longest silence on the connection before a call fails.
    std::chrono::milliseconds requestTimeout{60'000};
    /// Image edits can take minutes on the provider's side.
    std::chrono::milliseconds imageRequestTimeout{240'000};
    std::chrono::milliseconds imageResourceTimeout{600'000};
    PngEncoder pngEncoder = encodePngWithQt;
    /// Receives every console line; standard output when empty.
    GeminiLog log;
};

/// The cloud model's client as the assistant uses it. The network code behind it (GeminiService)
/// lives in the assistant module, so that only a process that talks to a model maps the network
/// stack. Calls are made and answered on the thread that made the client.
class CloudModelClient {
public:
    using StatusCallback = std::function<void(const QString&)>;

    CloudModelClient() = default;
    virtual ~CloudModelClient() = default;
    CloudModelClient(const CloudModelClient&) = delete;
    CloudModelClient& operator=(const CloudModelClient&) = delete;

    /// Never fails: any failure gives a result without a mode.
    [[nodiscard]] virtual std::unique_ptr<GeminiCall>
    classifyQuery(const QString& apiKey, const QString& request,
                  std::function<void(GeminiClassifyResult)> done) = 0;

    [[nodiscard]] virtual std::unique_ptr<GeminiCall>
    answerQuestion(const QString& apiKey, const QList<QImage>& images, const QString& prompt,
                   const std::optional<QString>& systemInstruction, StatusCallback status,
                   std::function<void(GeminiOutcome<GeminiResult>)> done) = 0;

    /// `model` is `gemini::flashImageModel` or `gemini::proImageModel`.
    [[nodiscard]] virtual std::unique_ptr<GeminiCall>
    generateImage(const QString& apiKey, const QList<QImage>& images, const QString& prompt,
                  const std::optional<QString>& systemInstruction, const QString& model,
                  StatusCallback status, std::function<void(GeminiOutcome<GeminiResult>)> done) = 0;

    [[nodiscard]] virtual std::unique_ptr<GeminiCall>
    detectAnnotations(const QString& apiKey, const QImage& image, const QString& prompt,
                      StatusCallback status,
                      std::function<void(GeminiOutcome<GeminiDetectionResult>)> done) = 0;

    /// The text to show for a failure; also writes its console line.
    virtual QString describeError(const GeminiFailure& failure) const = 0;
};

} // namespace vellumix
