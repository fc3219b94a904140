#include "ImageImport.h"

#include "ImageExport.h"
#include "imaging/OpeningRules.h"

#include <QFile>

namespace vellumix {

QImage importImageFile(const QString& path, qint64 maxBytes) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    if (!looksLikeHeif(file.peek(heifHeaderWindow))) {
        return readImageFile(path, maxBytes);
    }
    // The whole file is handed to libheif; compressed, it is far smaller than the picture.
    if (file.size() > maxBytes) {
        return {};
    }
    QImage image = decodeHeic(file.readAll(), maxBytes);
    image.setDevicePixelRatio(1);
    return image;
}

} // namespace vellumix
