#include "CodecsModule.h"
#include "ImageExport.h"
#include "ImageExportDetail.h"
#include "process/Modules.h"

// HEIC and WebP are encoded in the codecs module, which brings libheif (and its HEVC and AV1
// libraries) and libwebp in the first time a picture is saved in one of those formats. Without
// the module, HEIC is unavailable and WebP fails as its destination would.
namespace vellumix {

namespace {

const CodecsModule* codecs() {
    return loadModule<CodecsModule>("codecs");
}

Error unavailable(const char* mimeType) {
    return Error{QStringLiteral("cannot create %1 destination").arg(QLatin1String(mimeType))};
}

} // namespace

namespace exportDetail {

bool heicEncoderAvailable() {
    const CodecsModule* module = codecs();
    return module && module->heicEncoderAvailable();
}

Result<QByteArray> encodeHeic(const QImage& prepared) {
    const CodecsModule* module = codecs();
    return module ? module->encodeHeic(prepared) : unavailable("image/heic");
}

Result<QByteArray> encodeWebp(const QImage& prepared) {
    const CodecsModule* module = codecs();
    return module ? module->encodeWebp(prepared) : unavailable("image/webp");
}

} // namespace exportDetail

QImage decodeHeic(const QByteArray& data, qint64 maxBytes) {
    const CodecsModule* module = codecs();
    return module ? module->decodeHeic(data, maxBytes) : QImage();
}

} // namespace vellumix
