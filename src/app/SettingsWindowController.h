#pragma once

#include <QWidget>

#include <cstdint>
#include <functional>

class QAbstractButton;
class QCheckBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QVBoxLayout;

namespace vellumix {

class ColorWell;
class Keychain;
class LinkTextField;
class LoginItem;
class Settings;
class ShortcutRecorderView;
struct Color;

/// What the settings window reads and writes; owned by the application, shared with it.
struct SettingsServices {
    Settings& settings;
    /// Holds the cloud model's API key.
    Keychain& keychain;
    /// The autostart entry behind "Launch on startup".
    LoginItem& loginItem;
    /// Why the keyring could not be used on the last call (locked, missing), or empty when it
    /// worked; shown under the key field.
    std::function<QString()> keychainProblem;
    /// Why the capture shortcut does not work (taken by another program, no way for
    /// applications to set one on this desktop), or empty; shown under the shortcut rows.
    std::function<QString()> shortcutProblem;
};

/// The settings window: every preference, each change written at once (no Apply, no Cancel).
/// It keeps no values of its own; the controls are filled from the settings each time it is
/// shown. Made once and shown again; closing only hides it.
class SettingsWindowController final : public QWidget {
    Q_OBJECT

public:
    static inline const QString apiKeyPageUrl =
        QStringLiteral("https://aistudio.google.com/apikey");

    explicit SettingsWindowController(SettingsServices services, QWidget* parent = nullptr);
    ~SettingsWindowController() override;

    /// Fills the controls afresh, centres the window on the screen under the mouse and brings
    /// it forward with nothing focused (so the key field is not entered by accident).
    void showWindow();

    /// The capture shortcut or the override choice changed: refresh the menu hint and the key
    /// grab.
    std::function<void()> onShortcutChanged;
    /// The API key was saved or removed: open editors refresh their assistant field.
    std::function<void()> onApiKeyChanged;

    QCheckBox* launchCheckbox() const { return m_launchCheckbox; }
    QCheckBox* retainStylesCheckbox() const { return m_retainStylesCheckbox; }
    QCheckBox* showCursorCoordsCheckbox() const { return m_showCursorCoordsCheckbox; }
    QCheckBox* closeAfterSaveCheckbox() const { return m_closeAfterSaveCheckbox; }
    ColorWell* canvasColorWell() const { return m_canvasColorWell; }
    QRadioButton* overrideRadio() const { return m_overrideRadio; }
    QRadioButton* customRadio() const { return m_customRadio; }
    ShortcutRecorderView* shortcutRecorder() const { return m_shortcutRecorder; }
    QAbstractButton* clearButton() const { return m_clearBtn; }
    QLineEdit* geminiKeyField() const { return m_geminiKeyField; }
    /// The one-line explanation under the key row; hidden while the keyring works.
    QLabel* keychainProblemLabel() const { return m_keychainProblemLabel; }
    QLabel* shortcutProblemLabel() const { return m_shortcutProblemLabel; }
    LinkTextField* keyPageLink() const { return m_keyPageLink; }

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    // --- Layout (SettingsWindowController+Layout) ---------------------------------------------
    void buildContent();
    void addCaptureShortcutRows(QVBoxLayout* column);
    void addApiKeyRows(QVBoxLayout* column);
    void fillControls();
    void showKeychainProblem();
    void showShortcutProblem();
    void setShortcutControlsEnabled(bool on);

    // --- Actions (SettingsWindowController+Actions) -------------------------------------------
    void launchToggleChanged(bool on);
    void retainStylesChanged(bool on);
    void showCursorCoordsChanged(bool on);
    void closeAfterSaveChanged(bool on);
    void overrideRadioChanged();
    void customRadioChanged();
    void shortcutChanged(std::uint32_t keyCode, std::uint32_t modifierFlags);
    void clearShortcut();
    void blankCanvasColorChanged(const Color& color);
    void geminiKeyChanged();
    void shortcutSettingsChanged();

    SettingsServices m_services;
    /// The key field was typed in since the key was last read or saved.
    bool m_keyEdited = false;

    // Children of the window, alive as long as it is.
    QCheckBox* m_launchCheckbox = nullptr;
    QCheckBox* m_retainStylesCheckbox = nullptr;
    QCheckBox* m_showCursorCoordsCheckbox = nullptr;
    QCheckBox* m_closeAfterSaveCheckbox = nullptr;
    ColorWell* m_canvasColorWell = nullptr;
    QRadioButton* m_overrideRadio = nullptr;
    QRadioButton* m_customRadio = nullptr;
    ShortcutRecorderView* m_shortcutRecorder = nullptr;
    QAbstractButton* m_clearBtn = nullptr;
    QLineEdit* m_geminiKeyField = nullptr;
    QLabel* m_keychainProblemLabel = nullptr;
    QLabel* m_shortcutProblemLabel = nullptr;
    LinkTextField* m_keyPageLink = nullptr;
};

} // namespace vellumix
