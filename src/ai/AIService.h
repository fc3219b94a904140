#pragma once

#include "ai/LocalModelClient.h"

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

/// The local model provider: a llama-server or Ollama on this computer, spoken to through the
/// OpenAI-compatible chat API. Every request first asks the server which model it serves (so a
/// server started or reloaded in the meantime is picked up), then runs as a fresh conversation.
/// Calls are made and answered on the thread that made the service (it needs a running event
/// loop). Nothing is retried.
class AIService final : public LocalModelClient {
public:
    using Log = std::function<void(const QString&)>;
    using Options = LocalClientOptions;

    AIService();
    explicit AIService(Options options);
    ~AIService() override;

    /// $VELLUMIX_LOCAL_MODEL_URL, else the "localModelURL" setting (and Ollama's address when
    /// that is the default); none when the setting is empty.
    static QStringList defaultBaseUrls();

    /// The instruction texts, set to the standard ones at creation.
    QString questionInstructionsText;
    QString annotationEditInstructionsText;
    QString imageEditInstructionsText;

    /// The server's state and model, for the prompt field.
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    checkAvailability(std::function<void(LocalModelStatus)> done) override;
    /// The model's route for the query; none when it is unavailable or fails (logged).
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    classify(const QString& query, std::function<void(std::optional<QueryRoute>)> done) override;
    /// Streams `textUpdated` with the whole answer so far, then "Done" and `complete`.
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    answerQuestion(const QString& query, const QString& context, EventCallback events) override;
    /// `result` runs once with a validated directive, before "Done" and `complete`; on any
    /// failure only `failed` is sent.
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    editAnnotations(const QString& query, const QString& context, EventCallback events,
                    std::function<void(AICanvasDirectivePublic)> result) override;
    [[nodiscard]] std::unique_ptr<LocalModelCall>
    editImage(const QString& query, const QString& context, EventCallback events,
              std::function<void(FilterDirectivePublic)> result) override;

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
