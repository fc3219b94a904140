#include "PngRowFilter.h"

#include <array>
#include <cstdlib>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace vellumix {

namespace {

enum Filter { none, sub, up, average, paeth, filterCount };
using Scores = std::array<unsigned long, filterCount>;

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

// Byte i of the row under every filter; a, b and c are the left, upper and upper-left bytes.
inline void scoreByte(int x, int a, int b, int c, Scores& scores) {
    scores[none] += magnitude(static_cast<uchar>(x));
    scores[sub] += magnitude(static_cast<uchar>(x - a));
    scores[up] += magnitude(static_cast<uchar>(x - b));
    scores[average] += magnitude(static_cast<uchar>(x - ((a + b) >> 1)));
    scores[paeth] += magnitude(static_cast<uchar>(x - paethPredictor(a, b, c)));
}

void scoreScalar(const uchar* row, const uchar* prev, size_t from, size_t to, size_t bpp,
                 Scores& scores) {
    for (size_t i = from; i < to; ++i) {
        const bool left = i >= bpp;
        scoreByte(row[i], left ? row[i - bpp] : 0, prev[i], left ? prev[i - bpp] : 0, scores);
    }
}

#if defined(__SSE2__)
// Sum of the bytes' magnitudes, added into two 64-bit lanes.
inline __m128i addMagnitudes(__m128i acc, __m128i v) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i m = _mm_min_epu8(v, _mm_sub_epi8(zero, v));
    return _mm_add_epi64(acc, _mm_sad_epu8(m, zero));
}

inline __m128i abs16(__m128i v) {
    return _mm_max_epi16(v, _mm_sub_epi16(_mm_setzero_si128(), v));
}

// Paeth's predictor for eight bytes held in 16-bit lanes.
inline __m128i paeth16(__m128i a, __m128i b, __m128i c) {
    const __m128i pa = abs16(_mm_sub_epi16(b, c));
    const __m128i pb = abs16(_mm_sub_epi16(a, c));
    const __m128i pc = abs16(_mm_sub_epi16(_mm_add_epi16(a, b), _mm_add_epi16(c, c)));
    const __m128i notA = _mm_or_si128(_mm_cmpgt_epi16(pa, pb), _mm_cmpgt_epi16(pa, pc));
    const __m128i notB = _mm_cmpgt_epi16(pb, pc);
    const __m128i bOrC = _mm_or_si128(_mm_andnot_si128(notB, b), _mm_and_si128(notB, c));
    return _mm_or_si128(_mm_andnot_si128(notA, a), _mm_and_si128(notA, bOrC));
}

inline __m128i paeth8(__m128i a, __m128i b, __m128i c) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low =
        paeth16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero), _mm_unpacklo_epi8(c, zero));
    const __m128i high =
        paeth16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero), _mm_unpackhi_epi8(c, zero));
    return _mm_packus_epi16(low, high);
}

// Scores 16 bytes at a time from `from` (at least bpp) while whole vectors fit; returns where
// it stopped.
size_t scoreVector(const uchar* row, const uchar* prev, size_t from, size_t to, size_t bpp,
                   Scores& scores) {
    const auto load = [](const uchar* p) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    };
    __m128i acc[filterCount] = {};
    size_t i = from;
    for (; i + 16 <= to; i += 16) {
        const __m128i x = load(row + i);
        const __m128i a = load(row + i - bpp);
        const __m128i b = load(prev + i);
        const __m128i c = load(prev + i - bpp);
        const __m128i odd = _mm_and_si128(_mm_xor_si128(a, b), _mm_set1_epi8(1));
        const __m128i mean = _mm_sub_epi8(_mm_avg_epu8(a, b), odd); // floor((a + b) / 2)
        acc[none] = addMagnitudes(acc[none], x);
        acc[sub] = addMagnitudes(acc[sub], _mm_sub_epi8(x, a));
        acc[up] = addMagnitudes(acc[up], _mm_sub_epi8(x, b));
        acc[average] = addMagnitudes(acc[average], _mm_sub_epi8(x, mean));
        acc[paeth] = addMagnitudes(acc[paeth], _mm_sub_epi8(x, paeth8(a, b, c)));
    }
    for (int f = none; f < filterCount; ++f) {
        alignas(16) unsigned long long lanes[2];
        _mm_store_si128(reinterpret_cast<__m128i*>(lanes), acc[f]);
        scores[static_cast<size_t>(f)] += static_cast<unsigned long>(lanes[0] + lanes[1]);
    }
    return i;
}
#endif

Scores score(const uchar* row, const uchar* prev, size_t length, size_t bpp) {
    Scores scores{};
    const size_t head = std::min(bpp, length);
    scoreScalar(row, prev, 0, head, bpp, scores);
    size_t done = head;
#if defined(__SSE2__)
    done = scoreVector(row, prev, head, length, bpp, scores);
#endif
    scoreScalar(row, prev, done, length, bpp, scores);
    return scores;
}

// The loops run over whole rows without branching on the filter, so the compiler vectorises
// them.
void filterRow(Filter filter, const uchar* row, const uchar* prev, size_t length, size_t bpp,
               uchar* out) {
    switch (filter) {
    case none:
    case filterCount:
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
}

} // namespace

RowFilter::RowFilter(size_t rowLength, int bytesPerPixel)
    : m_length(rowLength), m_bpp(static_cast<size_t>(bytesPerPixel)) {}

uchar* RowFilter::write(const uchar* row, const uchar* previous, uchar* out) const {
    const Scores scores = score(row, previous, m_length, m_bpp);
    int chosen = none; // ties go to the simpler filter
    for (int f = sub; f < filterCount; ++f) {
        if (scores[static_cast<size_t>(f)] < scores[static_cast<size_t>(chosen)]) {
            chosen = f;
        }
    }
    *out++ = static_cast<uchar>(chosen);
    filterRow(Filter(chosen), row, previous, m_length, m_bpp, out);
    return out + m_length;
}

} // namespace vellumix
