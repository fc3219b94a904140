#include "SettingsWindowController.h"
#include "ShortcutRecorderView.h"
#include "desktop/LoginItem.h"
#include "editor/ColorWell.h"
#include "library/Keychain.h"
#include "library/Settings.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QRadioButton>

namespace vellumix {

void SettingsWindowController::launchToggleChanged(bool on) {
    // LoginItem logs its own failure; the stored choice follows only what took effect.
    if (m_services.loginItem.setEnabled(on)) {
        m_services.settings.setLaunchOnStartup(on);
    }
    m_launchCheckbox->setChecked(m_services.loginItem.isEnabled());
}

void SettingsWindowController::retainStylesChanged(bool on) {
    m_services.settings.setRetainLastStylePerType(on);
}

void SettingsWindowController::showCursorCoordsChanged(bool on) {
    m_services.settings.setShowCursorCoords(on);
}

void SettingsWindowController::closeAfterSaveChanged(bool on) {
    m_services.settings.setCloseAfterSave(on);
}

void SettingsWindowController::overrideRadioChanged() {
    m_services.settings.chooseNativeCaptureOverride();
    m_customRadio->setChecked(false);
    m_shortcutRecorder->cancelRecording();
    m_shortcutRecorder->setShortcut(0, 0);
    setShortcutControlsEnabled(false);
    shortcutSettingsChanged();
}

void SettingsWindowController::customRadioChanged() {
    Settings& settings = m_services.settings;
    // The stored shortcut stays as it is until a new one is recorded.
    const std::uint32_t code = settings.captureKeyCode();
    const std::uint32_t flags = settings.captureModifierFlags();
    settings.chooseCustomShortcut(code, flags);
    m_overrideRadio->setChecked(false);
    setShortcutControlsEnabled(true);
    m_shortcutRecorder->setShortcut(code, flags);
    shortcutSettingsChanged();
}

void SettingsWindowController::shortcutChanged(std::uint32_t keyCode, std::uint32_t modifierFlags) {
    m_services.settings.chooseCustomShortcut(keyCode, modifierFlags);
    m_customRadio->setChecked(true);
    setShortcutControlsEnabled(true);
    shortcutSettingsChanged();
}

void SettingsWindowController::clearShortcut() {
    m_shortcutRecorder->cancelRecording();
    m_services.settings.chooseCustomShortcut(0, 0);
    m_shortcutRecorder->setShortcut(0, 0);
    shortcutSettingsChanged();
}

void SettingsWindowController::shortcutSettingsChanged() {
    const auto callback = onShortcutChanged;
    if (callback) {
        callback();
    }
    // The owner has taken the new keys by now, and knows whether that worked.
    showShortcutProblem();
}

void SettingsWindowController::blankCanvasColorChanged(const Color& color) {
    // A blank canvas has no transparency; the well shows what is kept.
    m_services.settings.setBlankCanvasColor(color);
    if (color.alpha < 1) {
        m_canvasColorWell->setColor(color.opaque());
    }
}

void SettingsWindowController::geminiKeyChanged() {
    if (!m_keyEdited) {
        return;
    }
    m_keyEdited = false;
    const QString typed = m_geminiKeyField->text();
    ApiKeyStore(m_services.keychain).setFromField(typed);
    if (typed.trimmed() != typed) {
        m_geminiKeyField->setText(typed.trimmed());
    }
    showKeychainProblem();
    const auto callback = onApiKeyChanged;
    if (callback) {
        callback();
    }
}

} // namespace vellumix
