#include "app/AppDelegate.h"
#include "app/DocumentOpener.h"
#include "library/Settings.h"
#include "platform/TerminationSignals.h"

#include <QApplication>
#include <QTimer>

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Vellumix"));
    QApplication::setOrganizationName(QStringLiteral("Vellumix"));
    QApplication::setDesktopFileName(QStringLiteral("vellumix"));
    QApplication::setWindowIcon(vellumix::applicationIcon());
    // A tray application: closing the last editor window must not quit it.
    QApplication::setQuitOnLastWindowClosed(false);

    // Logging out or `kill` quits like the Quit item: windows save on their way out.
    vellumix::quitOnTerminationSignals([] { QCoreApplication::quit(); });

    vellumix::AppDelegate delegate;
    vellumix::DocumentOpener opener(vellumix::Settings::shared());
    const QStringList files = QApplication::arguments().mid(1);
    QTimer::singleShot(0, &delegate, [&delegate, &opener, files] {
        delegate.applicationDidFinishLaunching();
        // Files handed over on the command line open as if chosen in the open panel.
        for (const QString& file : files) {
            if (!file.startsWith(QLatin1Char('-'))) {
                opener.openPath(file);
            }
        }
    });
    return QApplication::exec();
}
