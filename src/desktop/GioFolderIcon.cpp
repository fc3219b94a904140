#include "desktop/GioFolderIcon.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QSaveFile>
#include <QStandardPaths>
#include <QUrl>

namespace vellumix {

namespace {

// GVfs keeps the metadata of files through this daemon, started on demand by the bus.
bool metadataServiceRuns() {
    const QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    if (!bus) {
        return false;
    }
    const QString name = QStringLiteral("org.gtk.vfs.Metadata");
    return bus->isServiceRegistered(name).value() ||
           bus->activatableServiceNames().value().contains(name);
}

} // namespace

// The metadata is written by GLib's `gio` tool in a child process: linking GIO instead would
// keep it, GObject and the mount libraries (about 2.5 MB) in a tray process that lives all
// day, as GObject cannot be unloaded. The metadata points at the icon file, so it is set once,
// when the file is first written; later writes only replace the file.
void setFolderIconWithGio(const QString& folderPath, const std::vector<QImage>& representations) {
    if (representations.empty()) {
        return;
    }
    const QString iconPath = QDir(folderPath).filePath(folderIconFileName);
    const bool first = !QFile::exists(iconPath);
    const QString gio = QStandardPaths::findExecutable(QStringLiteral("gio"));
    if (first && (gio.isEmpty() || !metadataServiceRuns())) {
        return; // no file manager could show it: leave the folder as it is
    }
    QSaveFile iconFile(iconPath);
    if (!iconFile.open(QIODevice::WriteOnly) || !representations.back().save(&iconFile, "png") ||
        !iconFile.commit()) {
        return;
    }
    if (first) {
        QProcess::startDetached(gio, {QStringLiteral("set"), folderPath,
                                      QStringLiteral("metadata::custom-icon"),
                                      QUrl::fromLocalFile(iconPath).toString()});
    }
}

} // namespace vellumix
