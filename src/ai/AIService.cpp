#include "AIService.h"

#include "ai/ConsoleText.h"
#include "ai/LocalModelRequests.h"
#include "ai/RunnerCall.h"
#include "library/Settings.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>

namespace vellumix {

namespace detail {

/// One local request: the model-list probe, then at most one chat POST. Owned by nobody: it
/// deletes itself once finished or cancelled; `LocalModelCall` watches it through a QPointer.
class LocalCallRunner : public QObject {
public:
    struct Config {
        std::shared_ptr<QNetworkAccessManager> network;
        QStringList candidates;
        std::chrono::milliseconds probeTimeout;
        std::chrono::milliseconds requestTimeout;
        AIService::Log log;
    };
    /// An HTTP answer, or why there is none (`status` empty).
    struct Answer {
        std::optional<int> status;
        QByteArray body;
        std::optional<LocalModelError> transportError;
    };
    using ProbeDone = std::function<void(const LocalModelStatus&, const QString& baseUrl)>;
    /// Bytes of a successful streamed answer as they arrive.
    using Piece = std::function<void(const QByteArray&)>;

    explicit LocalCallRunner(Config config) : m_config(std::move(config)) {}

    void probe(ProbeDone done) {
        m_probeDone = std::move(done);
        if (m_config.candidates.isEmpty()) {
            soon([this] { m_probeDone({LocalModelAvailability::notEnabled, {}}, {}); });
            return;
        }
        probeAt(0);
    }

    void post(const QString& baseUrl, const QByteArray& body, Piece piece,
              std::function<void(const Answer&)> done) {
        QNetworkRequest request(
            localModelEndpoint(baseUrl, QStringLiteral("/v1/chat/completions")));
        request.setHeader(QNetworkRequest::ContentTypeHeader,
                          QByteArrayLiteral("application/json"));
        if (piece) {
            request.setRawHeader("Accept", "text/event-stream");
        }
        request.setTransferTimeout(int(m_config.requestTimeout.count()));
        QNetworkReply* reply = m_config.network->post(request, body);
        watch(reply, std::move(piece), std::move(done));
    }

    void cancel() {
        if (m_done) {
            return;
        }
        finish();
    }
    bool isDone() const { return m_done; }

    /// No more callbacks; the runner goes away once control returns to the event loop.
    void finish() {
        m_done = true;
        if (m_reply) {
            m_reply->disconnect(this);
            m_reply->abort();
            m_reply->deleteLater();
        }
        deleteLater();
    }

    void log(const QString& line) const {
        if (m_config.log) {
            m_config.log(line);
        } else {
            console::print(line);
        }
    }

    void soon(std::function<void()> work) {
        QTimer::singleShot(0, this, [this, work = std::move(work)] {
            if (!m_done) {
                work();
            }
        });
    }

private:
    void probeAt(qsizetype index) {
        const QString base = m_config.candidates[index];
        QNetworkRequest request(localModelEndpoint(base, QStringLiteral("/v1/models")));
        request.setTransferTimeout(int(m_config.probeTimeout.count()));
        watch(m_config.network->get(request), {}, [this, index, base](const Answer& answer) {
            if (!answer.status && index + 1 < m_config.candidates.size()) {
                probeAt(index + 1); // nothing there: try the next address
                return;
            }
            m_probeDone(localModelStatus(answer.status, answer.body), base);
        });
    }

    // A successful streamed answer goes to `piece` as it arrives; anything else is kept whole.
    void read(QNetworkReply* reply, const Piece& piece) {
        if (!reply->isOpen() || reply->bytesAvailable() == 0) {
            return;
        }
        if (piece && reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200) {
            piece(reply->readAll());
            return;
        }
        m_body += reply->readAll();
        if (m_body.size() > localmodel::maxResponseBytes) {
            m_tooLarge = true;
            reply->abort();
        }
    }

