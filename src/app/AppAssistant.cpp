#include "AppAssistant.h"

#include "ai/AssistantModule.h"
#include "ai/LocalModelRequests.h"
#include "app/DocumentOpener.h"
#include "library/Keychain.h"
#include "library/Settings.h"
#include "process/Modules.h"

#include <QTimer>

#include <memory>

namespace vellumix {

AppAssistant::AppAssistant(DocumentOpener& opener, Settings& settings, Keychain& keychain)
    : m_opener(opener), m_settings(settings), m_keychain(keychain) {
    m_opener.promptFieldState = [this] { return promptFieldState(); };
}

void AppAssistant::loadClients() {
    if (m_clientsLoaded) {
        return;
    }
    m_clientsLoaded = true;
    if (const auto* module = loadModule<AssistantModule>("assistant")) {
        m_gemini = module->cloudClient({});
        LocalClientOptions local;
        local.baseUrls = localModelCandidateUrls(qEnvironmentVariable("VELLUMIX_LOCAL_MODEL_URL"),
                                                 m_settings.localModelURL());
        m_localModel = module->localClient(std::move(local));
    }
    EditorWindowController::setAssistantServices(
        {m_gemini.get(), m_localModel.get(),
         [this]() -> std::optional<QString> {
             const auto key = ApiKeyStore(m_keychain).keyForRequest();
             // Using a stored key may unlock the keyring; the answer also settles the field.
             if (key && key->stored && m_keyStored != KeyStored::yes) {
                 m_keyStored = KeyStored::yes;
                 m_opener.refreshPromptFields();
             }
             return key ? std::optional(key->value) : std::nullopt;
         },
         [this] { m_opener.refreshPromptFields(); }});
}

void AppAssistant::apiKeyChanged() {
    m_keyStored = KeyStored::notAsked;
    m_askingKey = false;
    ++m_keyQuestion;
    m_opener.refreshPromptFields();
}

void AppAssistant::askWhetherKeyStored() {
    m_askingKey = true;
    const int question = ++m_keyQuestion;
    auto returned = std::make_shared<bool>(false);
    m_keychain.askStored(
        ApiKeyStore::account, [this, question, returned](std::optional<bool> stored) {
            if (question != m_keyQuestion) {
                return; // the key changed meanwhile; a newer question is out
            }
            m_askingKey = false;
            m_keyStored = !stored ? KeyStored::unknown : *stored ? KeyStored::yes : KeyStored::no;
            if (!*returned) {
                return; // answered at once, inside promptFieldState
            }
            m_applyingKeyAnswer = true;
            m_opener.refreshPromptFields();
            m_applyingKeyAnswer = false;
        });
    *returned = true;
}

PromptFieldState AppAssistant::promptFieldState() {
    // A question the store could not answer is asked again with the next window, not by the
    // refresh its own answer causes.
    const bool applying = m_applyingKeyAnswer || m_applyingCheck;
    if (!m_askingKey &&
        (m_keyStored == KeyStored::notAsked || (m_keyStored == KeyStored::unknown && !applying))) {
        askWhetherKeyStored();
    }
    loadClients();
    if (m_localModel && !m_applyingCheck && !m_availabilityCheck) {
        m_availabilityCheck = m_localModel->checkAvailability([this](LocalModelStatus status) {
            m_localAvailability = status.availability;
            m_applyingCheck = true;
            m_opener.refreshPromptFields();
            m_applyingCheck = false;
            // Not from inside the call's own callback.
            QTimer::singleShot(0, [this] { m_availabilityCheck.reset(); });
        });
    }
    const bool hasKey = m_keyStored == KeyStored::yes || m_keyStored == KeyStored::unknown;
    return vellumix::promptFieldState(m_settings.aiProvider(), hasKey, m_localAvailability);
}

} // namespace vellumix
