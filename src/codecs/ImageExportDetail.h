#pragma once

// Shared by the encoder files of ImageExport; not for use elsewhere.

#include "model/Parallel.h"
#include "model/Result.h"

#include <QByteArray>
#include <QImage>

#include <optional>
#include <vector>

namespace vellumix::exportDetail {

/// The picture in one of three 32-bit layouts every encoder reads: RGB32 when all pixels are
/// opaque, else ARGB32 or ARGB32_Premultiplied. A 32-bit picture is shared, not copied (an
/// opaque one is viewed as RGB32 over the same pixels, so `source` must outlive the result);
/// other layouts are converted once.
QImage prepareImage(const QImage& source);

/// Row `y` of a prepared picture as straight (not premultiplied) ARGB: the row itself when it
/// needs no conversion, else `scratch` filled with it.
const QRgb* straightRow(const QImage& prepared, int y, std::vector<QRgb>& scratch);

/// A prepared picture as RGB32 or straight ARGB32; a copy only when it is premultiplied.
QImage straightImage(const QImage& prepared);

/// A prepared picture as RGB32 composited onto white, for formats without alpha; the picture
/// itself when it is opaque.
QImage onWhite(const QImage& prepared);

/// Runs `work(top, bottom)` over bands of rows on all cores.
template <class Work> void forEachBand(int height, const Work& work) {
    const int bands = parallelPieces(height, 64);
    runInParallel(bands, [&](int band) {
        const auto start = [&](int b) {
            return static_cast<int>(static_cast<long long>(height) * b / bands);
        };
        work(start(band), start(band + 1));
    });
}

bool heicEncoderAvailable();
Result<QByteArray> encodeHeic(const QImage& prepared);
Result<QByteArray> encodeWebp(const QImage& prepared);
std::optional<QByteArray> encodeGif(const QImage& prepared);
/// `opaque` is RGB32 (see onWhite); quality on libjpeg's 0…100 scale.
std::optional<QByteArray> encodeJpeg(const QImage& opaque, int quality);

} // namespace vellumix::exportDetail
