#include "LoginItem.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTextStream>

#include <syslog.h>

namespace vellumix {

namespace {

const QString entryName = QStringLiteral("vellumix.desktop");

QStringList systemConfigDirs() {
    QString dirs = qEnvironmentVariable("XDG_CONFIG_DIRS");
    if (dirs.isEmpty()) {
        dirs = QStringLiteral("/etc/xdg");
    }
    QStringList result;
    for (const QString& dir : dirs.split(QLatin1Char(':'), Qt::SkipEmptyParts)) {
        result.append(dir + QStringLiteral("/autostart"));
    }
    return result;
}

// The value of `key` in the [Desktop Entry] group, or an empty string.
QString desktopValue(const QString& path, const QString& key) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        return {};
    }
    QTextStream in(&file);
    bool inEntry = false;
    while (!in.atEnd()) {
        const QString line = in.readLine().trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inEntry = line == u"[Desktop Entry]";
        } else if (inEntry && line.startsWith(key + QLatin1Char('='))) {
            return line.mid(key.size() + 1).trimmed();
        }
    }
    return {};
}

QString quotedExec(const QString& executable) {
    QString escaped = executable;
    escaped.replace(QLatin1Char('\\'), QStringLiteral("\\\\"));
    escaped.replace(QLatin1Char('"'), QStringLiteral("\\\""));
    return QLatin1Char('"') + escaped + QLatin1Char('"');
}

} // namespace

void writeToSystemLog(const QString& line) {
    openlog("vellumix", LOG_PID, LOG_USER);
    syslog(LOG_ERR, "%s", line.toUtf8().constData());
    closelog();
}

LoginItem::LoginItem()
    : LoginItem(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                    QStringLiteral("/autostart"),
                systemConfigDirs(), QCoreApplication::applicationFilePath(), writeToSystemLog) {}

LoginItem::LoginItem(QString userAutostartDir, QStringList systemAutostartDirs, QString executable,
                     Logger log)
    : m_userDir(std::move(userAutostartDir))
    , m_systemDirs(std::move(systemAutostartDirs))
    , m_executable(std::move(executable))
    , m_log(std::move(log)) {}

QString LoginItem::userEntryPath() const {
    return QDir(m_userDir).filePath(entryName);
}

QString LoginItem::winningEntry() const {
    // For one file name only the most important folder counts: the user's first.
    if (QFileInfo::exists(userEntryPath())) {
        return userEntryPath();
    }
    for (const QString& dir : m_systemDirs) {
        const QString path = QDir(dir).filePath(entryName);
        if (QFileInfo::exists(path)) {
            return path;
        }
    }
    return {};
}

bool LoginItem::isEnabled() const {
    const QString entry = winningEntry();
    if (entry.isEmpty()) {
        return false;
    }
    return desktopValue(entry, QStringLiteral("Hidden")).compare(u"true", Qt::CaseInsensitive) !=
               0 &&
           desktopValue(entry, QStringLiteral("X-GNOME-Autostart-enabled"))
                   .compare(u"false", Qt::CaseInsensitive) != 0;
}

bool LoginItem::fail(const QString& reason) {
    if (m_log) {
        m_log(QStringLiteral("Vellumix: failed to toggle login item: ") + reason);
    }
    return false;
}

bool LoginItem::setEnabled(bool on) {
    const QString path = userEntryPath();
    bool systemEntry = false;
    for (const QString& dir : m_systemDirs) {
        systemEntry = systemEntry || QFileInfo::exists(QDir(dir).filePath(entryName));
    }
    if (!on && !systemEntry) {
        if (QFileInfo::exists(path) && !QFile::remove(path)) {
            return fail(QStringLiteral("cannot remove %1").arg(path));
        }
        return true;
    }
    if (!QDir().mkpath(m_userDir)) {
        return fail(QStringLiteral("cannot create %1").arg(m_userDir));
    }
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        return fail(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    }
    QTextStream out(&file);
    out << "[Desktop Entry]\n"
        << "Type=Application\n"
        << "Name=Vellumix\n"
        << "Comment=Capture, annotate and export screenshots\n"
        << "Exec=env OMP_THREAD_LIMIT=1 " << quotedExec(m_executable) << "\n"
        << "Icon=vellumix\n"
        << "Terminal=false\n"
        << "X-GNOME-Autostart-enabled=" << (on ? "true" : "false") << "\n";
    // Switching off over a system-wide entry needs a user copy that hides it.
    if (!on) {
        out << "Hidden=true\n";
    }
    out.flush();
    if (!file.commit()) {
        return fail(QStringLiteral("cannot write %1: %2").arg(path, file.errorString()));
    }
    return true;
}

} // namespace vellumix
