#include "LocalModelResponses.h"

#include "ai/ConsoleText.h"
#include "ai/LocalModelRequests.h"

#include <cmath>

namespace vellumix {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

json parseJson(const QByteArray& bytes) {
    return json::parse(bytes.begin(), bytes.end(), nullptr, false);
}

QString stringAt(const json& object, const char* key) {
    const auto it = object.find(key);
    return it != object.end() && it->is_string() ? QString::fromStdString(it->get<std::string>())
                                                 : QString();
}

// The error object of an answer or of a stream event, in the forms servers send.
std::optional<LocalModelError> errorFrom(const json& value) {
    if (!value.is_object() || !value.contains("error")) {
        return std::nullopt;
    }
    const json& error = value["error"];
    if (error.is_string()) {
        return LocalModelError{QStringLiteral("server_error"),
                               QString::fromStdString(error.get<std::string>())};
    }
    if (!error.is_object()) {
        return LocalModelError{QStringLiteral("server_error"), QString()};
    }
    QString type = stringAt(error, "type");
    return LocalModelError{type.isEmpty() ? QStringLiteral("server_error") : type,
                           stringAt(error, "message")};
}

LocalModelError cutOff() {
    return {QStringLiteral("CutOffAnswer"),
            QStringLiteral("The local model's answer was cut off before it was complete (its "
                           "length limit was reached). Try a shorter request or a larger "
                           "context size.")};
}

LocalModelError emptyAnswer() {
    return {QStringLiteral("EmptyAnswer"), QStringLiteral("The local model returned no answer.")};
}

LocalModelError invalidAnswer(const char* what, const QString& why) {
    return {QStringLiteral("InvalidAnswer"),
            QStringLiteral("The local model's answer is not a valid %1 (%2).")
                .arg(QLatin1String(what), why)};
}

bool isIntegral(const json& value) {
    if (value.is_number_integer()) {
        return true;
    }
    if (!value.is_number_float()) {
        return false;
    }
    const double v = value.get<double>();
    return std::isfinite(v) && v == std::trunc(v);
}

bool hasType(const json& value, const std::string& type) {
    if (type == "string") {
        return value.is_string();
    }
    if (type == "integer") {
        return isIntegral(value);
    }
    if (type == "number") {
        return value.is_number();
    }
    if (type == "boolean") {
        return value.is_boolean();
    }
    if (type == "object") {
        return value.is_object();
    }
    return false;
}

// The content as JSON, checked against its schema.
LocalResult<json> structuredAnswer(const QByteArray& body, const char* what, const json& schema) {
    LocalResult<QString> content = chatAnswerContent(body);
    if (const auto* error = std::get_if<LocalModelError>(&content)) {
        return *error;
    }
    const QByteArray text = std::get<QString>(content).toUtf8();
    json value = parseJson(text);
    if (value.is_discarded()) {
        return invalidAnswer(what, QStringLiteral("not JSON"));
    }
    if (auto mismatch = schemaMismatch(value, schema)) {
        return invalidAnswer(what, *mismatch);
    }
    return value;
}

} // namespace

QString localOperationLabel(QueryRoute route) {
    switch (route) {
    case QueryRoute::annotationEdit:
        return QStringLiteral("annotation-edit");
    case QueryRoute::imageEdit:
        return QStringLiteral("image-edit");
    case QueryRoute::question:
        break;
    }
    return QStringLiteral("Q&A");
}

QString localErrorLogLine(const QString& operation, const LocalModelError& error) {
    // Both parts can come from the server's body; together they stay within the limit.
    constexpr int typeLimit = 40;
    return console::appLine(QStringLiteral("AI ")) + operation + QStringLiteral(" error: ") +
           console::excerpt(error.type, typeLimit) + QStringLiteral(" — ") +
           console::excerpt(error.description, console::serverTextLimit - typeLimit);
}

QString localErrorUserText(const QString& operation, const LocalModelError& error) {
    if (!error.description.isEmpty()) {
        return error.description;
    }
    return QStringLiteral("Local model ") + operation + QStringLiteral(" failed (") + error.type +
           QStringLiteral("). Try rephrasing the prompt.");
}

