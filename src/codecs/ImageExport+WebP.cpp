#include "CodecLibraries.h"
#include "ImageExportDetail.h"

#include <webp/encode.h>

namespace vellumix::codecs {

using namespace exportDetail;

namespace {

// Lossless effort, chosen by measurement on a 5120 × 2880 synthetic screenshot (libwebp 1.2.4,
// one core of a 2.6 GHz EPYC; the encoder is single-threaded at these settings):
//
//   method 0, quality   0:  0.32 s, 3.25 MB        method 1, quality   0:  1.22 s, 2.83 MB
//   method 0, quality  50:  0.39 s, 2.24 MB        method 1, quality  50:  2.12 s, 1.88 MB
//   method 0, quality  75:  0.50 s, 2.15 MB        method 1, quality 100:  2.80 s, 1.83 MB
//   method 0, quality 100:  0.79 s, 2.09 MB
//
// Method 1 and up miss the 1.5 s goal or leave no margin for a slower machine. Within
// method 0, quality 75 is within 3% of the smallest file at two thirds of the time.
constexpr int method = 0;
constexpr float quality = 75;

int appendToByteArray(const uint8_t* data, size_t size, const WebPPicture* picture) {
    static_cast<QByteArray*>(picture->custom_ptr)
        ->append(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    return 1;
}

Error destinationError() {
    return Error{QStringLiteral("cannot create image/webp destination")};
}

} // namespace

Result<QByteArray> encodeWebp(const QImage& prepared) {
    WebPConfig config;
    if (!WebPConfigInit(&config)) {
        return destinationError();
    }
    config.lossless = 1;
    config.method = method;
    config.quality = quality;
    // Exact: pixels under full transparency keep their colour, as in PNG, and libwebp never
    // writes into the picture, so it can read the caller's pixels in place.
    config.exact = 1;
    if (!WebPValidateConfig(&config)) {
        return destinationError();
    }
    WebPPicture picture;
    if (!WebPPictureInit(&picture) || prepared.width() > WEBP_MAX_DIMENSION ||
        prepared.height() > WEBP_MAX_DIMENSION) {
        return destinationError();
    }
    // libwebp's ARGB is one native-endian 0xAARRGGBB word per pixel: Qt's ARGB32 exactly, and
    // RGB32 keeps 0xff in the alpha byte.
    const QImage pixels = straightImage(prepared);
    picture.use_argb = 1;
    picture.width = pixels.width();
    picture.height = pixels.height();
    picture.argb = const_cast<uint32_t*>(reinterpret_cast<const uint32_t*>(pixels.constBits()));
    picture.argb_stride = static_cast<int>(pixels.bytesPerLine() / 4);
    QByteArray out;
    picture.writer = appendToByteArray;
    picture.custom_ptr = &out;
    const bool encoded = WebPEncode(&config, &picture) != 0;
    WebPPictureFree(&picture);
    if (!encoded || out.isEmpty()) {
        return Error{QStringLiteral("image/webp finalize")};
    }
    return out;
}

} // namespace vellumix::codecs
