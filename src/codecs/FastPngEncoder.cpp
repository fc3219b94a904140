#include "FastPngEncoder.h"

#include "PngRowFilter.h"
#include "model/Parallel.h"

#include <QThread>
#include <QtEndian>

#include <algorithm>
#include <vector>
#include <zlib.h>

namespace vellumix {

// The picture is cut into bands of rows; each band is filtered and deflated on its own core
// into a raw deflate segment that ends on a byte boundary (a sync flush), the last one with
// the final block. Concatenated under one zlib header and one combined Adler-32 they form the
// single zlib stream a PNG's IDAT data must be; decoders cannot tell it from a serial one.
// Each band's compressor is primed with the 32 KiB of filtered bytes that precede the band, so
// matches reach across the cut as they would in one serial stream.
namespace {

constexpr uchar pngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
// Level 6 with the filtered-data strategy and a filter chosen per row, as libpng does, keeps
// files no larger than Qt's writer makes (lower levels, a shorter match search or Up alone on
// every row all lost 1-9% to it, and libdeflate needed level 8 on screenshots and 10 on
// photos to match it); the bands on every core make it faster than Qt's.
constexpr int compressionLevel = 6;
constexpr size_t windowSize = 32768;
// Bands smaller than this are not worth a task.
constexpr long long minimumBandBytes = 256 * 1024;
// Several bands per core, so that a core that finishes its easy bands early takes on more.
constexpr int bandsPerCore = 4;
// Rows are filtered into a chunk about this size and deflated while it is still in cache.
constexpr size_t chunkBytes = 128 * 1024;

struct Segment {
    QByteArray deflated;
    uLong adler = 1;
    uLong length = 0;
    bool ok = false;
};

void appendBigEndian(QByteArray& out, quint32 value) {
    const quint32 be = qToBigEndian(value);
    out.append(reinterpret_cast<const char*>(&be), 4);
}

void appendChunk(QByteArray& out, const char type[4], const QByteArray& data) {
    appendBigEndian(out, static_cast<quint32>(data.size()));
    const qsizetype start = out.size();
    out.append(type, 4);
    out.append(data);
    const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(out.constData() + start),
                            static_cast<uInt>(out.size() - start));
    appendBigEndian(out, static_cast<quint32>(crc));
}

// Rows of the picture in PNG byte order (RGB or RGBA, not premultiplied), filtered one by one;
// each row needs only the one above it.
class FilteredRows {
public:
    FilteredRows(const QImage& argb, int channels, int firstRow)
        : m_image(argb)
        , m_channels(channels)
        , m_rowLength(static_cast<size_t>(argb.width()) * static_cast<size_t>(channels))
        , m_previous(m_rowLength, 0)
        , m_current(m_rowLength)
        , m_filter(m_rowLength, channels)
        , m_next(firstRow) {
        if (firstRow > 0) {
            rowBytes(firstRow - 1, m_previous.data());
        }
    }

    size_t filteredLength() const { return m_rowLength + 1; }

    /// Filters the next row into `out`; returns the end.
    uchar* next(uchar* out) {
        rowBytes(m_next++, m_current.data());
        out = m_filter.write(m_current.data(), m_previous.data(), out);
        std::swap(m_previous, m_current);
        return out;
    }

private:
    void rowBytes(int y, uchar* out) const {
        const auto* pixels = reinterpret_cast<const QRgb*>(m_image.constScanLine(y));
        const QRgb* end = pixels + m_image.width();
        if (m_channels == 4) {
            for (; pixels != end; ++pixels, out += 4) {
                out[0] = static_cast<uchar>(qRed(*pixels));
                out[1] = static_cast<uchar>(qGreen(*pixels));
                out[2] = static_cast<uchar>(qBlue(*pixels));
                out[3] = static_cast<uchar>(qAlpha(*pixels));
            }
            return;
        }
        for (; pixels != end; ++pixels, out += 3) {
            out[0] = static_cast<uchar>(qRed(*pixels));
            out[1] = static_cast<uchar>(qGreen(*pixels));
            out[2] = static_cast<uchar>(qBlue(*pixels));
        }
    }

