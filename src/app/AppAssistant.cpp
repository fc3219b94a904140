#include "AppAssistant.h"

#include "app/DocumentOpener.h"
#include "library/Keychain.h"
#include "library/Settings.h"

#include <QTimer>

namespace vellumix {

AppAssistant::AppAssistant(DocumentOpener& opener, Settings& settings, Keychain& keychain)
    : m_opener(opener), m_settings(settings), m_keychain(keychain) {
    EditorWindowController::setAssistantServices(
        {&m_gemini, &m_localModel,
         [this]() -> std::optional<QString> {
             const QString fromEnv = qEnvironmentVariable("VELLUMIX_GEMINI_API_KEY").trimmed();
             if (!fromEnv.isEmpty()) {
                 return fromEnv;
             }
             return ApiKeyStore(m_keychain).apiKey();
         },
         [this] { m_opener.refreshPromptFields(); }});
    m_opener.promptFieldState = [this] { return promptFieldState(); };
}

void AppAssistant::apiKeyChanged() {
    m_hasApiKey.reset();
    m_opener.refreshPromptFields();
}

PromptFieldState AppAssistant::promptFieldState() {
    if (!m_hasApiKey) {
        m_hasApiKey = ApiKeyStore(m_keychain).hasKey();
    }
    if (!m_applyingCheck && !m_availabilityCheck) {
        m_availabilityCheck = m_localModel.checkAvailability([this](LocalModelStatus status) {
            m_localAvailability = status.availability;
            m_applyingCheck = true;
            m_opener.refreshPromptFields();
            m_applyingCheck = false;
            // Not from inside the call's own callback.
            QTimer::singleShot(0, [this] { m_availabilityCheck.reset(); });
        });
    }
    return vellumix::promptFieldState(m_settings.aiProvider(), *m_hasApiKey, m_localAvailability);
}

} // namespace vellumix
