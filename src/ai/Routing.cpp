#include "Routing.h"

#include "ai/ConsoleText.h"

namespace vellumix {

namespace {

// Checked in this order, prefixes first; blanks inside the phrases matter.
const QStringList questionPrefixes{"what ",    "which ",    "where ",   "why ",      "when ",
                                   "how many", "how much",  "how big",  "how large", "how do",
                                   "is there", "are there", "is the",   "are the",   "is this",
                                   "is that",  "does it",   "does the", "do you",    "do i",
                                   "did i",    "list ",     "show me ", "tell me ",  "describe"};
const QStringList imageEditPhrases{
    " sharpen",    " sharper",   " sharpness",  " crisper",         " blur",    " blurry",
    " brighten",   " brighter",  " brightness", " lighter",         " darken",  " darker",
    " contrast",   " contrasty", " saturate",   " saturation",      " vivid",   " vibrant",
    " desaturate", " vignette",  " denoise",    " noise reduction", " exposure"};
const QStringList annotationPhrases{
    " circle ",   " draw ",     " add a ",    " add an ",          " place ",       " apply ",
    " put ",      " label ",    " caption ",  " annotate ",        " write ",       " highlight ",
    " point to ", " point at ", " arrow ",    " recolor",          " color it ",    " color the ",
    " make it ",  " make my ",  " make all ", " make the ",        " move ",        " align ",
    " delete ",   " remove ",   " restyle ",  " change the color", " set the color"};

bool containsAny(const QString& text, const QStringList& phrases) {
    return std::any_of(phrases.begin(), phrases.end(),
                       [&text](const QString& p) { return text.contains(p); });
}

QString routeName(std::optional<QueryRoute> route) {
    return route ? rawValue(*route) : QStringLiteral("nil");
}

} // namespace

QString providerTitle(AIProvider provider) {
    switch (provider) {
    case AIProvider::googleGeminiFlash:
        return QStringLiteral("Google Gemini (Flash)");
    case AIProvider::googleGeminiPro:
        return QStringLiteral("Google Gemini (Pro)");
    case AIProvider::localModel:
        break;
    }
    return QStringLiteral("Local model");
}

bool isCloudProvider(AIProvider provider) {
    return provider != AIProvider::localModel;
}

std::optional<QueryRoute> fastRoute(const QString& query) {
    const QString s = query.trimmed().toLower();
    if (std::any_of(questionPrefixes.begin(), questionPrefixes.end(),
                    [&s](const QString& p) { return s.startsWith(p); })) {
        return QueryRoute::question;
    }
    const QString padded = QLatin1Char(' ') + s + QLatin1Char(' ');
    if (containsAny(padded, imageEditPhrases)) {
        return QueryRoute::imageEdit;
    }
    if (containsAny(padded, annotationPhrases)) {
        return QueryRoute::annotationEdit;
    }
    return std::nullopt;
}

QueryRoute decideRoute(std::optional<QueryRoute> llm, std::optional<QueryRoute> fast) {
    return llm ? *llm : fast.value_or(QueryRoute::question);
}

QString routeLogLine(AIProvider provider, std::optional<QueryRoute> llm,
                     std::optional<QueryRoute> fast, QueryRoute route, const QString& query) {
    const QString prefix = isCloudProvider(provider)
                               ? console::appLine(QStringLiteral("Gemini route: llm="))
                               : console::appLine(QStringLiteral("AI route: llm="));
    return prefix + routeName(llm) + QStringLiteral(" fast=") + routeName(fast) +
           QStringLiteral(" → ") + rawValue(route) + QStringLiteral("  query=\"") + query +
           QLatin1Char('"');
}

std::optional<QString> unavailabilityText(LocalModelAvailability availability) {
    switch (availability) {
    case LocalModelAvailability::serverNotRunning:
        return QStringLiteral("Local model server not running");
    case LocalModelAvailability::noModelLoaded:
        return QStringLiteral("No model loaded in the local server");
    case LocalModelAvailability::notEnabled:
        return QStringLiteral("Start llama-server or Ollama, or set its address in Settings");
    case LocalModelAvailability::loading:
        return QStringLiteral("Local model loading…");
    case LocalModelAvailability::available:
    case LocalModelAvailability::otherUnavailable:
        break;
    }
    return std::nullopt;
}

PromptFieldState promptFieldState(AIProvider provider, bool hasApiKey,
                                  LocalModelAvailability localModel) {
    if (isCloudProvider(provider)) {
        if (!hasApiKey) {
            return {false, QStringLiteral("Provide your Gemini API key in Settings")};
        }
        const QString variant = provider == AIProvider::googleGeminiPro ? QStringLiteral("Pro")
                                                                        : QStringLiteral("Flash");
        return {true, QStringLiteral("Ask Gemini (Nano Banana) ") + variant + QStringLiteral("…")};
    }
    if (localModel == LocalModelAvailability::available) {
        return {true, QStringLiteral("Ask the local model…")};
    }
    return {false,
            unavailabilityText(localModel).value_or(QStringLiteral("Local model unavailable"))};
}

} // namespace vellumix
