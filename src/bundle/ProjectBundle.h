#pragma once

#include "model/Annotation.h"
#include "model/AtomicFile.h"
#include "model/ImageCodec.h"
#include "model/Result.h"

#include <QImage>
#include <QString>

#include <functional>
#include <map>
#include <variant>
#include <vector>

namespace vellumix {

/// Sets a bundle folder's custom icon from square representations (16 … 512 pixels). Best
/// effort: where the desktop has no way to store it, nothing happens.
using FolderIconSetter =
    std::function<void(const QString& bundlePath, const std::vector<QImage>& representations)>;

/// What writing a bundle needs from outside the core.
struct BundleServices {
    PngEncoder encodePng = encodePngWithQt;
    FolderIconSetter setFolderIcon;
};

/// A project bundle: a ".vellumix" folder with "image.png", "annotations.json",
/// "thumbnail.png" and an "overlays" folder. Every file is written to a temporary name and
/// renamed into place, so an interrupted write never leaves a truncated file behind.
namespace bundle {

/// The folder name's suffix, without its dot: history bundles and projects alike.
inline const QString extension = QStringLiteral("vellumix");
inline const QString imageFile = QStringLiteral("image.png");
inline const QString annotationsFile = QStringLiteral("annotations.json");
inline const QString thumbnailFile = QStringLiteral("thumbnail.png");
inline const QString overlaysFolder = QStringLiteral("overlays");

/// The thumbnail fits in 40 × 30 and is never enlarged.
inline constexpr double thumbnailWidth = 40;
inline constexpr double thumbnailHeight = 30;
inline constexpr int iconSides[] = {16, 32, 128, 256, 512};

/// Whether a bundle file may be read or written: anything but a symbolic link. A bundle is a
/// folder anyone can hand over; a link inside it (say annotations.json pointing at a file of
/// the user's) would otherwise make every save of the window write through it, outside the
/// bundle. Refusals print one line.
bool isOwnFile(const QString& path);
/// Writes a bundle file atomically; a symbolic link there is refused, never written through.
Status writeOwnFile(const QString& path, const QByteArray& data);

/// Overlay images already on disk (overlay reference -> the image's cache key), so that saving
/// annotations again does not encode unchanged overlays anew.
using WrittenOverlays = std::map<QString, qint64>;

/// Creates the folder and writes every file: image, annotations, thumbnail, icon.
Status write(const QImage& image, const AnnotationList& annotations, const QString& bundlePath,
             const BundleServices& services);
/// Writes the overlay images and "annotations.json" of an existing bundle.
Status writeAnnotations(const AnnotationList& annotations, const QString& bundlePath,
                        const BundleServices& services, WrittenOverlays* written = nullptr);
/// Rewrites "image.png" only.
Status writeImage(const QImage& image, const QString& bundlePath, const BundleServices& services);
/// Rewrites "image.png", then the thumbnail and icon from the new image and the stored
/// annotations.
Status refreshImage(const QImage& image, const QString& bundlePath, const BundleServices& services);

/// What an edit of an existing bundle changed.
struct Edits {
    bool image = false;
    bool annotations = false;
};
/// Writes back an edited bundle: the changed files, then the thumbnail and icon anew (also when
/// nothing changed). Stops at the first failure.
Status writeEdits(const QImage& image, const AnnotationList& annotations, Edits changed,
                  const QString& bundlePath, const BundleServices& services);

/// Redraws "thumbnail.png" and the folder icon from an image and its annotations.
Status writePreviews(const QImage& image, const AnnotationList& annotations,
                     const QString& bundlePath, const BundleServices& services);

/// The stored annotations; never fails (anything unreadable is no annotations).
AnnotationList loadAnnotations(const QString& bundlePath);
/// The base image; null when the bundle has none or it cannot be decoded.
QImage readImage(const QString& bundlePath);
/// Whether a path names a bundle folder whose image decodes.
bool isBundle(const QString& path);

/// Renames one path to another; false on failure. Replaceable so tests can make it fail.
using Renamer = std::function<bool(const QString& from, const QString& to)>;
bool renamePath(const QString& from, const QString& to);

/// Puts the complete folder (or file) `fresh` at `target`. Nothing old is touched before
/// `fresh` is complete: the old target is moved aside, `fresh` moved in, and the old one
/// removed last; if moving `fresh` in fails, the old one is put back.
Status replacePath(const QString& fresh, const QString& target, const Renamer& rename = renamePath);

/// Saves a project at `path`, replacing one already there: the bundle is written complete
/// beside it first and swapped in with `replacePath`, so a failed save leaves the old project
/// as it was. A folder there that is no project (a folder of the user's that merely has the
/// name) is refused, never replaced.
Status replaceProject(const QImage& image, const AnnotationList& annotations, const QString& path,
                      const BundleServices& services);

/// The composite scaled to fit the thumbnail box.
QImage makeThumbnail(const QImage& composite);
/// Square icon representations with the composite aspect-fit and centred; none for an empty
/// composite.
std::vector<QImage> makeIconRepresentations(const QImage& composite);

} // namespace bundle
} // namespace vellumix
