#pragma once

#include <QString>
#include <QStringList>

#include <functional>

namespace vellumix {

/// Launch at login as an XDG autostart entry ("vellumix.desktop" in the user's autostart
/// folder). A failure is written to the system log and changes nothing.
class LoginItem {
public:
    using Logger = std::function<void(const QString& line)>;

    /// Defaults: `$XDG_CONFIG_HOME/autostart`, the folders of `$XDG_CONFIG_DIRS`, this
    /// executable, and the system log.
    LoginItem();
    LoginItem(QString userAutostartDir, QStringList systemAutostartDirs, QString executable,
              Logger log);

    /// Whether the desktop will start the app at login: the winning entry exists and is
    /// neither hidden nor disabled.
    bool isEnabled() const;
    /// Writes or removes the user's entry; false (and one log line) on failure.
    bool setEnabled(bool on);

    QString userEntryPath() const;

private:
    QString winningEntry() const;
    bool fail(const QString& reason);

    QString m_userDir;
    QStringList m_systemDirs;
    QString m_executable;
    Logger m_log;
};

/// Writes "Vellumix: failed to toggle login item: …"-style lines to syslog (the journal).
void writeToSystemLog(const QString& line);

} // namespace vellumix
