#include "desktop/LoginItem.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

class LoginItemTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QStringList logged;
    LoginItem item{dir.filePath("user/autostart"),
                   {dir.filePath("system/autostart")},
                   "/opt/Vellumix Apps/vellumix",
                   [this](const QString& line) { logged << line; }};

    QString read(const QString& path) const {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
    }
};

} // namespace

TEST_F(LoginItemTest, EnablingWritesAnAutostartEntryAndDisablingRemovesIt) {
    EXPECT_FALSE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(item.isEnabled());
    const QString entry = read(item.userEntryPath());
    EXPECT_TRUE(entry.startsWith("[Desktop Entry]\n"));
    EXPECT_TRUE(entry.contains("Exec=env OMP_THREAD_LIMIT=1 \"/opt/Vellumix Apps/vellumix\"\n"));
    EXPECT_TRUE(entry.contains("Type=Application\n"));

    ASSERT_TRUE(item.setEnabled(false));
    EXPECT_FALSE(item.isEnabled());
    EXPECT_FALSE(QFile::exists(item.userEntryPath()));
    EXPECT_TRUE(item.setEnabled(false)); // already off
    EXPECT_TRUE(logged.isEmpty());
}

TEST_F(LoginItemTest, ASystemEntryIsHiddenByAUserCopy) {
    QDir().mkpath(dir.filePath("system/autostart"));
    QFile system(dir.filePath("system/autostart/vellumix.desktop"));
    ASSERT_TRUE(system.open(QIODevice::WriteOnly));
    system.write("[Desktop Entry]\nType=Application\nExec=vellumix\n");
    system.close();
    EXPECT_TRUE(item.isEnabled());
    ASSERT_TRUE(item.setEnabled(false));
    EXPECT_FALSE(item.isEnabled());
    EXPECT_TRUE(read(item.userEntryPath()).contains("Hidden=true"));
    ASSERT_TRUE(item.setEnabled(true));
    EXPECT_TRUE(item.isEnabled());
}

TEST_F(LoginItemTest, ADisabledOrHiddenEntryIsNotEnabled) {
    QDir().mkpath(dir.filePath("user/autostart"));
    QFile f(item.userEntryPath());
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("[Desktop Entry]\nType=Application\nX-GNOME-Autostart-enabled=false\n");
    f.close();
    EXPECT_FALSE(item.isEnabled());
}

TEST_F(LoginItemTest, FailureIsLoggedAndChangesNothing) {
    QFile blocker(dir.filePath("user"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file where the folder should go
    blocker.close();
    EXPECT_FALSE(item.setEnabled(true));
    EXPECT_FALSE(item.isEnabled());
    ASSERT_EQ(logged.size(), 1);
    EXPECT_TRUE(logged.front().startsWith("Vellumix: failed to toggle login item: "));
}