    const QImage& m_image;
    int m_channels;
    size_t m_rowLength;
    std::vector<uchar> m_previous;
    std::vector<uchar> m_current;
    RowFilter m_filter;
    int m_next;
};

// Primes the compressor with the filtered rows just above `firstRow`, as far back as the
// window reaches (and no further than the band is long, so narrow pictures stay cheap).
bool primeWindow(z_stream& stream, const QImage& argb, int channels, int firstRow, int endRow) {
    const size_t filteredRow =
        static_cast<size_t>(argb.width()) * static_cast<size_t>(channels) + 1;
    const auto rowsWanted = static_cast<int>((windowSize + filteredRow - 1) / filteredRow);
    const int rows = std::min({firstRow, rowsWanted, endRow - firstRow});
    if (rows <= 0) {
        return true;
    }
    FilteredRows filtered(argb, channels, firstRow - rows);
    std::vector<uchar> bytes(filtered.filteredLength() * static_cast<size_t>(rows));
    uchar* out = bytes.data();
    for (int i = 0; i < rows; ++i) {
        out = filtered.next(out);
    }
    const size_t used = std::min(bytes.size(), windowSize);
    return deflateSetDictionary(&stream, bytes.data() + bytes.size() - used,
                                static_cast<uInt>(used)) == Z_OK;
}

bool deflateRows(z_stream& stream, Segment& segment, FilteredRows& rows, int count, bool last) {
    const size_t rowsPerChunk = std::max<size_t>(1, chunkBytes / rows.filteredLength());
    std::vector<uchar> chunk(rowsPerChunk * rows.filteredLength());
    for (int done = 0; done < count;) {
        const int n = static_cast<int>(std::min<size_t>(rowsPerChunk, size_t(count - done)));
        uchar* end = chunk.data();
        for (int i = 0; i < n; ++i) {
            end = rows.next(end);
        }
        done += n;
        const auto length = static_cast<uInt>(end - chunk.data());
        segment.adler = adler32(segment.adler, chunk.data(), length);
        segment.length += length;
        stream.next_in = chunk.data();
        stream.avail_in = length;
        const int flush = done < count ? Z_NO_FLUSH : last ? Z_FINISH : Z_SYNC_FLUSH;
        const int result = deflate(&stream, flush);
        const bool ok = flush == Z_FINISH ? result == Z_STREAM_END : result == Z_OK;
        if (!ok || stream.avail_in != 0) {
            return false;
        }
    }
    return true;
}

Segment deflateBand(const QImage& argb, int channels, int firstRow, int endRow, bool last) {
    Segment segment;
    z_stream stream{};
    if (deflateInit2(&stream, compressionLevel, Z_DEFLATED, -15, 8, Z_FILTERED) != Z_OK) {
        return segment;
    }
    FilteredRows rows(argb, channels, firstRow);
    const uLong bound = deflateBound(&stream, static_cast<uLong>(rows.filteredLength()) *
                                                  static_cast<uLong>(endRow - firstRow)) +
                        16;
    segment.deflated.resize(static_cast<qsizetype>(bound));
    stream.next_out = reinterpret_cast<Bytef*>(segment.deflated.data());
    stream.avail_out = static_cast<uInt>(bound);
    segment.ok = primeWindow(stream, argb, channels, firstRow, endRow) &&
                 deflateRows(stream, segment, rows, endRow - firstRow, last);
    segment.deflated.resize(static_cast<qsizetype>(stream.total_out));
    deflateEnd(&stream);
    return segment;
}

bool isOpaque(const QImage& argb) {
    for (int y = 0; y < argb.height(); ++y) {
        const auto* line = reinterpret_cast<const QRgb*>(argb.constScanLine(y));
        for (int x = 0; x < argb.width(); ++x) {
            if (qAlpha(line[x]) != 255) {
                return false;
            }
        }
    }
    return true;
}

QByteArray header(const QImage& image, int channels) {
    QByteArray ihdr;
    appendBigEndian(ihdr, static_cast<quint32>(image.width()));
    appendBigEndian(ihdr, static_cast<quint32>(image.height()));
    ihdr.append(char(8));                     // bits per sample
    ihdr.append(char(channels == 4 ? 6 : 2)); // RGBA or RGB
    ihdr.append(char(0));                     // deflate
    ihdr.append(char(0));                     // adaptive filtering
    ihdr.append(char(0));                     // no interlace
    return ihdr;
}

} // namespace

