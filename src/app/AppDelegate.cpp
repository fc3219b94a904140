#include "AppDelegate.h"

#include "platform/DisplaySession.h"

#include <QApplication>
#include <QIcon>

#include <cstdio>

// The app's resources live in a static library, which must register them itself (from the
// global namespace, where the resource functions are declared).
static void registerAppResources() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(resources);
        return true;
    }();
    (void)registered;
}

namespace vellumix {

QIcon applicationIcon() {
    registerAppResources();
    return QIcon(QStringLiteral(":/icons/vellumix.svg"));
}

AppDelegate::AppDelegate(QObject* parent) : QObject(parent) {}

AppDelegate::~AppDelegate() = default;

void AppDelegate::applicationDidFinishLaunching() {
    buildStatusMenu();

    m_trayIcon = std::make_unique<QSystemTrayIcon>(applicationIcon());
    m_trayIcon->setToolTip(QStringLiteral("Vellumix"));
    m_trayIcon->setContextMenu(m_statusMenu.get());

    const DisplaySession session = detectDisplaySession();
    std::printf("[Vellumix] Display session: %s\n", qPrintable(describe(session)));
    if (!QSystemTrayIcon::isSystemTrayAvailable()) {
        std::printf(
            "[Vellumix] No system tray is running yet; the icon appears once one starts.\n");
    }
    std::fflush(stdout);
    m_trayIcon->show();
}

void AppDelegate::buildStatusMenu() {
    m_statusMenu = std::make_unique<QMenu>();
    QAction* quit = m_statusMenu->addAction(QIcon::fromTheme(QStringLiteral("application-exit")),
                                            QStringLiteral("Quit"));
    quit->setShortcut(QKeySequence(QStringLiteral("Ctrl+Q")));
    connect(quit, &QAction::triggered, qApp, &QCoreApplication::quit);
}

} // namespace vellumix
