#include "app/AppDelegate.h"

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

    vellumix::AppDelegate delegate;
    QTimer::singleShot(0, &delegate, [&delegate] { delegate.applicationDidFinishLaunching(); });
    return QApplication::exec();
}