std::optional<QByteArray> encodePngFast(const QImage& image) {
    if (image.isNull() || image.width() <= 0 || image.height() <= 0) {
        return std::nullopt;
    }
    // Pixels are read as unpremultiplied ARGB. RGB32 and ARGB32 need no conversion, nor do
    // opaque premultiplied pictures (the canvas's), whose colours are unpremultiplied already.
    const auto readable = [](QImage::Format f) {
        return f == QImage::Format_RGB32 || f == QImage::Format_ARGB32 ||
               f == QImage::Format_ARGB32_Premultiplied;
    };
    QImage argb = readable(image.format())
                      ? image
                      : image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_ARGB32
                                                                      : QImage::Format_RGB32);
    const bool opaque = argb.format() == QImage::Format_RGB32 || isOpaque(argb);
    if (!opaque && argb.format() == QImage::Format_ARGB32_Premultiplied) {
        argb = argb.convertToFormat(QImage::Format_ARGB32);
    }
    if (argb.isNull()) {
        return std::nullopt;
    }
    const int channels = opaque ? 3 : 4;

    const long long bytes = static_cast<long long>(argb.width()) * channels * argb.height();
    const long long most = std::min<long long>(
        argb.height(),
        static_cast<long long>(std::max(1, QThread::idealThreadCount())) * bandsPerCore);
    const int bands = static_cast<int>(std::clamp(bytes / minimumBandBytes, 1LL, most));
    std::vector<Segment> segments(static_cast<size_t>(bands));
    const auto bandStart = [&](int band) {
        return static_cast<int>(static_cast<long long>(argb.height()) * band / bands);
    };
    runInParallel(bands, [&](int band) {
        segments[static_cast<size_t>(band)] =
            deflateBand(argb, channels, bandStart(band), bandStart(band + 1), band == bands - 1);
    });

    QByteArray zlibStream;
    zlibStream.append(char(0x78)); // deflate, 32 KiB window
    zlibStream.append(char(0x9c)); // default compression level, no dictionary, check bits
    uLong adler = 1;
    for (const Segment& segment : segments) {
        if (!segment.ok) {
            return std::nullopt;
        }
        zlibStream.append(segment.deflated);
        adler = adler32_combine(adler, segment.adler, static_cast<z_off_t>(segment.length));
    }
    appendBigEndian(zlibStream, static_cast<quint32>(adler));

    QByteArray png;
    png.reserve(zlibStream.size() + 128);
    png.append(reinterpret_cast<const char*>(pngSignature), sizeof pngSignature);
    appendChunk(png, "IHDR", header(argb, channels));
    if (image.dotsPerMeterX() > 0 && image.dotsPerMeterY() > 0) {
        QByteArray phys;
        appendBigEndian(phys, static_cast<quint32>(image.dotsPerMeterX()));
        appendBigEndian(phys, static_cast<quint32>(image.dotsPerMeterY()));
        phys.append(char(1)); // per metre
        appendChunk(png, "pHYs", phys);
    }
    appendChunk(png, "IDAT", zlibStream);
    appendChunk(png, "IEND", QByteArray());
    return png;
}

} // namespace vellumix
