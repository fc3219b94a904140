#include "BundleTool.h"

#include "canvas/AnnotationRenderer.h"
#include "model/CodableAnnotation.h"
#include "model/ProjectBundle.h"
#include "platform/BundleServices.h"
#include "platform/FastPngEncoder.h"

#include <QFileInfo>
#include <QSaveFile>

namespace vellumix {

namespace {

constexpr int failure = 1;
constexpr int usageError = 2;

const char* const usageText =
    "usage: vellumix-bundle create IMAGE BUNDLE\n"
    "       vellumix-bundle info BUNDLE\n"
    "       vellumix-bundle render BUNDLE OUT.png [--transparent] [--no-annotations]";

int fail(QTextStream& err, const QString& message) {
    err << "vellumix-bundle: " << message << Qt::endl;
    return failure;
}

int usage(QTextStream& err) {
    err << usageText << Qt::endl;
    return usageError;
}

int create(const QString& imagePath, const QString& bundlePath, QTextStream& err) {
    if (QFileInfo::exists(bundlePath)) {
        return fail(err, QStringLiteral("%1 already exists").arg(bundlePath));
    }
    const QImage image = readImageFile(imagePath);
    if (image.isNull()) {
        return fail(err, QStringLiteral("cannot read image %1").arg(imagePath));
    }
    const Status written = bundle::write(image, {}, bundlePath, platformBundleServices());
    if (!written) {
        return fail(err, written.error().message);
    }
    return 0;
}

int info(const QString& bundlePath, QTextStream& out, QTextStream& err) {
    if (!bundle::isBundle(bundlePath)) {
        return fail(err,
                    QStringLiteral("%1 is not a bundle with a readable image.png").arg(bundlePath));
    }
    out << QString::fromStdString(encodeAnnotations(bundle::loadAnnotations(bundlePath)))
        << Qt::endl;
    return 0;
}

int renderBundle(const QStringList& args, QTextStream& err) {
    const QString bundlePath = args.at(0);
    const QString outPath = args.at(1);
    render::FlattenOptions options;
    for (const QString& flag : args.mid(2)) {
        if (flag == u"--transparent") {
            options.transparentBase = true;
        } else if (flag == u"--no-annotations") {
            options.includeAnnotations = false;
        } else {
            return usage(err);
        }
    }
    const QImage image = bundle::readImage(bundlePath);
    if (!QFileInfo(bundlePath).isDir() || image.isNull()) {
        return fail(err,
                    QStringLiteral("%1 is not a bundle with a readable image.png").arg(bundlePath));
    }
    const AnnotationList annotations = bundle::loadAnnotations(bundlePath);
    options.outputSize = QSizeF(image.size());
    const auto flattened = render::renderFlattened(image, annotations, options);
    const auto png = flattened ? encodePngFast(*flattened) : std::nullopt;
    if (!png) {
        return fail(err, QStringLiteral("cannot render %1").arg(bundlePath));
    }
    QSaveFile file(outPath);
    if (!file.open(QIODevice::WriteOnly) || file.write(*png) != png->size() || !file.commit()) {
        return fail(err, QStringLiteral("cannot write %1: %2").arg(outPath, file.errorString()));
    }
    return 0;
}

} // namespace

int runBundleTool(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    if (arguments.isEmpty()) {
        return usage(err);
    }
    const QString command = arguments.front();
    const QStringList args = arguments.mid(1);
    if (command == u"create" && args.size() == 2) {
        return create(args[0], args[1], err);
    }
    if (command == u"info" && args.size() == 1) {
        return info(args[0], out, err);
    }
    if (command == u"render" && args.size() >= 2) {
        return renderBundle(args, err);
    }
    return usage(err);
}

} // namespace vellumix
