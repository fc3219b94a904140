#pragma once

#include "ai/LocalModelResponses.h"

#include <QPointer>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

class QNetworkAccessManager;

namespace vellumix {

namespace detail {
class LocalCallRunner;
} // namespace detail

/// A running local model request. Destroying it cancels the request; once cancelled, no
/// callback runs.
class LocalModelCall {
public:
    explicit LocalModelCall(detail::LocalCallRunner* runner);
    ~LocalModelCall();
    LocalModelCall(const LocalModelCall&) = delete;
    LocalModelCall& operator=(const LocalModelCall&) = delete;

    void cancel();
    bool isRunning() const;

private:
    QPointer<detail::LocalCallRunner> m_runner;
};

/// The local model provider: a llama-server or Ollama on this computer, spoken to through the
/// OpenAI-compatible chat API. Every request first asks the server which model it serves (so a
/// server started or reloaded in the meantime is picked up), then runs as a fresh conversation.
/// Calls are made and answered on the thread that made the service (it needs a running event
/// loop). Nothing is retried.
class AIService {
public:
    using EventCallback = std::function<void(const AIEvent&)>;
    using Log = std::function<void(const QString&)>;

    struct Options {
        /// Addresses to try in order; `defaultBaseUrls()` unless a test points elsewhere.
        QStringList baseUrls;
        /// How long the server has to answer the model list before it counts as not running.
        std::chrono::milliseconds probeTimeout{3'000};
        /// Longest silence on a request's connection before it fails (a CPU model can take a
        /// while before its first token).
        std::chrono::milliseconds requestTimeout{180'000};
        /// Receives every console line; standard output when empty.
        Log log;
    };

    AIService();
    explicit AIService(Options options);
    ~AIService();

    /// $VELLUMIX_LOCAL_MODEL_URL, else the "localModelURL" setting (and Ollama's address when
    /// that is the default); none when the setting is empty.
    static QStringList defaultBaseUrls();

    /// The instruction texts, set to the standard ones at creation.
    QString questionInstructionsText;
    QString annotationEditInstructionsText;
    QString imageEditInstructionsText;

    /// The server's state and model, for the prompt field.
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    checkAvailability(std::function<void(LocalModelStatus)> done);
    /// The model's route for the query; none when it is unavailable or fails (logged).
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    classify(const QString& query, std::function<void(std::optional<QueryRoute>)> done);
    /// Streams `textUpdated` with the whole answer so far, then "Done" and `complete`.
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    answerQuestion(const QString& query, const QString& context, EventCallback events);
    /// `result` runs once with a validated directive, before "Done" and `complete`; on any
    /// failure only `failed` is sent.
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    editAnnotations(const QString& query, const QString& context, EventCallback events,
                    std::function<void(AICanvasDirectivePublic)> result);
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    editImage(const QString& query, const QString& context, EventCallback events,
              std::function<void(FilterDirectivePublic)> result);

private:
    detail::LocalCallRunner* makeRunner() const;
    template <class T>
    std::unique_ptr<LocalModelCall>
    structuredEdit(QueryRoute route, const QString& query, const QString& context,
                   EventCallback events, std::function<LocalResult<T>(const QByteArray&)> parse,
                   std::function<void(T)> result);

    Options m_options;
    mutable std::shared_ptr<QNetworkAccessManager> m_network;
};

} // namespace vellumix
