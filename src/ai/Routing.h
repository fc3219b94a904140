#pragma once

#include "Directives.h"
#include "library/Settings.h"

#include <optional>

namespace vellumix {

/// The provider's name as the menu shows it.
QString providerTitle(AIProvider provider);
bool isCloudProvider(AIProvider provider);

/// The keyword heuristic: question prefixes, then image-edit phrases, then annotation phrases.
std::optional<QueryRoute> fastRoute(const QString& query);
/// The classifier wins when it answered, then the heuristic, else question.
QueryRoute decideRoute(std::optional<QueryRoute> llm, std::optional<QueryRoute> fast);
/// The console line for one routed request.
QString routeLogLine(AIProvider provider, std::optional<QueryRoute> llm,
                     std::optional<QueryRoute> fast, QueryRoute route, const QString& query);

/// Whether the local model server can answer, and if not, why.
enum class LocalModelAvailability {
    available,
    serverNotRunning, ///< nothing answers at the address
    noModelLoaded,    ///< the server lists no model
    notEnabled,       ///< the address setting is empty
    loading,          ///< the server answers 503 while it loads the model
    otherUnavailable
};
std::optional<QString> unavailabilityText(LocalModelAvailability availability);

/// The prompt field: whether it takes input and what it says when empty.
struct PromptFieldState {
    bool enabled = false;
    QString placeholder;
    friend bool operator==(const PromptFieldState&, const PromptFieldState&) = default;
};
PromptFieldState promptFieldState(AIProvider provider, bool hasApiKey,
                                  LocalModelAvailability localModel);

/// The markdown shown by the provider's info button.
QString providerTips(AIProvider provider);

} // namespace vellumix
