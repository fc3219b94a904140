#include "ProjectBundle.h"
#include "model/CodableAnnotation.h"
#include "model/OverlayRef.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace vellumix::bundle {

namespace {

// Far beyond any real annotation file; a larger one is not read at all.
constexpr qint64 maxAnnotationsFileBytes = 512LL * 1024 * 1024;

} // namespace

AnnotationList loadAnnotations(const QString& bundlePath) {
    const QDir folder(bundlePath);
    QFile file(folder.filePath(annotationsFile));
    if (!isOwnFile(file.fileName()) || file.size() > maxAnnotationsFileBytes ||
        !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray data = file.readAll();
    const QString overlays = folder.filePath(overlaysFolder);
    const OverlayImageLoader loadOverlay = [&overlays](const QString& ref) -> QImage {
        const QString path = overlays + QLatin1Char('/') + ref + QStringLiteral(".png");
        if (!isValidOverlayRef(ref) || !isOwnFile(overlays) || !isOwnFile(path)) {
            return {};
        }
        return readImageFile(path);
    };
    return decodeAnnotations(std::string_view(data.constData(), static_cast<size_t>(data.size())),
                             loadOverlay);
}

QImage readImage(const QString& bundlePath) {
    const QString path = QDir(bundlePath).filePath(imageFile);
    return isOwnFile(path) ? readImageFile(path) : QImage();
}

bool isBundle(const QString& path) {
    // A valid header is not enough: the image must decode.
    return QFileInfo(path).isDir() && !readImage(path).isNull();
}

} // namespace vellumix::bundle
