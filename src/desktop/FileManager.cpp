#include "FileManager.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

namespace vellumix {

void revealInFileManager(const QString& filePath) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"),
        QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(filePath).toString()} << QString();
    // Asked without waiting: a file manager that is slow to start must not freeze the window.
    auto* watcher =
        new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call, 5000));
    const QString folder = QFileInfo(filePath).absolutePath();
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, watcher,
                     [folder](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         if (finished->isError()) {
                             QDesktopServices::openUrl(QUrl::fromLocalFile(folder));
                         }
                     });
}

} // namespace vellumix