    void watch(QNetworkReply* reply, Piece piece, std::function<void(const Answer&)> done) {
        m_reply = reply;
        connect(reply, &QNetworkReply::readyRead, this,
                [this, reply, piece] { read(reply, piece); });
        connect(
            reply, &QNetworkReply::finished, this, [this, reply, piece, done = std::move(done)] {
                if (m_done) {
                    return;
                }
                read(reply, piece); // whatever came in with the end
                if (m_done) {
                    return; // the last piece ended the call
                }
                m_reply = nullptr;
                reply->deleteLater();
                Answer answer;
                const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
                if (status.isValid()) {
                    answer.status = status.toInt();
                }
                answer.body = std::exchange(m_body, {});
                const auto error = reply->error();
                if (m_tooLarge) {
                    answer.transportError = localTooLargeError();
                } else if (error != QNetworkReply::NoError && answer.status.value_or(200) == 200) {
                    // An HTTP error status keeps its body; anything else is a transport failure.
                    const bool timedOut = error == QNetworkReply::OperationCanceledError ||
                                          error == QNetworkReply::TimeoutError;
                    answer.transportError =
                        timedOut ? LocalModelError{QStringLiteral("TimedOut"),
                                                   QStringLiteral("The local model server stopped "
                                                                  "answering.")}
                                 : localNetworkError(reply->errorString());
                }
                done(answer);
            });
    }

