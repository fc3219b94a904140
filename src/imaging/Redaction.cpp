#include "Redaction.h"

#include "EditedBitmap.h"
#include "canvas/ImageBuffer.h"
#include "model/Parallel.h"

#include <QRandomGenerator>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

// Why pixelation here hides text, rather than merely blurring it.
//
// A pixelated block is the mean of the pixels under it. With small blocks over text in a known
// font, that mean is a fingerprint: an attacker renders candidate strings in the same font,
// pixelates them on the same grid and keeps the candidate whose block colours match (how
// published depixelation tools recover passwords from 5–8 pixel mosaics). Two things break it:
//
// 1. Blocks at least as tall as the text line (never below 12 pixels). A line then spans one or
//    two block rows and each block mixes a glyph and a half or more, so the blocks say little
//    more than "some dark ink here"; no glyph is ever resolved on its own, and the number of
//    candidate strings that give nearly the same means grows with every character.
// 2. Noise that the attacker cannot know. Every block's mean is moved by a random offset of a
//    few levels per channel, so a candidate's means can only be compared within that tolerance,
//    and at these block sizes very many candidates fit within it. The offsets of different
//    blocks are independent, so a block over known background (whose offset can be read off)
//    tells nothing about its neighbours. The noise comes from a seed the editor draws at random
//    for every redaction; a fixed seed would let the offsets be subtracted.
//
// The low per-pixel noise on top is not part of that defence (averaging a block's pixels gives
// its offset mean back to a fraction of a level); it makes the mosaic read as texture rather
// than as flat tiles whose exact colours invite comparison.
//
// The grid starts at the area's corner rather than at a random origin: a jittered grid would
// show itself in the widths of the cut-off blocks at the area's edges, so it would hide nothing
// from someone looking for it, while an aligned grid shows the user which pixels each block
// covers.