LocalModelError localHttpError(int status, const QByteArray& body) {
    if (auto error = errorFrom(parseJson(body))) {
        if (error->description.isEmpty()) {
            error->description =
                QStringLiteral("The local model server answered HTTP %1.").arg(status);
        }
        return *error;
    }
    return {QStringLiteral("HTTP %1").arg(status),
            QStringLiteral("The local model server answered HTTP %1.").arg(status)};
}

LocalModelError localNetworkError(const QString& description) {
    return {QStringLiteral("NetworkError"), description};
}

LocalModelError localTooLargeError() {
    return {QStringLiteral("TooLarge"),
            QStringLiteral("The local model server's answer was too large.")};
}

LocalModelStatus localModelStatus(std::optional<int> httpStatus, const QByteArray& body) {
    using A = LocalModelAvailability;
    if (!httpStatus) {
        return {A::serverNotRunning, {}};
    }
    if (*httpStatus == 503) {
        return {A::loading, {}};
    }
    if (*httpStatus != 200) {
        return {A::otherUnavailable, {}};
    }
    const json list = parseJson(body);
    if (!list.is_object() || !list.contains("data") || !list["data"].is_array()) {
        return {A::otherUnavailable, {}};
    }
    for (const json& model : list["data"]) {
        if (model.is_object()) {
            if (const QString id = stringAt(model, "id"); !id.isEmpty()) {
                return {A::available, id};
            }
        }
    }
    return {A::noModelLoaded, {}};
}

bool ChatStreamDecoder::feed(const QByteArray& bytes) {
    if (m_done || m_error) {
        return false;
    }
    m_received += bytes.size();
    if (m_received > localmodel::maxResponseBytes) {
        m_error = localTooLargeError();
        m_pending.clear();
        return false;
    }
    m_pending += bytes;
    bool grew = false;
    qsizetype newline;
    while (!m_done && !m_error && (newline = m_pending.indexOf('\n')) >= 0) {
        QByteArray line = m_pending.left(newline);
        m_pending.remove(0, newline + 1);
        if (line.endsWith('\r')) {
            line.chop(1);
        }
        grew = handleLine(line) || grew;
    }
    return grew;
}

bool ChatStreamDecoder::handleLine(const QByteArray& line) {
    if (line.isEmpty() || line.startsWith(':')) {
        return false; // event separator or keep-alive ping
    }
    if (line.startsWith("data:")) {
        return handleData(line.mid(5).trimmed());
    }
    if (line.startsWith("error:")) {
        // Older servers sent the error object itself on its own kind of line.
        const QByteArray payload = line.mid(6).trimmed();
        const json value = parseJson(payload);
        m_error = value.is_discarded()
                      ? LocalModelError{QStringLiteral("server_error"), QString::fromUtf8(payload)}
                      : errorFrom(json{{"error", value}}).value_or(LocalModelError{});
        return false;
    }
    return false; // event:, id:, retry: carry nothing we use
}

bool ChatStreamDecoder::handleData(const QByteArray& payload) {
    if (payload == "[DONE]") {
        m_done = true;
        return false;
    }
    const json chunk = parseJson(payload);
    if (chunk.is_discarded()) {
        m_error = LocalModelError{QStringLiteral("InvalidStream"),
                                  QStringLiteral("The local model server sent an unreadable "
                                                 "stream event.")};
        return false;
    }
    if (auto error = errorFrom(chunk)) {
        m_error = *error;
        return false;
    }
    const auto choices = chunk.find("choices");
    if (choices == chunk.end() || !choices->is_array() || choices->empty() ||
        !(*choices)[0].is_object()) {
        return false;
    }
    const json& choice = (*choices)[0];
    if (const QString reason = stringAt(choice, "finish_reason"); !reason.isEmpty()) {
        m_finishReason = reason;
    }
    const auto delta = choice.find("delta");
    if (delta == choice.end() || !delta->is_object()) {
        return false;
    }
    const QString piece = stringAt(*delta, "content");
    m_text += piece;
    return !piece.isEmpty();
}

std::optional<LocalModelError> ChatStreamDecoder::endOfStream() {
    if (!m_done && !m_error && !m_pending.isEmpty()) {
        feed(QByteArrayLiteral("\n")); // a last line without its newline
    }
    if (m_error) {
        return m_error;
    }
    if (m_finishReason == QLatin1String("length")) {
        return cutOff();
    }
    if (!m_done && !m_finishReason) {
        return LocalModelError{QStringLiteral("IncompleteStream"),
                               QStringLiteral("The local model server closed the connection "
                                              "before the answer was complete.")};
    }
    if (m_text.isEmpty()) {
        return emptyAnswer();
    }
    return std::nullopt;
}

