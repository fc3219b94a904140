#include "AtomicFile.h"

#include <QSaveFile>

namespace vellumix {

Status writeFileAtomically(const QString& path, const QByteArray& data) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(data) != data.size() || !file.commit()) {
        return Error{QStringLiteral("%1: %2").arg(path, file.errorString())};
    }
    return success();
}

} // namespace vellumix
