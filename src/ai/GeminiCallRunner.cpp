#include "GeminiCallRunner.h"

#include "ai/ConsoleText.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>

namespace vellumix::detail {

namespace {

/// Qt reports HTTP error statuses as reply errors too; those are answers, not transport failures.
bool comesFromStatus(QNetworkReply::NetworkError code) {
    return (code >= QNetworkReply::ContentAccessDenied &&
            code <= QNetworkReply::UnknownContentError) ||
           code == QNetworkReply::ProtocolInvalidOperationError ||
           (code >= QNetworkReply::InternalServerError &&
            code <= QNetworkReply::UnknownServerError);
}

std::optional<GeminiNetworkError> transportError(QNetworkReply& reply) {
    const QNetworkReply::NetworkError code = reply.error();
    if (code == QNetworkReply::NoError) {
        return std::nullopt;
    }
    const bool hasStatus = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
    if (hasStatus && comesFromStatus(code)) {
        return std::nullopt;
    }
    const auto kind = code == QNetworkReply::RemoteHostClosedError
                          ? GeminiNetworkError::Kind::connectionLost
                          : GeminiNetworkError::Kind::other;
    return GeminiNetworkError{kind, reply.errorString()};
}

} // namespace

GeminiCallRunner::GeminiCallRunner(CallRoute route) : m_route(std::move(route)) {
    m_clock.start();
    m_idleTimer.setSingleShot(true);
    m_totalTimer.setSingleShot(true);
    connect(&m_idleTimer, &QTimer::timeout, this, [this] { abortFor(Abort::timedOut); });
    connect(&m_totalTimer, &QTimer::timeout, this, [this] { abortFor(Abort::timedOut); });
    m_tracker.onUploadComplete = [this] {
        // Told from the event loop, not from inside the network layer's signal.
        QTimer::singleShot(0, this, [this] {
            if (!m_done && m_route.status) {
                m_route.status(gemini::processingStatus());
            }
        });
    };
}

GeminiCallRunner::~GeminiCallRunner() {
    dropReply(true);
}

void GeminiCallRunner::send(std::function<PreparedRequest()> prepare) {
    runOffThread<PreparedRequest>(this, std::move(prepare), [this](PreparedRequest prepared) {
        if (m_done) {
            return;
        }
        for (const QString& line : prepared.logLines) {
            writeLog(line);
        }
        m_requestBytes = prepared.requestBytes;
        if (prepared.error) {
            failed(*prepared.error);
            return;
        }
        if (m_route.status && !prepared.sendingStatus.isEmpty()) {
            m_route.status(prepared.sendingStatus);
            if (m_done) {
                return; // cancelled from the status callback
            }
        }
        post(prepared);
    });
}

void GeminiCallRunner::post(const PreparedRequest& prepared) {
    QNetworkRequest request(m_route.url);
    request.setHeader(QNetworkRequest::ContentTypeHeader, QByteArrayLiteral("application/json"));
    request.setRawHeader(QByteArrayLiteral("x-goog-api-key"), m_route.apiKey);
    request.setAttribute(QNetworkRequest::Http2AllowedAttribute, true);
    // A followed redirect would carry the key's header to whatever host it names.
    request.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                         QNetworkRequest::ManualRedirectPolicy);
    m_reply = m_route.network->post(request, prepared.body);
    QNetworkReply* reply = m_reply;
    connect(reply, &QNetworkReply::readyRead, this, &GeminiCallRunner::readBody);
    connect(reply, &QNetworkReply::finished, this, &GeminiCallRunner::replyFinished);
    connect(reply, &QNetworkReply::uploadProgress, this, [this](qint64 sent, qint64 total) {
        restartIdleTimer();
        if (m_route.reportsUploadComplete) {
            m_tracker.bytesSent(sent, total);
        }
    });
    connect(reply, &QNetworkReply::downloadProgress, this, [this] { restartIdleTimer(); });
    connect(reply, &QNetworkReply::metaDataChanged, this, [this] {
        const QVariant length = m_reply->header(QNetworkRequest::ContentLengthHeader);
        if (length.isValid() && length.toLongLong() > gemini::maxResponseBytes) {
            abortFor(Abort::tooLarge);
        }
    });
    restartIdleTimer();
    if (m_route.totalTimeout.count() > 0) {
        m_totalTimer.start(m_route.totalTimeout);
    }
}

void GeminiCallRunner::restartIdleTimer() {
    if (m_route.idleTimeout.count() > 0) {
        m_idleTimer.start(m_route.idleTimeout);
    }
}

void GeminiCallRunner::readBody() {
    if (!m_reply) {
        return;
    }
    m_body += m_reply->readAll();
    if (m_body.size() > gemini::maxResponseBytes) {
        abortFor(Abort::tooLarge);
    }
}

void GeminiCallRunner::abortFor(Abort reason) {
    if (!m_reply || m_reply->isFinished()) {
        return;
    }
    m_abort = reason;
    m_reply->abort(); // emits finished at once
}

void GeminiCallRunner::replyFinished() {
    if (m_done || !m_reply) {
        return;
    }
    m_idleTimer.stop();
    m_totalTimer.stop();
    QNetworkReply& reply = *m_reply;
    if (m_abort == Abort::none) {
        m_body += reply.readAll();
    }
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    const auto networkError = transportError(reply);
    dropReply(false);

    if (m_abort == Abort::tooLarge || m_body.size() > gemini::maxResponseBytes) {
        failed(geminiResponseTooLarge());
        return;
    }
    if (m_abort == Abort::timedOut) {
        failed(GeminiNetworkError{GeminiNetworkError::Kind::timedOut,
                                  QStringLiteral("The request timed out.")});
        return;
    }
    if (networkError) {
        failed(*networkError);
        return;
    }
    std::optional<GeminiHttpAnswer> answer;
    if (status.isValid()) {
        answer = GeminiHttpAnswer{status.toInt(), std::exchange(m_body, {})};
        if (m_route.status && !m_route.arrivedStatus.isEmpty()) {
            m_route.status(m_route.arrivedStatus);
            if (m_done) {
                return;
            }
        }
    }
    answered(std::move(answer));
}

void GeminiCallRunner::dropReply(bool abort) {
    if (!m_reply) {
        return;
    }
    QNetworkReply* reply = m_reply;
    m_reply = nullptr;
    reply->disconnect(this);
    if (abort && !reply->isFinished()) {
        reply->abort();
    }
    reply->deleteLater();
}

void GeminiCallRunner::cancel() {
    if (m_done) {
        return;
    }
    finish();
}

void GeminiCallRunner::finish() {
    m_done = true;
    m_idleTimer.stop();
    m_totalTimer.stop();
    dropReply(true);
    deleteLater();
}

void GeminiCallRunner::writeLog(const QString& line) const {
    if (m_route.log) {
        m_route.log(line);
    } else {
        console::print(line);
    }
}

} // namespace vellumix::detail