    Config m_config;
    ProbeDone m_probeDone;
    QPointer<QNetworkReply> m_reply;
    QByteArray m_body;
    bool m_tooLarge = false;
    bool m_done = false;
};

} // namespace detail

using detail::LocalCallRunner;
using detail::RunnerCall;

namespace {

// The text and console line of a failure, then the end of the call.
void failWith(LocalCallRunner* runner, const AIService::EventCallback& events,
              const QString& operation, const LocalModelError& error) {
    runner->log(localErrorLogLine(operation, error));
    runner->finish();
    events(AIEvent::failure(localErrorUserText(operation, error)));
}

// Why an HTTP answer is not a usable one, if it is not.
std::optional<LocalModelError> answerError(const LocalCallRunner::Answer& answer) {
    if (answer.transportError) {
        return answer.transportError;
    }
    if (!answer.status) {
        return localNetworkError(QStringLiteral("The local model server did not answer."));
    }
    if (*answer.status != 200) {
        return localHttpError(*answer.status, answer.body);
    }
    return std::nullopt;
}

// Unavailable servers end the call at once with the prompt field's wording.
bool failedUnavailable(LocalCallRunner* runner, const AIService::EventCallback& events,
                       const LocalModelStatus& status) {
    if (status.availability == LocalModelAvailability::available) {
        return false;
    }
    runner->finish();
    events(AIEvent::failure(
        unavailabilityText(status.availability).value_or(QStringLiteral("AI unavailable"))));
    return true;
}

} // namespace

AIService::AIService() : AIService(Options{}) {}

AIService::AIService(Options options)
    : questionInstructionsText(vellumix::questionInstructionsText())
    , annotationEditInstructionsText(vellumix::annotationEditInstructionsText())
    , imageEditInstructionsText(vellumix::imageEditInstructionsText())
    , m_options(std::move(options)) {
    if (m_options.baseUrls.isEmpty()) {
        m_options.baseUrls = defaultBaseUrls();
    }
}

AIService::~AIService() = default;

QStringList AIService::defaultBaseUrls() {
    return localModelCandidateUrls(qEnvironmentVariable("VELLUMIX_LOCAL_MODEL_URL"),
                                   Settings::shared().localModelURL());
}

LocalCallRunner* AIService::makeRunner() const {
    if (!m_network) {
        // Made on first use: the idle tray process has no need of the network stack.
        m_network = std::make_shared<QNetworkAccessManager>();
    }
    return new LocalCallRunner({m_network, m_options.baseUrls, m_options.probeTimeout,
                                m_options.requestTimeout, m_options.log});
}

std::unique_ptr<LocalModelCall>
AIService::checkAvailability(std::function<void(LocalModelStatus)> done) {
    LocalCallRunner* runner = makeRunner();
    runner->probe([runner, done = std::move(done)](const LocalModelStatus& status, const QString&) {
        runner->finish();
        done(status);
    });
    return std::make_unique<RunnerCall<LocalModelCall, LocalCallRunner>>(runner);
}

std::unique_ptr<LocalModelCall>
AIService::classify(const QString& query, std::function<void(std::optional<QueryRoute>)> done) {
    LocalCallRunner* runner = makeRunner();
    runner->probe([runner, query, done = std::move(done)](const LocalModelStatus& status,
                                                          const QString& base) {
        if (status.availability != LocalModelAvailability::available) {
            runner->finish();
            done(std::nullopt);
            return;
        }
        runner->post(base, localClassifyRequestBody(status.model, query), {},
                     [runner, done](const LocalCallRunner::Answer& answer) {
                         auto error = answerError(answer);
                         std::optional<QueryRoute> route;
                         if (!error) {
                             LocalResult<QueryRoute> parsed = parseLocalRouteAnswer(answer.body);
                             if (auto* failure = std::get_if<LocalModelError>(&parsed)) {
                                 error = *failure;
                             } else {
                                 route = std::get<QueryRoute>(parsed);
                             }
                         }
                         if (error) {
                             runner->log(console::appLine(QStringLiteral("LLM classify failed: ")) +
                                         console::excerpt(error->description.isEmpty()
                                                              ? error->type
                                                              : error->description));
                         }
                         runner->finish();
                         done(route);
                     });
    });
    return std::make_unique<RunnerCall<LocalModelCall, LocalCallRunner>>(runner);
}

std::unique_ptr<LocalModelCall>
AIService::answerQuestion(const QString& query, const QString& context, EventCallback events) {
    LocalCallRunner* runner = makeRunner();
    const QString operation = localOperationLabel(QueryRoute::question);
    const QString instructions = questionInstructionsText;
    runner->probe([=](const LocalModelStatus& status, const QString& base) {
        if (failedUnavailable(runner, events, status)) {
            return;
        }
        events(AIEvent::status(QStringLiteral("Thinking…")));
        if (runner->isDone()) {
            return; // cancelled by the status callback
        }
        auto decoder = std::make_shared<ChatStreamDecoder>();
        const QByteArray body = localQuestionRequestBody(
            status.model, instructions, localModelPrompt(QueryRoute::question, context, query));
        runner->post(
            base, body,
            [=](const QByteArray& bytes) {
                if (decoder->feed(bytes)) {
                    events(AIEvent::textSoFar(decoder->text()));
                }
                if (decoder->error() && !runner->isDone()) {
                    failWith(runner, events, operation, *decoder->error());
                }
            },
            [=](const LocalCallRunner::Answer& answer) {
                std::optional<LocalModelError> error = answerError(answer);
                if (!error) {
                    error = decoder->endOfStream();
                }
                if (error) {
                    failWith(runner, events, operation, *error);
                    return;
                }
                runner->finish();
                events(AIEvent::status(QStringLiteral("Done")));
                events(AIEvent::completion());
            });
    });
    return std::make_unique<RunnerCall<LocalModelCall, LocalCallRunner>>(runner);
}

template <class T>
std::unique_ptr<LocalModelCall> AIService::structuredEdit(
    QueryRoute route, const QString& query, const QString& context, EventCallback events,
    std::function<LocalResult<T>(const QByteArray&)> parse, std::function<void(T)> result) {
    LocalCallRunner* runner = makeRunner();
    const QString operation = localOperationLabel(route);
    const QString instructions = route == QueryRoute::annotationEdit
                                     ? annotationEditInstructionsText
                                     : imageEditInstructionsText;
    runner->probe([=](const LocalModelStatus& status, const QString& base) {
        if (failedUnavailable(runner, events, status)) {
            return;
        }
        events(AIEvent::status(QStringLiteral("Thinking…")));
        if (runner->isDone()) {
            return;
        }
        const QByteArray body =
            route == QueryRoute::annotationEdit
                ? localAnnotationEditRequestBody(status.model, instructions, context, query)
                : localImageEditRequestBody(status.model, instructions, context, query);
        runner->post(base, body, {}, [=](const LocalCallRunner::Answer& answer) {
            if (auto error = answerError(answer)) {
                failWith(runner, events, operation, *error);
                return;
            }
            LocalResult<T> parsed = parse(answer.body);
            if (auto* error = std::get_if<LocalModelError>(&parsed)) {
                failWith(runner, events, operation, *error);
                return;
            }
            runner->finish();
            result(std::get<T>(std::move(parsed)));
            events(AIEvent::status(QStringLiteral("Done")));
            events(AIEvent::completion());
        });
    });
    return std::make_unique<RunnerCall<LocalModelCall, LocalCallRunner>>(runner);
}

std::unique_ptr<LocalModelCall>
AIService::editAnnotations(const QString& query, const QString& context, EventCallback events,
                           std::function<void(AICanvasDirectivePublic)> result) {
    return structuredEdit<AICanvasDirectivePublic>(QueryRoute::annotationEdit, query, context,
                                                   std::move(events), parseLocalAnnotationAnswer,
                                                   std::move(result));
}

std::unique_ptr<LocalModelCall>
AIService::editImage(const QString& query, const QString& context, EventCallback events,
                     std::function<void(FilterDirectivePublic)> result) {
    return structuredEdit<FilterDirectivePublic>(QueryRoute::imageEdit, query, context,
                                                 std::move(events), parseLocalFilterAnswer,
                                                 std::move(result));
}

} // namespace vellumix
