#pragma once

#include "ai/Directives.h"
#include "ai/Routing.h"

#include <QByteArray>
#include <QString>

#include <nlohmann/json.hpp>
#include <optional>
#include <variant>

namespace vellumix {

/// One step of a local model request as the assistant panel follows it.
struct AIEvent {
    enum class Kind { statusChanged, textUpdated, failed, complete };
    Kind kind = Kind::complete;
    /// The status, the whole answer so far, or the failure message; empty for `complete`.
    QString text;

    static AIEvent status(QString text) { return {Kind::statusChanged, std::move(text)}; }
    static AIEvent textSoFar(QString text) { return {Kind::textUpdated, std::move(text)}; }
    static AIEvent failure(QString text) { return {Kind::failed, std::move(text)}; }
    static AIEvent completion() { return {Kind::complete, {}}; }
    friend bool operator==(const AIEvent&, const AIEvent&) = default;
};

/// Why a local model request failed: a type name for the console and a description the user
/// can act on (may be empty when the server said nothing useful).
struct LocalModelError {
    QString type;
    QString description;
    friend bool operator==(const LocalModelError&, const LocalModelError&) = default;
};
template <class T> using LocalResult = std::variant<T, LocalModelError>;

/// "Q&A", "annotation-edit" or "image-edit".
QString localOperationLabel(QueryRoute route);
/// "[Vellumix] AI " + op + " error: " + type + " — " + description
QString localErrorLogLine(const QString& operation, const LocalModelError& error);
/// The description, or "Local model " + op + " failed (" + type + "). Try rephrasing the prompt."
QString localErrorUserText(const QString& operation, const LocalModelError& error);

/// An HTTP error answer: llama.cpp's and the OpenAI form {"error":{"message","type"}}, Ollama's
/// native {"error":"…"}, or anything else.
LocalModelError localHttpError(int status, const QByteArray& body);
LocalModelError localNetworkError(const QString& description);
/// An answer over `localmodel::maxResponseBytes`, whole or streamed.
LocalModelError localTooLargeError();

/// The server's state from its answer to GET /v1/models (no status: nothing answered), and
/// the model to name in requests when it is ready.
struct LocalModelStatus {
    LocalModelAvailability availability = LocalModelAvailability::serverNotRunning;
    QString model;
    friend bool operator==(const LocalModelStatus&, const LocalModelStatus&) = default;
};
LocalModelStatus localModelStatus(std::optional<int> httpStatus, const QByteArray& body);

/// Decodes a streamed chat completion (server-sent events) as its bytes arrive, in pieces of
/// any size. Keeps the whole text so far; comment pings are ignored; a mid-stream error, in
/// either the `data: {"error":…}` or the older `error: {…}` form, ends the stream, and so does
/// a stream longer than `localmodel::maxResponseBytes` (one endless line would be kept whole).
class ChatStreamDecoder {
public:
    /// Returns whether the text grew.
    bool feed(const QByteArray& bytes);
    const QString& text() const { return m_text; }
    /// The error that ended the stream early, if any.
    const std::optional<LocalModelError>& error() const { return m_error; }
    bool sawDone() const { return m_done; }
    /// Once the connection has closed: the reason the answer cannot stand (an error, a cut-off,
    /// an unfinished stream or nothing at all), or none when it is complete.
    std::optional<LocalModelError> endOfStream();

private:
    bool handleLine(const QByteArray& line);
    bool handleData(const QByteArray& payload);

    QByteArray m_pending;
    qint64 m_received = 0;
    QString m_text;
    std::optional<QString> m_finishReason;
    std::optional<LocalModelError> m_error;
    bool m_done = false;
};

/// Whether `value` fits `schema` (objects with required properties and no others, the types
/// string, integer, number and boolean, and enumerations); the first mismatch when not. The
/// schema is read as plain JSON (key order does not matter here) so values compare like with like.
std::optional<QString> schemaMismatch(const nlohmann::json& value, const nlohmann::json& schema);

/// A non-streamed chat completion's message text; a cut-off or empty answer is an error.
LocalResult<QString> chatAnswerContent(const QByteArray& body);
/// The structured answers, each checked against the schema it was asked for.
LocalResult<AICanvasDirectivePublic> parseLocalAnnotationAnswer(const QByteArray& body);
LocalResult<FilterDirectivePublic> parseLocalFilterAnswer(const QByteArray& body);
LocalResult<QueryRoute> parseLocalRouteAnswer(const QByteArray& body);

} // namespace vellumix
