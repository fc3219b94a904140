#include "SettingsWindowController.h"

#include "ShortcutRecorderView.h"

#include <QCloseEvent>
#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace vellumix {

SettingsWindowController::SettingsWindowController(SettingsServices services, QWidget* parent)
    : QWidget(parent, Qt::Window | Qt::CustomizeWindowHint | Qt::WindowTitleHint |
                          Qt::WindowCloseButtonHint)
    , m_services(std::move(services)) {
    setWindowTitle(QStringLiteral("Vellumix Settings"));
    setFixedSize(420, 450);
    // A click on the background takes the focus, which commits a key being typed.
    setFocusPolicy(Qt::ClickFocus);
    buildContent();
}

SettingsWindowController::~SettingsWindowController() = default;

void SettingsWindowController::showWindow() {
    fillControls();
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (!screen) {
        screen = QGuiApplication::primaryScreen();
    }
    if (screen) {
        move(screen->availableGeometry().center() - rect().center());
    }
    // The window itself holds the focus: no control is entered until the user picks one.
    setFocus(Qt::OtherFocusReason);
    show();
    raise();
    activateWindow();
}

void SettingsWindowController::closeEvent(QCloseEvent* event) {
    setFocus(Qt::OtherFocusReason);
    // Without focus the field may not report the end of editing; commit what was typed.
    geminiKeyChanged();
    m_shortcutRecorder->cancelRecording();
    event->accept();
}

} // namespace vellumix
