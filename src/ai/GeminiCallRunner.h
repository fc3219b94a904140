#pragma once

// The machinery behind one GeminiService call: the POST itself, its timeouts and size limit,
// and the hand-over of work to worker threads and of results back to the caller's thread.

#include "ai/GeminiError.h"
#include "ai/GeminiRequests.h"
#include "ai/GeminiResponses.h"

#include <QElapsedTimer>
#include <QFutureWatcher>
#include <QNetworkReply>
#include <QObject>
#include <QPointer>
#include <QPromise>
#include <QThreadPool>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;

namespace vellumix::detail {

/// A request body ready to send, or why there is none.
struct PreparedRequest {
    QByteArray body;
    qint64 requestBytes = 0; ///< the PNGs inside the body
    QString sendingStatus;
    QStringList logLines;
    std::optional<GeminiError> error;
};

/// Where and how one call is sent.
struct CallRoute {
    std::shared_ptr<QNetworkAccessManager> network;
    QUrl url;
    QByteArray apiKey;
    std::chrono::milliseconds idleTimeout{0};  ///< zero: no limit
    std::chrono::milliseconds totalTimeout{0}; ///< zero: no limit
    bool reportsUploadComplete = false;
    QString arrivedStatus; ///< shown once an HTTP answer is in; empty for none
    std::function<void(const QString&)> status;
    GeminiLog log;
};

/// Runs `work` on the shared thread pool and hands its value to `done` on `context`'s thread,
/// unless `context` has gone by then.
template <class T>
void runOffThread(QObject* context, std::function<T()> work, std::function<void(T)> done) {
    auto* watcher = new QFutureWatcher<T>(context);
    QObject::connect(watcher, &QFutureWatcherBase::finished, context,
                     [watcher, done = std::move(done)] {
                         watcher->deleteLater();
                         QFuture<T> future = watcher->future();
                         if (future.resultCount() > 0) {
                             done(future.takeResult());
                         }
                     });
    auto promise = std::make_shared<QPromise<T>>();
    watcher->setFuture(promise->future());
    promise->start();
    QThreadPool::globalInstance()->start([promise, work = std::move(work)] {
        promise->addResult(work());
        promise->finish();
    });
}

/// Sends one POST and reports its end through `answered` or `failed`. Owned by nobody: it
/// deletes itself once delivered or cancelled; `RunnerCall` watches it through a QPointer.
class GeminiCallRunner : public QObject {
public:
    explicit GeminiCallRunner(CallRoute route);
    ~GeminiCallRunner() override;

    /// Builds the body on a worker thread, then posts it.
    void send(std::function<PreparedRequest()> prepare);
    /// Stops the call; nothing is delivered afterwards.
    void cancel();
    bool isDone() const { return m_done; }

protected:
    /// The call's end: an HTTP answer, or none when the reply was not HTTP.
    virtual void answered(std::optional<GeminiHttpAnswer> answer) = 0;
    virtual void failed(const GeminiFailure& failure) = 0;

    /// No more events for this call; the runner goes away once control returns to the loop.
    void finish();
    void writeLog(const QString& line) const;
    /// Started when the call was made.
    QElapsedTimer clock() const { return m_clock; }
    double seconds() const { return m_clock.nsecsElapsed() / 1e9; }
    qint64 requestBytes() const { return m_requestBytes; }

private:
    enum class Abort { none, timedOut, tooLarge };

    void post(const PreparedRequest& prepared);
    void restartIdleTimer();
    void readBody();
    void replyFinished();
    void abortFor(Abort reason);
    void dropReply(bool abort);

    CallRoute m_route;
    QElapsedTimer m_clock;
    qint64 m_requestBytes = 0;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_body;
    QTimer m_idleTimer;
    QTimer m_totalTimer;
    GeminiUploadCompletionTracker m_tracker;
    Abort m_abort = Abort::none;
    bool m_done = false;
};

inline void stamp(GeminiClassifyResult& result, qint64, double seconds) {
    result.duration = seconds;
}
inline void stamp(GeminiResult& result, qint64 requestBytes, double seconds) {
    result.requestBytes = requestBytes;
    result.duration = seconds;
}
inline void stamp(GeminiDetectionResult& result, qint64 requestBytes, double seconds) {
    result.requestBytes = requestBytes;
    result.duration = seconds;
}
template <class T> void stamp(GeminiOutcome<T>& outcome, qint64 requestBytes, double seconds) {
    if (auto* value = std::get_if<T>(&outcome)) {
        stamp(*value, requestBytes, seconds);
    }
}

/// A runner that parses its answer into `Outcome` and hands it to `done`.
template <class Outcome> class TypedCallRunner final : public GeminiCallRunner {
public:
    /// Pure and thread-safe: runs on a worker thread.
    using Parser = std::function<Outcome(const std::optional<GeminiHttpAnswer>&, const GeminiLog&)>;
    using FailureOutcome = std::function<Outcome(const GeminiFailure&)>;

    TypedCallRunner(CallRoute route, Parser parse, FailureOutcome failure,
                    std::function<void(Outcome)> done)
        : GeminiCallRunner(std::move(route))
        , m_parse(std::move(parse))
        , m_failure(std::move(failure))
        , m_completion(std::move(done)) {}

    /// Answers from the event loop without sending anything.
    void deliverSoon(Outcome outcome) {
        QTimer::singleShot(0, this, [this, outcome = std::move(outcome)]() mutable {
            if (!isDone()) {
                deliver(std::move(outcome));
            }
        });
    }

protected:
    void answered(std::optional<GeminiHttpAnswer> answer) override {
        using Parsed = std::pair<Outcome, QStringList>;
        // Only copies go to the worker: the runner may be gone before the work ends.
        std::function<Parsed()> work = [parse = m_parse, answer = std::move(answer),
                                        bytes = requestBytes(), clock = clock()] {
            QStringList lines;
            Outcome outcome = parse(answer, [&lines](const QString& line) { lines << line; });
            stamp(outcome, bytes, clock.nsecsElapsed() / 1e9);
            return Parsed{std::move(outcome), std::move(lines)};
        };
        runOffThread<Parsed>(this, std::move(work), [this](Parsed parsed) {
            if (isDone()) {
                return;
            }
            // Lines written on the worker are replayed here, so the log sink sees one thread.
            for (const QString& line : parsed.second) {
                writeLog(line);
            }
            deliver(std::move(parsed.first));
        });
    }

    void failed(const GeminiFailure& failure) override {
        Outcome outcome = m_failure(failure);
        stamp(outcome, requestBytes(), seconds());
        deliver(std::move(outcome));
    }

private:
    void deliver(Outcome outcome) {
        auto done = std::move(m_completion);
        finish();
        if (done) {
            done(std::move(outcome));
        }
    }

    Parser m_parse;
    FailureOutcome m_failure;
    std::function<void(Outcome)> m_completion;
};

} // namespace vellumix::detail
