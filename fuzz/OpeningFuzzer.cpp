// libFuzzer target for opening a file from disk: the bytes are written to a file, recognised by
// their first bytes alone (PDF, HEIF, another image or nothing) and, when recognised as an image
// Qt reads, decoded under a small size bound. Nothing may crash, and a recognised file keeps the
// format its kind promises.

#include "imaging/OpeningRules.h"
#include "model/ImageCodec.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vellumix;
    static QTemporaryDir scratch;
    require(scratch.isValid());
    const QString path = scratch.filePath(QStringLiteral("input"));
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    {
        QFile file(path);
        require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    const InputFile input = classifyInput(path);
    require((input.kind == InputKind::none) == input.sourceFormat.isEmpty());
    require((input.kind == InputKind::pdf) == (input.sourceFormat == u"pdf"));
    require(input.kind != InputKind::bundle);
    looksLikeHeif(bytes.left(heifHeaderWindow));
    if (input.kind == InputKind::image && input.sourceFormat != u"heic") {
        const QImage image = readImageFile(path, 4 * 1024 * 1024);
        require(image.isNull() || image.sizeInBytes() > 0);
    }
    return 0;
}
