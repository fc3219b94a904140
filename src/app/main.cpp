#include "app/AppDelegate.h"
#include "app/DocumentOpener.h"
#include "app/OpenPanel.h"
#include "app/SingleInstance.h"
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

    QStringList files;
    for (const QString& argument : QApplication::arguments().mid(1)) {
        if (!argument.startsWith(QLatin1Char('-'))) {
            files << argument;
        }
    }
    // A second launch hands its files to the running Vellumix and ends.
    vellumix::SingleInstance instance;
    if (!instance.claim(files)) {
        return 0;
    }

    // Logging out or `kill` quits like the Quit item: windows save on their way out.
    vellumix::quitOnTerminationSignals([] { QCoreApplication::quit(); });

    vellumix::DocumentOpener opener(vellumix::Settings::shared());
    vellumix::AppDelegate delegate(opener);
    // Files handed over on the command line or by a later launch open as if chosen in the
    // open panel.
    const auto openAll = [&opener](const QStringList& paths) {
        for (const QString& path : paths) {
            opener.openPath(path);
        }
    };
    instance.onOpenFiles = openAll;
    delegate.onPaste = [&opener] { opener.openFromClipboard(); };
    delegate.onOpen = [&opener] {
        if (const auto request = vellumix::runOpenPanel()) {
            opener.open(*request);
        }
    };
    QTimer::singleShot(0, &delegate, [&delegate, openAll, files] {
        delegate.applicationDidFinishLaunching();
        openAll(files);
    });
    return QApplication::exec();
}
