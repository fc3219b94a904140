#include "CodecLibraries.h"
#include "ImageExportDetail.h"

#include <algorithm>
#include <libheif/heif.h>
#include <memory>

namespace vellumix::codecs {

using namespace exportDetail;

namespace {

constexpr int lossyQuality = 85;
// libheif's quality 85 is x265's constant rate factor 7.5: close to visually lossless.
//
// x265 speed preset, chosen by measurement on a 5120 × 2880 synthetic screenshot at quality 85
// with 4:4:4 chroma (libheif 1.15.1, x265 3.5, 2 otherwise idle cores; wall time, size, PSNR):
//
//   ultrafast  1.4 s  3.49 MB  51.1 dB        medium               3.9 s  2.71 MB  50.9 dB
//   superfast  3.5 s  2.77 MB  51.5 dB        slow (libheif's own) 6.9 s  2.61 MB  50.9 dB
//   veryfast   3.7 s  2.71 MB  50.9 dB
//
// Only ultrafast meets the 2.5 s goal (about 2.3 s while another process holds one core); its
// files are 29% larger at the same quality.
constexpr const char* speedPreset = "ultrafast";

// Keeps libheif initialised for the lifetime of one encode (the calls are reference counted).
struct LibheifScope {
    LibheifScope() { heif_init(nullptr); }
    ~LibheifScope() { heif_deinit(); }
    LibheifScope(const LibheifScope&) = delete;
    LibheifScope& operator=(const LibheifScope&) = delete;
};

struct ContextFree {
    void operator()(heif_context* c) const { heif_context_free(c); }
};
struct EncoderRelease {
    void operator()(heif_encoder* e) const { heif_encoder_release(e); }
};
struct ImageRelease {
    void operator()(heif_image* i) const { heif_image_release(i); }
};
struct HandleRelease {
    void operator()(heif_image_handle* h) const { heif_image_handle_release(h); }
};
struct OptionsFree {
    void operator()(heif_encoding_options* o) const { heif_encoding_options_free(o); }
};

bool ok(const heif_error& error) {
    return error.code == heif_error_Ok;
}

Error destinationError() {
    return Error{QStringLiteral("cannot create image/heic destination")};
}

heif_error appendToByteArray(heif_context*, const void* data, size_t size, void* userdata) {
    static_cast<QByteArray*>(userdata)->append(static_cast<const char*>(data),
                                               static_cast<qsizetype>(size));
    return heif_error{heif_error_Ok, heif_suberror_Unspecified, "Success"};
}

struct NclxFree {
    void operator()(heif_color_profile_nclx* n) const { heif_nclx_color_profile_free(n); }
};

// The picture as full-resolution Y′CbCr (and alpha), converted here in parallel rather than by
// libheif: that saves libheif's single-threaded conversion (about 0.25 s at 5K) and one copy of
// the picture. The matrix is BT.601 at full range (JPEG's) in 16-bit fixed point; the file's
// colour box declares it, with sRGB primaries and transfer, so readers convert back with it.
std::unique_ptr<heif_image, ImageRelease> heifImage(const QImage& prepared) {
    const bool alpha = prepared.format() != QImage::Format_RGB32;
    const int width = prepared.width();
    const int height = prepared.height();
    heif_image* raw = nullptr;
    if (!ok(heif_image_create(width, height, heif_colorspace_YCbCr, heif_chroma_444, &raw))) {
        return nullptr;
    }
    std::unique_ptr<heif_image, ImageRelease> image(raw);
    const heif_channel channels[] = {heif_channel_Y, heif_channel_Cb, heif_channel_Cr,
                                     heif_channel_Alpha};
    uint8_t* planes[4] = {};
    int strides[4] = {};
    for (int i = 0; i < (alpha ? 4 : 3); ++i) {
        if (!ok(heif_image_add_plane(raw, channels[i], width, height, 8))) {
            return nullptr;
        }
        planes[i] = heif_image_get_plane(raw, channels[i], &strides[i]);
        if (!planes[i]) {
            return nullptr;
        }
    }
    std::unique_ptr<heif_color_profile_nclx, NclxFree> nclx(heif_nclx_color_profile_alloc());
    if (!nclx) {
        return nullptr;
    }
    nclx->color_primaries = heif_color_primaries_ITU_R_BT_709_5;
    nclx->transfer_characteristics = heif_transfer_characteristic_IEC_61966_2_1;
    nclx->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
    nclx->full_range_flag = 1;
    if (!ok(heif_image_set_nclx_color_profile(raw, nclx.get()))) {
        return nullptr;
    }
    forEachBand(height, [&](int top, int bottom) {
        std::vector<QRgb> scratch;
        constexpr int half = 1 << 15;
        constexpr int chromaOffset = (128 << 16) + half;
        for (int y = top; y < bottom; ++y) {
            const QRgb* in = straightRow(prepared, y, scratch);
            const auto row = [&](int i) {
                return planes[i] + static_cast<qsizetype>(y) * strides[i];
            };
            uint8_t* luma = row(0);
            uint8_t* cb = row(1);
            uint8_t* cr = row(2);
            for (int x = 0; x < width; ++x) {
                const int r = qRed(in[x]), g = qGreen(in[x]), b = qBlue(in[x]);
                luma[x] = static_cast<uint8_t>((19595 * r + 38470 * g + 7471 * b + half) >> 16);
                cb[x] = static_cast<uint8_t>(
                    std::min((-11059 * r - 21709 * g + 32768 * b + chromaOffset) >> 16, 255));
                cr[x] = static_cast<uint8_t>(
                    std::min((32768 * r - 27439 * g - 5329 * b + chromaOffset) >> 16, 255));
            }
            if (alpha) {
                uint8_t* a = row(3);
                for (int x = 0; x < width; ++x) {
                    a[x] = static_cast<uint8_t>(qAlpha(in[x]));
                }
            }
        }
    });
    return image;
}

} // namespace

bool heicEncoderAvailable() {
    const LibheifScope scope;
    return heif_have_encoder_for_format(heif_compression_HEVC) != 0;
}

Result<QByteArray> encodeHeic(const QImage& prepared) {
    const LibheifScope scope;
    std::unique_ptr<heif_context, ContextFree> context(heif_context_alloc());
    if (!context) {
        return destinationError();
    }
    heif_encoder* rawEncoder = nullptr;
    if (!ok(heif_context_get_encoder_for_format(context.get(), heif_compression_HEVC,
                                                &rawEncoder))) {
        return destinationError();
    }
    std::unique_ptr<heif_encoder, EncoderRelease> encoder(rawEncoder);
    // Full-resolution chroma: 4:2:0 smears the coloured edges of UI text.
    if (!ok(heif_encoder_set_lossy_quality(rawEncoder, lossyQuality)) ||
        !ok(heif_encoder_set_parameter_string(rawEncoder, "chroma", "444")) ||
        !ok(heif_encoder_set_parameter_string(rawEncoder, "preset", speedPreset)) ||
        // libheif shrinks the coding tree unit for pictures under 64 pixels on a side, and
        // x265 then refuses long strips (5000 × 16 fails); libheif pads to 64 anyway.
        !ok(heif_encoder_set_parameter_string(rawEncoder, "x265:ctu", "64"))) {
        return destinationError();
    }
    const auto image = heifImage(prepared);
    if (!image) {
        return destinationError();
    }
    std::unique_ptr<heif_encoding_options, OptionsFree> options(heif_encoding_options_alloc());
    if (!options) {
        return destinationError();
    }
    options->save_alpha_channel = 1;
    heif_image_handle* handle = nullptr;
    if (!ok(heif_context_encode_image(context.get(), image.get(), rawEncoder, options.get(),
                                      &handle))) {
        return Error{QStringLiteral("image/heic finalize")};
    }
    heif_image_handle_release(handle);
    QByteArray out;
    heif_writer writer{1, appendToByteArray};
    if (!ok(heif_context_write(context.get(), &writer, &out)) || out.isEmpty()) {
        return Error{QStringLiteral("image/heic finalize")};
    }
    return out;
}

QImage decodeHeic(const QByteArray& data, qint64 maxBytes) {
    const LibheifScope scope;
    std::unique_ptr<heif_context, ContextFree> context(heif_context_alloc());
    if (!context || !ok(heif_context_read_from_memory_without_copy(context.get(), data.constData(),
                                                                   size_t(data.size()), nullptr))) {
        return {};
    }
    heif_image_handle* rawHandle = nullptr;
    if (!ok(heif_context_get_primary_image_handle(context.get(), &rawHandle))) {
        return {};
    }
    std::unique_ptr<heif_image_handle, HandleRelease> handle(rawHandle);
    // The header's size is checked before any pixel is decoded; 4 bytes a pixel after decoding.
    if (static_cast<qint64>(heif_image_handle_get_width(rawHandle)) *
            heif_image_handle_get_height(rawHandle) * 4 >
        maxBytes) {
        return {};
    }
    const bool alpha = heif_image_handle_has_alpha_channel(rawHandle) != 0;
    heif_image* rawImage = nullptr;
    if (!ok(heif_decode_image(rawHandle, &rawImage, heif_colorspace_RGB,
                              alpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB,
                              nullptr))) {
        return {};
    }
    std::unique_ptr<heif_image, ImageRelease> decoded(rawImage);
    int stride = 0;
    const uint8_t* plane =
        heif_image_get_plane_readonly(rawImage, heif_channel_interleaved, &stride);
    const int width = heif_image_get_width(rawImage, heif_channel_interleaved);
    const int height = heif_image_get_height(rawImage, heif_channel_interleaved);
    QImage image(width, height, alpha ? QImage::Format_ARGB32 : QImage::Format_RGB32);
    if (!plane || image.isNull()) {
        return {};
    }
    for (int y = 0; y < height; ++y) {
        const uint8_t* in = plane + static_cast<qsizetype>(y) * stride;
        auto* out = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < width; ++x, in += alpha ? 4 : 3) {
            out[x] = qRgba(in[0], in[1], in[2], alpha ? in[3] : 255);
        }
    }
    return image;
}

} // namespace vellumix::codecs
