#include "AnnotationID.h"

#include <QRandomGenerator>

namespace vellumix {

namespace {
// 248 = 4 × 62: bytes at or above it would favour the first characters, so they are redrawn.
constexpr quint32 acceptBelow = 256 - 256 % 62;
} // namespace

AnnotationID AnnotationID::generate() {
    QString raw;
    raw.reserve(generatedLength);
    auto* source = QRandomGenerator::system();
    while (raw.size() < generatedLength) {
        quint32 word = source->generate();
        for (int i = 0; i < 4 && raw.size() < generatedLength; ++i, word >>= 8) {
            const quint32 byte = word & 0xFF;
            if (byte < acceptBelow) {
                raw.append(alphabet[byte % alphabet.size()]);
            }
        }
    }
    return AnnotationID(raw);
}

Result<AnnotationID> AnnotationID::decode(const QString& raw) {
    if (raw.isEmpty()) {
        return Error{QStringLiteral("AnnotationID cannot be empty")};
    }
    return AnnotationID(raw);
}

} // namespace vellumix
