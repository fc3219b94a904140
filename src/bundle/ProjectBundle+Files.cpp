#include "ProjectBundle.h"
#include "ai/ConsoleText.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QUuid>

namespace vellumix::bundle {

namespace {

Status removePath(const QString& path) {
    const QFileInfo info(path);
    const bool removed =
        info.isDir() && !info.isSymLink() ? QDir(path).removeRecursively() : QFile::remove(path);
    return removed ? success()
                   : Status(Error{QStringLiteral("%1: could not be removed").arg(path)});
}

} // namespace

bool isOwnFile(const QString& path) {
    if (!QFileInfo(path).isSymLink()) {
        return true;
    }
    console::say(QStringLiteral("Not following the symbolic link ") + path);
    return false;
}

Status writeOwnFile(const QString& path, const QByteArray& data) {
    // QSaveFile writes to a link's target; the check keeps it from ever reaching one.
    if (QFileInfo(path).isSymLink()) {
        return Error{QStringLiteral("%1: is a symbolic link, not written through").arg(path)};
    }
    return writeFileAtomically(path, data);
}

bool renamePath(const QString& from, const QString& to) {
    return QDir().rename(from, to);
}

Status replacePath(const QString& fresh, const QString& target, const Renamer& rename) {
    const QFileInfo old(target);
    if (!old.exists() && !old.isSymLink()) {
        if (!rename(fresh, target)) {
            return Error{QStringLiteral("%1: could not be moved into place").arg(target)};
        }
        return success();
    }
    // Aside in the same folder, so every step is a rename within one file system.
    const QString aside = QStringLiteral("%1/.%2.old-%3")
                              .arg(old.absolutePath(), old.fileName(),
                                   QUuid::createUuid().toString(QUuid::Id128).left(8));
    if (!rename(target, aside)) {
        return Error{QStringLiteral("%1: could not be moved aside").arg(target)};
    }
    if (!rename(fresh, target)) {
        if (!rename(aside, target)) {
            return Error{QStringLiteral("%1: could not be moved into place, and the old one is "
                                        "left at %2")
                             .arg(target, aside)};
        }
        return Error{QStringLiteral("%1: could not be moved into place").arg(target)};
    }
    // The new one is in place; an old copy that will not go is only clutter.
    (void)removePath(aside);
    return success();
}

Status replaceProject(const QImage& image, const AnnotationList& annotations, const QString& path,
                      const BundleServices& services) {
    const QFileInfo target(path);
    if (target.isDir() && !target.isSymLink() && !isBundle(path)) {
        return Error{QStringLiteral("%1: is a folder but not a Vellumix project").arg(path)};
    }
    const QString partial = QStringLiteral("%1/.%2.partial-%3")
                                .arg(target.absolutePath(), target.fileName())
                                .arg(QCoreApplication::applicationPid());
    QDir(partial).removeRecursively();
    Status written = write(image, annotations, partial, services);
    if (written) {
        written = replacePath(partial, path);
    }
    if (!written) {
        QDir(partial).removeRecursively();
    }
    return written;
}

} // namespace vellumix::bundle
