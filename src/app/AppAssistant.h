#pragma once

#include "ai/CloudModelClient.h"
#include "ai/LocalModelClient.h"
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
/// its answer. The clients come from the assistant module, loaded when the first window opens
/// (the tray alone needs no network stack); without the module the assistant is unavailable.
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
    /// Makes the clients and hands them to the editor windows, once.
    void loadClients();

    DocumentOpener& m_opener;
    Settings& m_settings;
    Keychain& m_keychain;
    bool m_clientsLoaded = false;
    std::unique_ptr<CloudModelClient> m_gemini;
    std::unique_ptr<LocalModelClient> m_localModel;
    KeyStored m_keyStored = KeyStored::notAsked;
    bool m_askingKey = false;
    int m_keyQuestion = 0;
    LocalModelAvailability m_localAvailability = LocalModelAvailability::otherUnavailable;
    std::unique_ptr<LocalModelCall> m_availabilityCheck;
    bool m_applyingCheck = false;
    bool m_applyingKeyAnswer = false;
};

} // namespace vellumix
