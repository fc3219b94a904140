#include "GeminiError.h"

#include "ConsoleText.h"

namespace vellumix {

GeminiError GeminiError::http(int statusCode, QString body) {
    GeminiError e;
    e.kind = Kind::http;
    e.statusCode = statusCode;
    e.body = std::move(body);
    return e;
}

GeminiError GeminiError::decode(QString message) {
    GeminiError e;
    e.kind = Kind::decode;
    e.message = std::move(message);
    return e;
}

GeminiError GeminiError::missingKey() {
    GeminiError e;
    e.kind = Kind::missingKey;
    return e;
}

GeminiError GeminiError::noResponse() {
    GeminiError e;
    e.kind = Kind::noResponse;
    return e;
}

QString GeminiError::text() const {
    switch (kind) {
    case Kind::http:
        return QStringLiteral("Gemini API error %1: ").arg(statusCode) + body;
    case Kind::decode:
        return QStringLiteral("Couldn't parse Gemini response: ") + message;
    case Kind::missingKey:
        return QStringLiteral("Gemini API key missing. Add one in Settings.");
    case Kind::noResponse:
        break;
    }
    return QStringLiteral("Gemini returned no content.");
}

namespace {

QString ownDescription(const GeminiFailure& failure) {
    if (const auto* error = std::get_if<GeminiError>(&failure)) {
        return error->text();
    }
    return std::get<GeminiNetworkError>(failure).description;
}

} // namespace

QString geminiErrorText(const GeminiFailure& failure) {
    const auto* network = std::get_if<GeminiNetworkError>(&failure);
    if (network && network->kind == GeminiNetworkError::Kind::connectionLost) {
        return QStringLiteral(
            "Gemini closed the connection mid-response. This usually means the request was still "
            "processing on Google's side when an intermediate timeout fired — common on the Pro "
            "tier with complex prompts. Try again, or switch to Flash for faster turnaround.");
    }
    return ownDescription(failure);
}

QString geminiErrorLogLine(const GeminiFailure& failure) {
    const QString type = std::holds_alternative<GeminiError>(failure)
                             ? QStringLiteral("GeminiError")
                             : QStringLiteral("NetworkError");
    // An HTTP error's text holds the server's body.
    return console::appLine(QStringLiteral("Gemini error: ")) + type + QStringLiteral(" — ") +
           console::excerpt(ownDescription(failure));
}

} // namespace vellumix
