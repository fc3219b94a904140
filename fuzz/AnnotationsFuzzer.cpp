// libFuzzer target for the "annotations.json" reader: bytes in, annotations out, never a crash.
// Writing and reading must also settle: the first write may normalise (a text whose colours are
// all clear is written without a glyph colour and comes back red, by the file format's rules),
// but from then on a write followed by a read changes nothing.

#include "model/CodableAnnotation.h"

#include <QImage>

#include <cstdint>
#include <cstdlib>

namespace {

QImage tinyOverlay(const QString& ref) {
    if (ref.size() != 4) {
        return {};
    }
    QImage image(2, 2, QImage::Format_ARGB32);
    image.fill(Qt::blue);
    return image;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace vellumix;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const AnnotationList first = decodeAnnotations(text, tinyOverlay);
    const AnnotationList second = decodeAnnotations(encodeAnnotations(first), tinyOverlay);
    const std::string settled = encodeAnnotations(second);
    const AnnotationList third = decodeAnnotations(settled, tinyOverlay);
    if (second.size() != first.size() || third.size() != second.size() ||
        encodeAnnotations(third) != settled) {
        std::abort(); // a reader and writer that disagree lose data
    }
    return 0;
}
