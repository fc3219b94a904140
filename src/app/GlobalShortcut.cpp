#include "app/GlobalShortcut.h"

#include "ai/ConsoleText.h"
#include "desktop/DisplaySession.h"
#include "library/CaptureShortcut.h"
#include "library/Settings.h"
#include "portals/PortalGlobalShortcuts.h"
#include "x11/X11KeyGrab.h"

#include <QTimer>

namespace vellumix {

namespace {

using namespace shortcut;

std::uint16_t x11Modifiers(std::uint32_t flags) {
    std::uint16_t mask = 0;
    mask |= (flags & ctrlFlag) ? X11KeyGrab::controlMask : 0;
    mask |= (flags & shiftFlag) ? X11KeyGrab::shiftMask : 0;
    mask |= (flags & altFlag) ? X11KeyGrab::altMask : 0;
    mask |= (flags & superFlag) ? X11KeyGrab::superMask : 0;
    return mask;
}

std::uint32_t flagsFromX11(std::uint16_t mask) {
    std::uint32_t flags = 0;
    flags |= (mask & X11KeyGrab::controlMask) ? ctrlFlag : 0;
    flags |= (mask & X11KeyGrab::shiftMask) ? shiftFlag : 0;
    flags |= (mask & X11KeyGrab::altMask) ? altFlag : 0;
    flags |= (mask & X11KeyGrab::superMask) ? superFlag : 0;
    return flags;
}

} // namespace

QString portalTrigger(std::uint32_t code, std::uint32_t flags) {
    const ShortcutKey* key = code == noKeyCode ? nullptr : keyForCode(code);
    if (!key) {
        return {};
    }
    QStringList parts;
    if (flags & ctrlFlag) {
        parts << QStringLiteral("CTRL");
    }
    if (flags & altFlag) {
        parts << QStringLiteral("ALT");
    }
    if (flags & shiftFlag) {
        parts << QStringLiteral("SHIFT");
    }
    if (flags & superFlag) {
        parts << QStringLiteral("LOGO");
    }
    // The xkb keysym name: lower-case letters, and the names of the named keys.
    QString name = key->name.toString();
    if (name.size() == 1) {
        name = name.toLower();
    } else if (name == QLatin1String("Space")) {
        name = QStringLiteral("space");
    } else if (name == QLatin1String("Backspace")) {
        name = QStringLiteral("BackSpace");
    }
    parts << name;
    return parts.join(QLatin1Char('+'));
}

GlobalShortcut::GlobalShortcut(Settings& settings, std::function<void()> capture)
    : m_settings(settings), m_capture(std::move(capture)) {}

GlobalShortcut::~GlobalShortcut() = default;

ShortcutRoute shortcutRoute(const DisplaySession& session, const QString& override) {
    if (session.kind == DisplaySession::Kind::headless) {
        return ShortcutRoute::none;
    }
    if (override == QLatin1String("portal")) {
        return ShortcutRoute::portal;
    }
    // A key grab needs an X server of our own: under native Wayland there is none.
    if (override == QLatin1String("x11") && session.platformName == QLatin1String("xcb")) {
        return ShortcutRoute::x11;
    }
    return session.kind == DisplaySession::Kind::wayland ? ShortcutRoute::portal
                                                         : ShortcutRoute::x11;
}

void GlobalShortcut::refresh() {
    switch (
        shortcutRoute(detectDisplaySession(), qEnvironmentVariable("VELLUMIX_SHORTCUT_ROUTE"))) {
    case ShortcutRoute::portal:
        refreshPortal();
        break;
    case ShortcutRoute::x11:
        refreshX11();
        break;
    case ShortcutRoute::none:
        break;
    }
}

void GlobalShortcut::refreshX11() {
    if (!m_grab) {
        m_grab = X11KeyGrab::create();
        if (!m_grab) {
            return;
        }
        m_grab->onPress = [this](X11KeyGrab::Combination pressed) {
            this->pressed(pressed.keysym, pressed.modifiers);
        };
    }
    std::vector<X11KeyGrab::Combination> wanted;
    const std::uint32_t code = m_settings.captureKeyCode();
    const std::uint32_t flags = m_settings.captureModifierFlags();
    if (code != noKeyCode) {
        if (const ShortcutKey* key = keyForCode(code)) {
            wanted.push_back({key->keysym, x11Modifiers(flags)});
        }
    }
    if (m_settings.overrideNativeCapture()) {
        wanted.push_back({keyForCode(printKeyCode)->keysym, 0});
    }
    const std::vector<X11KeyGrab::Combination> refused = m_grab->grab(wanted);
    m_problem.clear();
    QStringList taken;
    for (const X11KeyGrab::Combination& combination : refused) {
        const ShortcutKey* key = keyForKeysym(combination.keysym);
        taken << (key ? displayText(key->code, flagsFromX11(combination.modifiers))
                      : QStringLiteral("(%1)").arg(combination.keysym));
    }
    if (taken.isEmpty()) {
        return;
    }
    m_problem = QStringLiteral("%1 is taken by another program, so Vellumix cannot use it. "
                               "Choose another shortcut, or free it in that program.")
                    .arg(taken.join(QStringLiteral(" and ")));
    // Once per combination, not on every refresh.
    const QString line =
        QStringLiteral("Capture shortcut %1: the key grab was refused (another program holds it)")
            .arg(taken.join(QStringLiteral(", ")));
    if (line != m_lastLogged) {
        console::say(line);
        m_lastLogged = line;
    }
}

void GlobalShortcut::refreshPortal() {
    if (m_portalStarted) {
        // The desktop keeps the binding; its keys are changed in the desktop's settings.
        return;
    }
    if (!m_portal) {
        m_portal = std::make_unique<PortalGlobalShortcuts>();
    }
    m_portalStarted = true;
    m_portal->onActivated = [this] { QTimer::singleShot(0, [capture = m_capture] { capture(); }); };
    m_portal->onBound = [](const QString& trigger) {
        console::say(QStringLiteral("Capture shortcut bound through the GlobalShortcuts portal: %1")
                         .arg(trigger.isEmpty() ? QStringLiteral("(no keys yet)") : trigger));
    };
    m_portal->onUnavailable = [this] {
        m_problem = QStringLiteral(
            "This desktop does not let applications set global shortcuts. To capture with a "
            "key, bind the command \"vellumix --capture\" in the desktop's keyboard settings.");
        console::say(
            QStringLiteral("No GlobalShortcuts portal: the capture shortcut is left to the "
                           "desktop's keyboard settings (vellumix --capture)"));
    };
    m_portal->onProblem = [this](const QString& reason) {
        m_problem =
            QStringLiteral("The desktop did not accept the capture shortcut: %1.").arg(reason);
        console::say(QStringLiteral("GlobalShortcuts portal: %1").arg(reason));
    };
    m_portal->start(portalTrigger(m_settings.captureKeyCode(), m_settings.captureModifierFlags()));
}

void GlobalShortcut::pressed(std::uint32_t keysym, std::uint16_t modifiers) {
    const ShortcutKey* key = keyForKeysym(keysym);
    if (!key) {
        return;
    }
    if (startsCapture(key->code, flagsFromX11(modifiers), m_settings.captureKeyCode(),
                      m_settings.captureModifierFlags(), m_settings.overrideNativeCapture())) {
        // Out of the X event filter before the overlay grabs the screen.
        QTimer::singleShot(0, [capture = m_capture] { capture(); });
    }
}

} // namespace vellumix