namespace vellumix::imageops {

namespace {

// SplitMix64: a good 64-bit mix of a counter, so that a block's or a row's noise depends only on
// the seed and its position, never on which thread reached it first.
constexpr quint64 mix(quint64 z) {
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    return z ^ (z >> 31);
}

constexpr quint64 golden = 0x9e3779b97f4a7c15ULL;

quint64 hashOf(quint64 seed, quint64 a, quint64 b, quint64 c) {
    return mix(mix(mix(seed + golden * (a + 1)) + golden * (b + 1)) + golden * (c + 1));
}

// A byte mapped evenly onto −amplitude…amplitude.
constexpr int spread(quint64 byte, int amplitude) {
    return static_cast<int>(((byte & 0xff) * (2 * amplitude + 1)) >> 8) - amplitude;
}

// Rows of an area split into at most one piece per core, each large enough to be worth a thread.
template <class Work> void forRowPieces(int rows, long long pixelsPerRow, Work&& work) {
    constexpr long long minimumPixelsPerPiece = 1 << 18;
    const long long rowsPerPieceMinimum =
        std::max(1LL, minimumPixelsPerPiece / std::max(1LL, pixelsPerRow));
    const int pieces = parallelPieces(rows, rowsPerPieceMinimum);
    if (pieces <= 1) {
        work(0, rows);
        return;
    }
    runInParallel(pieces, [&](int piece) {
        const int first = static_cast<int>(static_cast<long long>(rows) * piece / pieces);
        const int last = static_cast<int>(static_cast<long long>(rows) * (piece + 1) / pieces);
        work(first, last);
    });
}

void fillArea(QImage& image, const QRect& area, quint32 colour) {
    const qsizetype stride = image.bytesPerLine();
    uchar* const bits = image.bits();
    forRowPieces(area.height(), area.width(), [&](int first, int last) {
        for (int y = area.top() + first; y < area.top() + last; ++y) {
            auto* row = reinterpret_cast<quint32*>(bits + y * stride) + area.left();
            std::fill(row, row + area.width(), colour);
        }
    });
}

// The per-pixel noise of an area: one packed delta per pixel, each colour byte 0…2A (for
// −A…A, A = pixelationPixelNoise) and alpha 0, long enough that every row can start at a random
// phase below `noisePhases` and run the area's width without wrapping. Added to a block colour
// whose channels were kept within A…alpha − A, a delta never carries into the next byte, so a
// pixel costs one add instead of three random draws and clamps.
constexpr int noisePhases = 4096;

std::vector<quint32> pixelNoise(int width, quint64 areaSeed) {
    std::vector<quint32> noise(static_cast<std::size_t>(width) + noisePhases);
    for (std::size_t i = 0; i < noise.size(); ++i) {
        const quint64 n = hashOf(areaSeed, 2, i, 0);
        const auto level = [n](int shift) {
            return quint32(spread(n >> shift, pixelationPixelNoise) + pixelationPixelNoise);
        };
        noise[i] = (level(0) << 16) | (level(8) << 8) | level(16);
    }
    return noise;
}

// A block's colour: its mean with the block's random offset, as the base the pixel noise is
// added to. Blocks too transparent to hold the noise (alpha < 2A) get none.
struct BlockColour {
    quint32 base;
    bool noisy;
};

BlockColour blockColour(int a, int r, int g, int b) {
    if (a < 2 * pixelationPixelNoise) {
        const auto channel = [a](int v) { return quint32(std::clamp(v, 0, a)); };
        return {(quint32(a) << 24) | (channel(r) << 16) | (channel(g) << 8) | channel(b), false};
    }
    // Channels kept within A…a − A (premultiplied colour may not exceed alpha), less A: the
    // noise adds 0…2A back.
    const auto channel = [a](int v) {
        constexpr int amplitude = pixelationPixelNoise;
        return quint32(std::clamp(v, amplitude, a - amplitude) - amplitude);
    };
    return {(quint32(a) << 24) | (channel(r) << 16) | (channel(g) << 8) | channel(b), true};
}

struct BlockSum {
    quint64 a = 0, r = 0, g = 0, b = 0;
};

// Adds row[start…end) to `sum`, four channels at a time in 16-bit lanes of one 64-bit word
// (B, R, G, A from the low end), emptied every 256 pixels before a lane can overflow.
inline void addPixels(const quint32* row, int start, int end, BlockSum& sum) {
    for (int chunk = start; chunk < end; chunk += 256) {
        const int chunkEnd = std::min(chunk + 256, end);
        quint64 lanes = 0;
        for (int x = chunk; x < chunkEnd; ++x) {
            const quint32 p = row[x];
            lanes += (quint64(p & 0xff00ff00u) << 24) | (p & 0x00ff00ffu);
        }
        sum.b += lanes & 0xffff;
        sum.r += (lanes >> 16) & 0xffff;
        sum.g += (lanes >> 32) & 0xffff;
        sum.a += lanes >> 48;
    }
}

// One row of blocks: sums per block, then every pixel rewritten as its block's noisy mean.
void pixelateBlockRow(uchar* bits, qsizetype stride, const QRect& area, int block, int top,
                      int bottom, int blockRow, quint64 areaSeed, const std::vector<quint32>& noise,
                      std::vector<BlockSum>& sums, std::vector<BlockColour>& colours) {
    const int columns = static_cast<int>(sums.size());
    std::fill(sums.begin(), sums.end(), BlockSum{});
    for (int y = top; y < bottom; ++y) {
        const auto* row = reinterpret_cast<const quint32*>(bits + y * stride) + area.left();
        for (int column = 0; column < columns; ++column) {
            const int start = column * block;
            addPixels(row, start, std::min(start + block, area.width()), sums[column]);
        }
    }

    for (int column = 0; column < columns; ++column) {
        const int width = std::min(block, area.width() - column * block);
        const quint64 count = quint64(width) * quint64(bottom - top);
        const auto average = [count](quint64 total) {
            return static_cast<int>((total + count / 2) / count);
        };
        const BlockSum& sum = sums[column];
        const quint64 offset = hashOf(areaSeed, 1, quint64(blockRow), quint64(column));
        // Alpha keeps its mean: an opaque picture stays opaque.
        colours[column] =
            blockColour(average(sum.a), average(sum.r) + spread(offset, pixelationBlockNoise),
                        average(sum.g) + spread(offset >> 8, pixelationBlockNoise),
                        average(sum.b) + spread(offset >> 16, pixelationBlockNoise));
    }

    for (int y = top; y < bottom; ++y) {
        auto* row = reinterpret_cast<quint32*>(bits + y * stride) + area.left();
        const quint32* rowNoise = noise.data() + hashOf(areaSeed, 3, quint64(y), 0) % noisePhases;
        for (int column = 0; column < columns; ++column) {
            const int start = column * block;
            const int end = std::min(start + block, area.width());
            const BlockColour colour = colours[column];
            if (!colour.noisy) {
                std::fill(row + start, row + end, colour.base);
                continue;
            }
            for (int x = start; x < end; ++x) {
                row[x] = colour.base + rowNoise[x];
            }
        }
    }
}

void pixelateArea(QImage& image, const QRect& area, int block, quint64 areaSeed) {
    const qsizetype stride = image.bytesPerLine();
    uchar* const bits = image.bits();
    const int blockRows = (area.height() + block - 1) / block;
    const int columns = (area.width() + block - 1) / block;
    const std::vector<quint32> noise = pixelNoise(area.width(), areaSeed);
    forRowPieces(blockRows, static_cast<long long>(area.width()) * block, [&](int first, int last) {
        std::vector<BlockSum> sums(columns);
        std::vector<BlockColour> colours(columns);
        for (int blockRow = first; blockRow < last; ++blockRow) {
            const int top = area.top() + blockRow * block;
            const int bottom = std::min(top + block, area.bottom() + 1);
            pixelateBlockRow(bits, stride, area, block, top, bottom, blockRow, areaSeed, noise,
                             sums, colours);
        }
    });
}

// The picture as premultiplied ARGB32 in memory of its own when it is to be written to. A 5K
// copy into fresh memory would pay a page fault per 4 KiB on first touch (more than the copy
// itself), so it goes into pre-populated memory, both cores copying.
QImage editableCopy(const QImage& image, bool willWrite) {
    if (image.format() != QImage::Format_ARGB32_Premultiplied || !willWrite) {
        return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    }
    QImage copy = allocateImage(image.width(), image.height(), image.format());
    if (copy.isNull()) {
        return copy;
    }
    const qsizetype rowBytes = qsizetype(image.width()) * 4;
    forRowPieces(image.height(), image.width(), [&](int first, int last) {
        for (int y = first; y < last; ++y) {
            std::memcpy(copy.scanLine(y), image.constScanLine(y), rowBytes);
        }
    });
    return copy;
}

quint32 opaqueFill(const Color& fill) {
    const Color solid = fill.isClear() ? Color::black() : fill.opaque();
    return qPremultiply(solid.toQColor().rgba());
}

} // namespace

QRect redactionPixels(const QRectF& rect, QSize imageSize) {
    const QRectF r = rect.normalized();
    if (!std::isfinite(r.left()) || !std::isfinite(r.top()) || !std::isfinite(r.right()) ||
        !std::isfinite(r.bottom()) || !(r.width() > 0) || !(r.height() > 0)) {
        return {};
    }
    // Clipping in doubles first keeps huge coordinates from overflowing int.
    const double left = std::clamp(std::floor(r.left()), 0.0, double(imageSize.width()));
    const double top = std::clamp(std::floor(r.top()), 0.0, double(imageSize.height()));
    const double right = std::clamp(std::ceil(r.right()), 0.0, double(imageSize.width()));
    const double bottom = std::clamp(std::ceil(r.bottom()), 0.0, double(imageSize.height()));
    if (right <= left || bottom <= top) {
        return {};
    }
    return QRect(static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
                 static_cast<int>(bottom - top));
}

int pixelationBlockSize(const QRect& area, const std::vector<QRectF>& textLines) {
    const QRectF pixels(area);
    double tallest = 0;
    for (const QRectF& drawn : textLines) {
        const QRectF line = drawn.normalized();
        const double height = line.height();
        const double width = line.width();
        if (!std::isfinite(line.left()) || !std::isfinite(line.top()) || !std::isfinite(width) ||
            !std::isfinite(height) || !(height > 0)) {
            continue;
        }
        const QRectF overlap = pixels.intersected(line);
        if (overlap.height() >= 0.5 * height && overlap.width() >= std::min(0.5 * height, width)) {
            tallest = std::max(tallest, height);
        }
    }
    // Lines taller than any picture can be are ignored rather than overflowing int.
    constexpr double largest = 1 << 20;
    return std::max(minimumPixelationBlock,
                    static_cast<int>(std::ceil(std::min(tallest, largest))));
}

quint64 randomRedactionSeed() {
    return QRandomGenerator::system()->generate64();
}

QImage redact(const QImage& image, const std::vector<RedactionArea>& areas, const Color& fill,
              const std::vector<QRectF>& textLines, quint64 seed) {
    if (image.isNull()) {
        return {};
    }
    std::vector<std::pair<std::size_t, QRect>> covered;
    for (std::size_t index = 0; index < areas.size(); ++index) {
        if (const QRect pixels = redactionPixels(areas[index].rect, image.size());
            !pixels.isEmpty()) {
            covered.emplace_back(index, pixels);
        }
    }
    QImage result = editableCopy(image, !covered.empty());
    if (result.isNull()) {
        return {};
    }
    result = editedBitmap(std::move(result), image.dotsPerMeterX(), image.dotsPerMeterY());
    const quint32 fillColour = opaqueFill(fill);
    for (const auto& [index, pixels] : covered) {
        if (areas[index].style == RedactionStyle::fill) {
            fillArea(result, pixels, fillColour);
        } else {
            pixelateArea(result, pixels, pixelationBlockSize(pixels, textLines),
                         hashOf(seed, 0, index, 0));
        }
    }
    return result;
}

QString redactionActionName(int count) {
    return count == 1 ? QStringLiteral("Redact Area") : QStringLiteral("Redact Areas");
}

} // namespace vellumix::imageops
