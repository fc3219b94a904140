#include "ProjectBundle.h"
#include "canvas/AnnotationRenderer.h"
#include "model/CodableAnnotation.h"
#include "model/OverlayRef.h"

#include <QDir>
#include <QFileInfo>

#include <future>

namespace vellumix::bundle {

namespace {

// 72 dpi: one pixel per point, recorded in every PNG of a bundle.
constexpr int dotsPerMetre = 2835;

std::optional<QByteArray> encodePng(const QImage& image, const BundleServices& services) {
    if (image.isNull()) {
        return std::nullopt;
    }
    QImage tagged = image;
    tagged.setDotsPerMeterX(dotsPerMetre);
    tagged.setDotsPerMeterY(dotsPerMetre);
    const PngEncoder& encode =
        services.encodePng ? services.encodePng : PngEncoder(encodePngWithQt);
    return encode(tagged);
}

Status writePng(const QImage& image, const QString& path, const BundleServices& services) {
    const auto data = encodePng(image, services);
    if (!data) {
        return Error{QStringLiteral("%1: the image could not be encoded").arg(path)};
    }
    return writeOwnFile(path, *data);
}

Status makeFolder(const QString& path) {
    if (QFileInfo(path).isSymLink()) {
        return Error{QStringLiteral("%1: is a symbolic link, not written through").arg(path)};
    }
    if (!QDir().mkpath(path)) {
        return Error{QStringLiteral("%1: the folder could not be created").arg(path)};
    }
    return success();
}

// Encodes the base image on a second thread while the caller's work runs on this one.
std::future<std::optional<QByteArray>> encodeInBackground(const QImage& image,
                                                          const BundleServices& services) {
    return std::async(std::launch::async, [image, services] { return encodePng(image, services); });
}

Status finishImage(std::future<std::optional<QByteArray>>& encoded, const QString& bundlePath) {
    const QString path = QDir(bundlePath).filePath(imageFile);
    const auto data = encoded.get();
    if (!data) {
        return Error{QStringLiteral("%1: the image could not be encoded").arg(path)};
    }
    return writeOwnFile(path, *data);
}

} // namespace

Status writePreviews(const QImage& image, const AnnotationList& annotations,
                     const QString& bundlePath, const BundleServices& services) {
    // Without annotations the composite is the image itself; no need to draw a copy.
    const QImage composite = annotations.empty()
                                 ? image
                                 : render::renderComposite(image, annotations).value_or(QImage());
    if (composite.isNull()) {
        return Error{QStringLiteral("%1: the thumbnail could not be drawn").arg(bundlePath)};
    }
    const Status thumbnail =
        writePng(makeThumbnail(composite), QDir(bundlePath).filePath(thumbnailFile), services);
    if (services.setFolderIcon) {
        services.setFolderIcon(bundlePath, makeIconRepresentations(composite));
    }
    return thumbnail;
}

Status writeAnnotations(const AnnotationList& annotations, const QString& bundlePath,
                        const BundleServices& services, WrittenOverlays* written) {
    const QDir folder(bundlePath);
    bool madeOverlays = false;
    for (const Annotation& annotation : annotations) {
        const auto* overlay = std::get_if<OverlayAnnotation>(&annotation);
        if (!overlay || !overlay->overlayRef || !isValidOverlayRef(*overlay->overlayRef)) {
            continue;
        }
        if (!madeOverlays) {
            if (Status made = makeFolder(folder.filePath(overlaysFolder)); !made) {
                return made;
            }
            madeOverlays = true;
        }
        const QString path =
            folder.filePath(overlaysFolder + QLatin1Char('/') + *overlay->overlayRef + ".png");
        const qint64 key = overlay->image.cacheKey();
        if (written && written->contains(*overlay->overlayRef) &&
            written->at(*overlay->overlayRef) == key && QFileInfo::exists(path)) {
            continue;
        }
        if (Status status = writePng(overlay->image, path, services); !status) {
            return status;
        }
        if (written) {
            (*written)[*overlay->overlayRef] = key;
        }
    }
    const std::string json = encodeAnnotations(annotations);
    return writeOwnFile(folder.filePath(annotationsFile),
                        QByteArray(json.data(), static_cast<qsizetype>(json.size())));
}

Status write(const QImage& image, const AnnotationList& annotations, const QString& bundlePath,
             const BundleServices& services) {
    if (Status made = makeFolder(bundlePath); !made) {
        return made;
    }
    if (image.isNull()) {
        return Error{QStringLiteral("%1: the image could not be encoded")
                         .arg(QDir(bundlePath).filePath(imageFile))};
    }
    auto encoded = encodeInBackground(image, services);
    const Status annotationsWritten = writeAnnotations(annotations, bundlePath, services);
    const Status previews = annotationsWritten
                                ? writePreviews(image, annotations, bundlePath, services)
                                : annotationsWritten;
    // The image is the first file of a bundle; its failure is the one reported first.
    if (Status imageWritten = finishImage(encoded, bundlePath); !imageWritten) {
        return imageWritten;
    }
    return previews;
}

Status writeImage(const QImage& image, const QString& bundlePath, const BundleServices& services) {
    return writePng(image, QDir(bundlePath).filePath(imageFile), services);
}

Status refreshImage(const QImage& image, const QString& bundlePath,
                    const BundleServices& services) {
    auto encoded = encodeInBackground(image, services);
    const AnnotationList annotations = loadAnnotations(bundlePath);
    const Status previews = writePreviews(image, annotations, bundlePath, services);
    if (Status imageWritten = finishImage(encoded, bundlePath); !imageWritten) {
        return imageWritten;
    }
    return previews;
}

Status writeEdits(const QImage& image, const AnnotationList& annotations, Edits changed,
                  const QString& bundlePath, const BundleServices& services) {
    Status saved = changed.image ? writeImage(image, bundlePath, services) : success();
    if (saved && changed.annotations) {
        saved = writeAnnotations(annotations, bundlePath, services);
    }
    return saved ? writePreviews(image, annotations, bundlePath, services) : saved;
}

} // namespace vellumix::bundle
