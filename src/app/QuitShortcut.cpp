#include "QuitShortcut.h"

#include <QGuiApplication>
#include <QKeyEvent>

namespace vellumix {

namespace {

bool isQuitKey(const QKeyEvent& key) {
    return key.key() == Qt::Key_Q &&
           (key.modifiers() & ~Qt::KeypadModifier) == Qt::ControlModifier && !key.isAutoRepeat();
}

// Asks the focused widget first, as Qt does before any shortcut runs.
bool focusClaims(const QKeyEvent& key) {
    QObject* focus = QGuiApplication::focusObject();
    if (!focus) {
        return false;
    }
    QKeyEvent probe(QEvent::ShortcutOverride, key.key(), key.modifiers());
    probe.ignore();
    QCoreApplication::sendEvent(focus, &probe);
    return probe.isAccepted();
}

} // namespace

QuitShortcut::QuitShortcut(std::function<void()> quit) : m_quit(std::move(quit)) {
    // The application sees every key press before the window or widget it goes to.
    QCoreApplication::instance()->installEventFilter(this);
}

QuitShortcut::~QuitShortcut() {
    if (QCoreApplication* app = QCoreApplication::instance()) {
        app->removeEventFilter(this);
    }
}

bool QuitShortcut::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) {
        return QObject::eventFilter(watched, event);
    }
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (!isQuitKey(key) || focusClaims(key)) {
        return false;
    }
    const std::function<void()> quit = m_quit;
    if (quit) {
        quit();
    }
    return true;
}

} // namespace vellumix