std::optional<QString> schemaMismatch(const json& value, const json& schema) {
    const std::string type = schema.value("type", std::string());
    if (!type.empty() && !hasType(value, type)) {
        return QStringLiteral("expected %1").arg(QString::fromStdString(type));
    }
    if (const auto values = schema.find("enum"); values != schema.end()) {
        const bool listed = std::any_of(values->begin(), values->end(),
                                        [&value](const json& v) { return v == value; });
        if (!listed) {
            return QStringLiteral("%1 is not one of the allowed values")
                .arg(QString::fromStdString(value.dump()));
        }
    }
    if (type != "object") {
        return std::nullopt;
    }
    const json& properties = schema["properties"];
    for (const auto& name : schema.value("required", json::array())) {
        if (!value.contains(name.get<std::string>())) {
            return QStringLiteral("\"%1\" is missing").arg(QString::fromStdString(name));
        }
    }
    for (const auto& [name, member] : value.items()) {
        const auto property = properties.find(name);
        if (property == properties.end()) {
            if (schema.value("additionalProperties", true)) {
                continue;
            }
            return QStringLiteral("unexpected \"%1\"").arg(QString::fromStdString(name));
        }
        if (auto inner = schemaMismatch(member, *property)) {
            return QStringLiteral("\"%1\": %2").arg(QString::fromStdString(name), *inner);
        }
    }
    return std::nullopt;
}

LocalResult<QString> chatAnswerContent(const QByteArray& body) {
    const json answer = parseJson(body);
    if (auto error = errorFrom(answer)) {
        return *error;
    }
    if (!answer.is_object() || !answer.contains("choices") || !answer["choices"].is_array() ||
        answer["choices"].empty() || !answer["choices"][0].is_object()) {
        return invalidAnswer("chat completion", QStringLiteral("no choices"));
    }
    const json& choice = answer["choices"][0];
    if (stringAt(choice, "finish_reason") == QLatin1String("length")) {
        return cutOff();
    }
    const auto message = choice.find("message");
    const QString content =
        message != choice.end() && message->is_object() ? stringAt(*message, "content") : QString();
    if (content.trimmed().isEmpty()) {
        return emptyAnswer();
    }
    return content;
}

LocalResult<AICanvasDirectivePublic> parseLocalAnnotationAnswer(const QByteArray& body) {
    LocalResult<json> value =
        structuredAnswer(body, "AICanvasDirective", annotationDirectiveSchema());
    if (const auto* error = std::get_if<LocalModelError>(&value)) {
        return *error;
    }
    return AICanvasDirectivePublic::fromJson(std::get<json>(value));
}

LocalResult<FilterDirectivePublic> parseLocalFilterAnswer(const QByteArray& body) {
    LocalResult<json> parsed = structuredAnswer(body, "FilterDirective", filterDirectiveSchema());
    if (const auto* error = std::get_if<LocalModelError>(&parsed)) {
        return *error;
    }
    const json& value = std::get<json>(parsed);
    FilterDirectivePublic filter;
    filter.shouldApply = value["shouldApply"].get<bool>();
    filter.kind = stringAt(value, "kind");
    filter.strength = value["strength"].get<double>();
    filter.summary = stringAt(value, "summary");
    if (!(filter.strength >= 0 && filter.strength <= 1)) {
        return invalidAnswer("FilterDirective", QStringLiteral("\"strength\" outside 0 to 1"));
    }
    return filter;
}

LocalResult<QueryRoute> parseLocalRouteAnswer(const QByteArray& body) {
    LocalResult<json> parsed = structuredAnswer(body, "QueryRoute", routeSchema());
    if (const auto* error = std::get_if<LocalModelError>(&parsed)) {
        return *error;
    }
    // The schema allows only the three raw values, so this decodes.
    const auto route = parseEnum<QueryRoute>(stringAt(std::get<json>(parsed), "route"));
    if (!route) {
        return invalidAnswer("QueryRoute", QStringLiteral("unknown route"));
    }
    return *route;
}

} // namespace vellumix
