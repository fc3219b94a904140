#pragma once

#include <QString>

#include <variant>

namespace vellumix {

/// A failure of the cloud client itself; `text()` is what the user sees.
struct GeminiError {
    enum class Kind { http, decode, missingKey, noResponse };

    Kind kind = Kind::noResponse;
    int statusCode = 0; ///< http only
    QString body;       ///< http only
    QString message;    ///< decode only

    static GeminiError http(int statusCode, QString body);
    static GeminiError decode(QString message);
    static GeminiError missingKey();
    static GeminiError noResponse();

    QString text() const;
    friend bool operator==(const GeminiError&, const GeminiError&) = default;
};

/// A failure below HTTP: the connection, a timeout or the socket layer.
struct GeminiNetworkError {
    enum class Kind { connectionLost, timedOut, other };

    Kind kind = Kind::other;
    QString description;
    friend bool operator==(const GeminiNetworkError&, const GeminiNetworkError&) = default;
};

/// Why a call failed.
using GeminiFailure = std::variant<GeminiError, GeminiNetworkError>;
/// A parser's answer: the result or the client's error.
template <class T> using GeminiParsed = std::variant<T, GeminiError>;
/// A call's answer: the result or why it failed.
template <class T> using GeminiOutcome = std::variant<T, GeminiFailure>;

/// The text the assistant panel shows for a failure.
QString geminiErrorText(const GeminiFailure& failure);
/// The console line written when a failure is shown: "[Vellumix] Gemini error: type — text".
QString geminiErrorLogLine(const GeminiFailure& failure);

} // namespace vellumix
