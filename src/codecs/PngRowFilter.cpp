#include "PngRowFilter.h"

#include <cstdlib>
#include <cstring>
#include <limits>

namespace vellumix {

namespace {

enum Filter { none, sub, up, average, paeth };

// A byte's distance from zero when read as signed: small for residues near 0 or 255.
inline unsigned magnitude(uchar v) {
    return v < 128 ? v : 256u - v;
}

inline uchar paethPredictor(int a, int b, int c) {
    const int pa = std::abs(b - c);
    const int pb = std::abs(a - c);
    const int pc = std::abs(a + b - 2 * c);
    return static_cast<uchar>(pa <= pb && pa <= pc ? a : pb <= pc ? b : c);
}

// The loops run over whole rows without branching on the filter, so the compiler vectorises
// the four simple ones.
unsigned long filterRow(Filter filter, const uchar* row, const uchar* prev, size_t length,
                        size_t bpp, uchar* out) {
    switch (filter) {
    case none:
        std::memcpy(out, row, length);
        break;
    case sub:
        std::memcpy(out, row, bpp);
        for (size_t i = bpp; i < length; ++i) {
            out[i] = static_cast<uchar>(row[i] - row[i - bpp]);
        }
        break;
    case up:
        for (size_t i = 0; i < length; ++i) {
            out[i] = static_cast<uchar>(row[i] - prev[i]);
        }
        break;
    case average:
        for (size_t i = 0; i < bpp; ++i) {
            out[i] = static_cast<uchar>(row[i] - (prev[i] >> 1));
        }
        for (size_t i = bpp; i < length; ++i) {
            out[i] = static_cast<uchar>(row[i] - ((row[i - bpp] + prev[i]) >> 1));
        }
        break;
    case paeth:
        for (size_t i = 0; i < bpp; ++i) {
            out[i] = static_cast<uchar>(row[i] - prev[i]);
        }
        for (size_t i = bpp; i < length; ++i) {
            out[i] =
                static_cast<uchar>(row[i] - paethPredictor(row[i - bpp], prev[i], prev[i - bpp]));
        }
        break;
    }
    unsigned long sum = 0;
    for (size_t i = 0; i < length; ++i) {
        sum += magnitude(out[i]);
    }
    return sum;
}

} // namespace

RowFilter::RowFilter(size_t rowLength, int bytesPerPixel)
    : m_length(rowLength), m_bpp(static_cast<size_t>(bytesPerPixel)) {
    for (auto& candidate : m_candidates) {
        candidate.resize(rowLength);
    }
}

uchar* RowFilter::write(const uchar* row, const uchar* previous, uchar* out) {
    unsigned long best = std::numeric_limits<unsigned long>::max();
    int chosen = up;
    for (int f = none; f <= paeth; ++f) {
        const unsigned long sum = filterRow(Filter(f), row, previous, m_length, m_bpp,
                                            m_candidates[static_cast<size_t>(f)].data());
        if (sum < best) {
            best = sum;
            chosen = f;
        }
    }
    *out++ = static_cast<uchar>(chosen);
    std::memcpy(out, m_candidates[static_cast<size_t>(chosen)].data(), m_length);
    return out + m_length;
}

} // namespace vellumix
