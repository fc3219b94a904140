#include "ImageBuffer.h"

#include <limits>
#include <utility>

#if defined(Q_OS_LINUX)
#include <sys/mman.h>
#endif

namespace vellumix {

namespace {

// Below this a plain allocation is as fast.
constexpr qsizetype populateThreshold = 4 * 1024 * 1024;

#if defined(Q_OS_LINUX)
void unmapPixels(void* info) {
    auto* mapping = static_cast<std::pair<void*, size_t>*>(info);
    munmap(mapping->first, mapping->second);
    delete mapping;
}
#endif

} // namespace

QImage allocateImage(int width, int height, QImage::Format format) {
    if (width <= 0 || height <= 0) {
        return {};
    }
    const int depth = static_cast<int>(QImage::toPixelFormat(format).bitsPerPixel());
    const qsizetype bytesPerLine = ((static_cast<qsizetype>(width) * depth + 31) / 32) * 4;
    const qsizetype bytes = bytesPerLine * height;
#if defined(Q_OS_LINUX)
    if (bytes >= populateThreshold && bytesPerLine <= std::numeric_limits<int>::max()) {
        void* pixels = mmap(nullptr, static_cast<size_t>(bytes), PROT_READ | PROT_WRITE,
                            MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        if (pixels != MAP_FAILED) {
            auto* mapping = new std::pair<void*, size_t>(pixels, static_cast<size_t>(bytes));
            QImage image(static_cast<uchar*>(pixels), width, height, bytesPerLine, format,
                         unmapPixels, mapping);
            if (!image.isNull()) {
                return image;
            }
            unmapPixels(mapping);
        }
    }
#endif
    QImage image(width, height, format);
    if (!image.isNull()) {
        image.fill(0);
    }
    return image;
}

} // namespace vellumix
