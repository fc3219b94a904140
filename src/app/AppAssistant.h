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
/// that outlive them), and the prompt field's state. Whether a cloud key is stored is asked,
/// without waiting and without unlocking the keyring, when the first window needs it and again
/// after each change in the settings window; the open windows follow the answer. The local
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
    /// Not asked yet shows as no key until the answer comes; `unknown` (the store could not
    /// tell in time) as a key, which is then read when used.
    enum class KeyStored { notAsked, unknown, yes, no };

    PromptFieldState promptFieldState();
    void askWhetherKeyStored();

    DocumentOpener& m_opener;
    Settings& m_settings;
    Keychain& m_keychain;
    GeminiService m_gemini;
    AIService m_localModel;
    KeyStored m_keyStored = KeyStored::notAsked;
    bool m_askingKey = false;
    int m_keyQuestion = 0;
    LocalModelAvailability m_localAvailability = LocalModelAvailability::otherUnavailable;
    std::unique_ptr<LocalModelCall> m_availabilityCheck;
    bool m_applyingCheck = false;
    bool m_applyingKeyAnswer = false;
};

} // namespace vellumix
