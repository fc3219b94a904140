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
    if (file.size() > maxAnnotationsFileBytes || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QByteArray data = file.readAll();
    const QString overlays = folder.filePath(overlaysFolder);
    const OverlayImageLoader loadOverlay = [&overlays](const QString& ref) -> QImage {
        if (!isValidOverlayRef(ref)) {
            return {};
        }
        return readImageFile(overlays + QLatin1Char('/') + ref + QStringLiteral(".png"));
    };
    return decodeAnnotations(std::string_view(data.constData(), static_cast<size_t>(data.size())),
                             loadOverlay);
}

QImage readImage(const QString& bundlePath) {
    return readImageFile(QDir(bundlePath).filePath(imageFile));
}

bool isBundle(const QString& path) {
    // A valid header is not enough: the image must decode.
    return QFileInfo(path).isDir() && !readImage(path).isNull();
}

} // namespace vellumix::bundle
