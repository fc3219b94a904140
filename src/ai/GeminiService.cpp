#include "GeminiService.h"

#include "ai/ConsoleText.h"
#include "ai/GeminiCallRunner.h"
#include "ai/GeminiRequests.h"
#include "ai/RunnerCall.h"

#include <QNetworkAccessManager>

namespace vellumix {

using detail::CallRoute;
using detail::GeminiCallRunner;
using detail::PreparedRequest;
using detail::RunnerCall;
using detail::TypedCallRunner;

namespace {

/// Encodes every image as PNG; none when any of them cannot be encoded.
std::optional<QList<QByteArray>> encodeAll(const QList<QImage>& images, const PngEncoder& encode,
                                           QStringList* logLines) {
    QList<QByteArray> pngs;
    for (qsizetype i = 0; i < images.size(); ++i) {
        auto png = encode(images[i]);
        if (!png) {
            return std::nullopt;
        }
        if (logLines) {
            *logLines << encodedImageLogLine(int(i), images[i].size(), png->size());
        }
        pngs << std::move(*png);
    }
    return pngs;
}

qint64 totalSize(const QList<QByteArray>& pngs) {
    qint64 total = 0;
    for (const QByteArray& png : pngs) {
        total += png.size();
    }
    return total;
}

PreparedRequest encodeFailed(QStringList logLines = {}) {
    PreparedRequest prepared;
    prepared.logLines = std::move(logLines);
    prepared.error = GeminiError::decode(QStringLiteral("PNG encode failed"));
    return prepared;
}

GeminiError unsendableKey() {
    return GeminiError::decode(QStringLiteral("The API key holds characters a header can't carry"));
}

template <class T> GeminiOutcome<T> asOutcome(GeminiParsed<T> parsed) {
    if (auto* error = std::get_if<GeminiError>(&parsed)) {
        return GeminiFailure{std::move(*error)};
    }
    return std::get<T>(std::move(parsed));
}

template <class T> GeminiOutcome<T> failureOutcome(const GeminiFailure& failure) {
    return failure;
}

// A call that cannot be sent (an address that would expose the key, no key, no picture, a key
// no header can carry) fails from the event loop without touching the network; true when it did.
template <class Runner>
bool refusedBeforeSending(Runner& runner, const std::optional<QString>& insecureAddress,
                          const QString& apiKey, const QList<QImage>& images) {
    if (insecureAddress) {
        runner.deliverSoon(
            GeminiFailure{GeminiNetworkError{GeminiNetworkError::Kind::other, *insecureAddress}});
    } else if (apiKey.isEmpty()) {
        runner.deliverSoon(GeminiFailure{GeminiError::missingKey()});
    } else if (images.isEmpty()) {
        runner.deliverSoon(GeminiFailure{GeminiError::decode(QStringLiteral("No images to send"))});
    } else if (!isSendableApiKey(apiKey)) {
        runner.deliverSoon(GeminiFailure{unsendableKey()});
    } else {
        return false;
    }
    return true;
}

} // namespace

GeminiService::GeminiService() : GeminiService(Options{}) {}

GeminiService::GeminiService(Options options) : m_options(std::move(options)) {
    if (m_options.baseUrl.isEmpty()) {
        m_options.baseUrl = defaultBaseUrl();
    }
    if (!m_options.log) {
        m_options.log = console::print;
    }
    if (!m_options.pngEncoder) {
        m_options.pngEncoder = encodePngWithQt;
    }
    m_textModelUrl = generateContentUrl(m_options.baseUrl, QString::fromLatin1(gemini::textModel));
    m_insecureAddress = insecureBaseUrlReason(m_options.baseUrl);
}

GeminiService::~GeminiService() = default;

QString GeminiService::defaultBaseUrl() {
    const QString configured = qEnvironmentVariable("VELLUMIX_GEMINI_BASE_URL").trimmed();
    return configured.isEmpty() ? QString::fromLatin1(gemini::publicBaseUrl) : configured;
}

const std::shared_ptr<QNetworkAccessManager>& GeminiService::network() const {
    // Made on first use: the idle tray process has no need of the network stack.
    if (!m_network) {
        m_network = std::make_shared<QNetworkAccessManager>();
    }
    return m_network;
}

CallRoute GeminiService::route(const QUrl& url, std::chrono::milliseconds idle,
                               std::chrono::milliseconds total, StatusCallback status) const {
    CallRoute r;
    r.network = network();
    r.url = url;
    r.idleTimeout = idle;
    r.totalTimeout = total;
    r.status = std::move(status);
    r.log = m_options.log;
    return r;
}

std::unique_ptr<GeminiCall>
GeminiService::classifyQuery(const QString& apiKey, const QString& request,
                             std::function<void(GeminiClassifyResult)> done) {
    CallRoute r = route(m_textModelUrl, m_options.requestTimeout, {}, {});
    r.apiKey = apiKey.toLatin1();
    auto* runner = new TypedCallRunner<GeminiClassifyResult>(
        std::move(r),
        [](const std::optional<GeminiHttpAnswer>& answer, const GeminiLog&) {
            return parseClassifyResponse(answer);
        },
        [](const GeminiFailure&) { return GeminiClassifyResult{}; }, std::move(done));
    auto call = std::make_unique<RunnerCall<GeminiCall, GeminiCallRunner>>(runner);
    if (m_insecureAddress || apiKey.isEmpty() || !isSendableApiKey(apiKey)) {
        runner->deliverSoon(GeminiClassifyResult{}); // nothing sent, duration 0
        return call;
    }
    runner->send([request] {
        PreparedRequest prepared;
        prepared.body = classifyRequestBody(request);
        return prepared;
    });
    return call;
}

std::unique_ptr<GeminiCall> GeminiService::answerQuestion(
    const QString& apiKey, const QList<QImage>& images, const QString& prompt,
    const std::optional<QString>& systemInstruction, StatusCallback status,
    std::function<void(GeminiOutcome<GeminiResult>)> done) {
    CallRoute r = route(m_textModelUrl, m_options.requestTimeout, {}, std::move(status));
    r.apiKey = apiKey.toLatin1();
    r.arrivedStatus = gemini::promptStatus();
    auto* runner = new TypedCallRunner<GeminiOutcome<GeminiResult>>(
        std::move(r),
        [](const std::optional<GeminiHttpAnswer>& answer, const GeminiLog&) {
            return asOutcome(parseQuestionResponse(answer));
        },
        failureOutcome<GeminiResult>, std::move(done));
    auto call = std::make_unique<RunnerCall<GeminiCall, GeminiCallRunner>>(runner);
    if (!refusedBeforeSending(*runner, m_insecureAddress, apiKey, images)) {
        runner->send([images, prompt, systemInstruction, encode = m_options.pngEncoder] {
            const auto pngs = encodeAll(images, encode, nullptr);
            if (!pngs) {
                return encodeFailed();
            }
            PreparedRequest prepared;
            prepared.requestBytes = totalSize(*pngs);
            prepared.sendingStatus = sendingStatus(pngs->size(), prepared.requestBytes);
            prepared.body = questionRequestBody(prompt, *pngs, systemInstruction);
            return prepared;
        });
    }
    return call;
}

std::unique_ptr<GeminiCall>
GeminiService::generateImage(const QString& apiKey, const QList<QImage>& images,
                             const QString& prompt, const std::optional<QString>& systemInstruction,
                             const QString& model, StatusCallback status,
                             std::function<void(GeminiOutcome<GeminiResult>)> done) {
    CallRoute r = route(generateContentUrl(m_options.baseUrl, model), m_options.imageRequestTimeout,
                        m_options.imageResourceTimeout, std::move(status));
    r.apiKey = apiKey.toLatin1();
    r.reportsUploadComplete = true;
    r.arrivedStatus = gemini::parsingStatus();
    auto* runner = new TypedCallRunner<GeminiOutcome<GeminiResult>>(
        std::move(r),
        [](const std::optional<GeminiHttpAnswer>& answer, const GeminiLog& log) {
            return asOutcome(parseImageEditResponse(answer, log));
        },
        failureOutcome<GeminiResult>, std::move(done));
    auto call = std::make_unique<RunnerCall<GeminiCall, GeminiCallRunner>>(runner);
    if (!refusedBeforeSending(*runner, m_insecureAddress, apiKey, images)) {
        runner->send([images, prompt, systemInstruction, encode = m_options.pngEncoder] {
            QStringList lines;
            const auto pngs = encodeAll(images, encode, &lines);
            if (!pngs) {
                return encodeFailed(std::move(lines));
            }
            PreparedRequest prepared;
            prepared.logLines = std::move(lines);
            prepared.requestBytes = totalSize(*pngs);
            prepared.sendingStatus = sendingStatus(pngs->size(), prepared.requestBytes);
            prepared.body = imageEditRequestBody(prompt, *pngs, systemInstruction);
            return prepared;
        });
    }
    return call;
}

std::unique_ptr<GeminiCall>
GeminiService::detectAnnotations(const QString& apiKey, const QImage& image, const QString& prompt,
                                 StatusCallback status,
                                 std::function<void(GeminiOutcome<GeminiDetectionResult>)> done) {
    CallRoute r = route(m_textModelUrl, m_options.requestTimeout, {}, std::move(status));
    r.apiKey = apiKey.toLatin1();
    r.arrivedStatus = gemini::promptStatus();
    const QSize size = image.size();
    auto* runner = new TypedCallRunner<GeminiOutcome<GeminiDetectionResult>>(
        std::move(r),
        [size](const std::optional<GeminiHttpAnswer>& answer, const GeminiLog& log) {
            return asOutcome(parseDetectionResponse(answer, size, log));
        },
        failureOutcome<GeminiDetectionResult>, std::move(done));
    auto call = std::make_unique<RunnerCall<GeminiCall, GeminiCallRunner>>(runner);
    if (!refusedBeforeSending(*runner, m_insecureAddress, apiKey, {image})) {
        runner->send([image, prompt, encode = m_options.pngEncoder] {
            const auto png = encode(image);
            if (!png) {
                return encodeFailed();
            }
            PreparedRequest prepared;
            prepared.requestBytes = png->size();
            prepared.sendingStatus = detectionSendingStatus(prepared.requestBytes);
            prepared.body = detectionRequestBody(prompt, *png, image.size());
            return prepared;
        });
    }
    return call;
}

QString GeminiService::describeError(const GeminiFailure& failure) const {
    m_options.log(geminiErrorLogLine(failure));
    return geminiErrorText(failure);
}

} // namespace vellumix
