#include "desktop/GioFolderIcon.h"
#include "support/Eventually.h"

#include <QDBusConnection>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QUrl>

#include <gtest/gtest.h>

using namespace vellumix;

// GLib's `gio` stood in for by a script that records its arguments; GVfs's metadata daemon by
// its bus name, held on a connection of the test's own.
TEST(FolderIcon, SetOnceThroughGioAndOnlyWhereTheMetadataServiceRuns) {
    if (!QDBusConnection::sessionBus().isConnected()) {
        GTEST_SKIP() << "no session bus (the test command starts one)";
    }
    QTemporaryDir dir;
    const QString calls = dir.filePath("gio-calls");
    QFile script(dir.filePath("bin/gio"));
    ASSERT_TRUE(QDir(dir.path()).mkdir("bin") && script.open(QIODevice::WriteOnly));
    script.write(QStringLiteral("#!/bin/sh\necho \"$@\" >> '%1'\n").arg(calls).toUtf8());
    script.close();
    script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
    const QByteArray path = qgetenv("PATH");
    qputenv("PATH", QFile::encodeName(dir.filePath("bin")) + ':' + path);

    QImage icon(16, 16, QImage::Format_ARGB32);
    icon.fill(Qt::red);
    const QString folder = dir.filePath("shot.vellumix");
    ASSERT_TRUE(QDir(dir.path()).mkdir("shot.vellumix"));
    const QString iconFile = QDir(folder).filePath(folderIconFileName);

    setFolderIconWithGio(folder, {icon}); // no metadata service: the folder stays as it is
    EXPECT_FALSE(QFile::exists(iconFile));

    QDBusConnection gvfs =
        QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("gvfs"));
    const QString name = QStringLiteral("org.gtk.vfs.Metadata");
    ASSERT_TRUE(gvfs.registerService(name));
    setFolderIconWithGio(folder, {icon});
    icon.fill(Qt::blue);
    setFolderIconWithGio(folder, {icon}); // the file is replaced; the metadata stays
    EXPECT_EQ(QImage(iconFile).pixel(0, 0), qRgb(0, 0, 255));
    ASSERT_TRUE(test::eventually([&] { return QFile::exists(calls); }));
    test::eventually([] { return false; }, 300); // a second call would have arrived by now
    QFile recorded(calls);
    ASSERT_TRUE(recorded.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(recorded.readAll()),
              QStringLiteral("set %1 metadata::custom-icon %2\n")
                  .arg(folder, QUrl::fromLocalFile(iconFile).toString()));

    gvfs.unregisterService(name);
    QDBusConnection::disconnectFromBus(QStringLiteral("gvfs"));
    qputenv("PATH", path);
}
