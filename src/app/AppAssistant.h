#pragma once

#include "ai/AIService.h"
#include "ai/GeminiService.h"
#include "ai/Routing.h"

#include <memory>
#include <optional>

namespace vellumix {

class DocumentOpener;
class Keychain;
class Settings;

/// The assistant's side of the application: the model clients every editor window shares (and
/// that outlive them), and the prompt field's state. Whether a cloud key is stored is read when
/// the first window needs it and again after each change in the settings window; the local
/// model server is asked for its state whenever a window opens, and the open windows follow
/// its answer.
class AppAssistant {
public:
    AppAssistant(DocumentOpener& opener, Settings& settings, Keychain& keychain);
    AppAssistant(const AppAssistant&) = delete;
    AppAssistant& operator=(const AppAssistant&) = delete;

    /// The key was saved or removed in the settings window.
    void apiKeyChanged();

private:
    PromptFieldState promptFieldState();

    DocumentOpener& m_opener;
    Settings& m_settings;
    Keychain& m_keychain;
    GeminiService m_gemini;
    AIService m_localModel;
    std::optional<bool> m_hasApiKey;
    LocalModelAvailability m_localAvailability = LocalModelAvailability::otherUnavailable;
    std::unique_ptr<LocalModelCall> m_availabilityCheck;
    bool m_applyingCheck = false;
};

} // namespace vellumix
