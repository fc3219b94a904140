#include "OverlayRef.h"

#include <QUuid>

namespace vellumix {

QString newOverlayRef() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

bool isValidOverlayRef(const QString& ref) {
    if (ref.isEmpty() || ref.size() > 128 || ref.startsWith(QLatin1Char('.'))) {
        return false;
    }
    for (QChar c : ref) {
        const bool allowed = (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') ||
                             (c >= u'A' && c <= u'Z') || c == u'-' || c == u'_' || c == u'.';
        if (!allowed) {
            return false;
        }
    }
    return true;
}

} // namespace vellumix
