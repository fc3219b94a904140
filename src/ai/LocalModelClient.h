#pragma once

#include "ai/LocalModelResponses.h"

#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace vellumix {

/// A running local model request. Destroying it cancels the request; once cancelled, no
/// callback runs.
class LocalModelCall {
public:
    LocalModelCall() = default;
    virtual ~LocalModelCall() = default;
    LocalModelCall(const LocalModelCall&) = delete;
    LocalModelCall& operator=(const LocalModelCall&) = delete;

    virtual void cancel() = 0;
    virtual bool isRunning() const = 0;
};

struct LocalClientOptions {
    /// Addresses to try in order; `AIService::defaultBaseUrls()` unless a test points
    /// elsewhere.
    QStringList baseUrls;
    /// How long the server has to answer the model list before it counts as not running.
    std::chrono::milliseconds probeTimeout{3'000};
    /// Longest silence on a request's connection before it fails (a CPU model can take a
    /// while before its first token).
    std::chrono::milliseconds requestTimeout{180'000};
    /// Receives every console line; standard output when empty.
    std::function<void(const QString&)> log;
};

/// The local model's client as the assistant uses it. The network code behind it (AIService)
/// lives in the assistant module, so that only a process that talks to a model maps the network
/// stack. Calls are made and answered on the thread that made the client.
class LocalModelClient {
public:
    using EventCallback = std::function<void(const AIEvent&)>;

    LocalModelClient() = default;
    virtual ~LocalModelClient() = default;
    LocalModelClient(const LocalModelClient&) = delete;
    LocalModelClient& operator=(const LocalModelClient&) = delete;

    /// The server's state and model, for the prompt field.
    [[nodiscard]] virtual std::unique_ptr<LocalModelCall>
    checkAvailability(std::function<void(LocalModelStatus)> done) = 0;
    /// The model's route for the query; none when it is unavailable or fails (logged).
    [[nodiscard]] virtual std::unique_ptr<LocalModelCall>
    classify(const QString& query, std::function<void(std::optional<QueryRoute>)> done) = 0;
    /// Streams `textUpdated` with the whole answer so far, then "Done" and `complete`.
    [[nodiscard]] virtual std::unique_ptr<LocalModelCall>
    answerQuestion(const QString& query, const QString& context, EventCallback events) = 0;
    /// `result` runs once with a validated directive, before "Done" and `complete`; on any
    /// failure only `failed` is sent.
    [[nodiscard]] virtual std::unique_ptr<LocalModelCall>
    editAnnotations(const QString& query, const QString& context, EventCallback events,
                    std::function<void(AICanvasDirectivePublic)> result) = 0;
    [[nodiscard]] virtual std::unique_ptr<LocalModelCall>
    editImage(const QString& query, const QString& context, EventCallback events,
              std::function<void(FilterDirectivePublic)> result) = 0;
};

} // namespace vellumix
