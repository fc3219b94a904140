#include "filters/ImageFilters+Support.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/core/utility.hpp>

namespace vellumix::filters::opencv {

namespace {

using namespace support;

constexpr long long kMaxSamples = 500000;
// Levels: the darkest and brightest half percent may clip.
constexpr double kClipShare = 0.005;
// The stretch is blended in fully below this range (share of 0…255) and not at all above
// kFullRange.
constexpr double kDullRange = 0.5;
constexpr double kFullRange = 0.8;
constexpr double kMaxGain = 3.0;
// Drawn pictures (screenshots, diagrams) have no noise to clip and keep their designed colours.
// They put most pixels on a few exact levels (over this share on the four fullest luminance
// levels) or repeat a pixel in its right-hand neighbour (over kFlatShare of the samples: flat fills
// and slow gradients; camera grain breaks that up).
constexpr double kGraphicShare = 0.5;
constexpr double kFlatShare = 0.6;
// Midtone lift for dark images.
constexpr double kDarkMedian = 0.4;
constexpr double kTargetMedian = 0.45;
constexpr double kMinGamma = 0.7;
// Vibrance.
constexpr double kMaxVibrance = 0.35;
constexpr double kVividChroma = 0.4;
constexpr double kChromaSpan = 0.3;
constexpr int kColouredChroma = 20; // 0.08 of 255
constexpr double kMinColouredShare = 0.05;
// Below both, the adjustment is not worth a new image.
constexpr int kNegligibleLevels = 2;
constexpr double kNegligibleVibrance = 0.03;

int luma(int r, int g, int b) {
    // Rec. 709 weights in 1/256: 0.2126, 0.7152, 0.0722.
    return (54 * r + 183 * g + 19 * b + 128) >> 8;
}

// Calls visit(r, g, b, flat) for an even grid of at most about kMaxSamples visible pixels; flat
// when the pixel to the right has the same colour.
template <typename Visit> void forSamples(const QImage& work, Visit visit) {
    const long long pixels = static_cast<long long>(work.width()) * work.height();
    const int step = std::max(1, static_cast<int>(std::sqrt(double(pixels) / kMaxSamples)));
    for (int y = step / 2; y < work.height(); y += step) {
        const auto* line = reinterpret_cast<const QRgb*>(work.constScanLine(y));
        for (int x = step / 2; x < work.width(); x += step) {
            const QRgb p = line[x];
            if (qAlpha(p) > 0) {
                const bool flat = x + 1 < work.width() && ((line[x + 1] ^ p) & 0xffffff) == 0;
                visit(qRed(p), qGreen(p), qBlue(p), flat);
            }
        }
    }
}

struct Adjustment {
    std::array<uchar, 256> tone{};
    double vibrance = 0;
};

// Vibrance from the chroma of the coloured samples once the tone table is applied: dull colours
// get more, vivid ones none.
double vibranceAfter(const QImage& work, const std::array<uchar, 256>& tone, long long count) {
    long long coloured = 0;
    long long chromaSum = 0;
    forSamples(work, [&](int r, int g, int b, bool) {
        r = tone[r];
        g = tone[g];
        b = tone[b];
        const int chroma = std::max({r, g, b}) - std::min({r, g, b});
        if (chroma >= kColouredChroma) {
            ++coloured;
            chromaSum += chroma;
        }
    });
    if (coloured == 0 || coloured < count * kMinColouredShare) {
        return 0;
    }
    const double meanChroma = chromaSum / (255.0 * coloured);
    return kMaxVibrance * std::clamp((kVividChroma - meanChroma) / kChromaSpan, 0.0, 1.0);
}

// The luminance spread of a picture's samples: the darkest and lightest levels once the
// clipped share is left out at each end (none for graphics), and the median.
struct Spread {
    long long count = 0;
    bool graphic = false;
    int lo = 0;
    int hi = 255;
    int median = 0;
};

std::optional<Spread> measureSpread(const QImage& work) {
    std::array<long long, 256> histogram{};
    Spread spread;
    long long flat = 0;
    forSamples(work, [&](int r, int g, int b, bool sameAsNext) {
        ++histogram[luma(r, g, b)];
        ++spread.count;
        flat += sameAsNext;
    });
    const long long count = spread.count;
    if (count == 0) {
        return std::nullopt;
    }
    std::array<long long, 256> fullest = histogram;
    std::partial_sort(fullest.begin(), fullest.begin() + 4, fullest.end(), std::greater<>());
    spread.graphic = fullest[0] + fullest[1] + fullest[2] + fullest[3] > kGraphicShare * count ||
                     flat > kFlatShare * count;
    const auto clip = spread.graphic ? 0LL : static_cast<long long>(count * kClipShare);
    int& lo = spread.lo;
    int& hi = spread.hi;
    int& median = spread.median;
    for (long long below = 0; lo < 255 && below + histogram[lo] <= clip; ++lo) {
        below += histogram[lo];
    }
    for (long long above = 0; hi > 0 && above + histogram[hi] <= clip; --hi) {
        above += histogram[hi];
    }
    for (long long below = histogram[0]; median < 255 && 2 * below < count;) {
        below += histogram[++median];
    }
    return spread;
}

std::optional<Adjustment> computeAdjustment(const QImage& work) {
    const std::optional<Spread> spread = measureSpread(work);
    if (!spread) {
        return std::nullopt;
    }
    const auto [count, graphic, lo, hi, median] = *spread;

    // 1. Levels, blended in by how dull the image is.
    const int range = std::max(hi - lo, 0);
    const double weight =
        range == 0 ? 0.0
                   : std::clamp((kFullRange - range / 255.0) / (kFullRange - kDullRange), 0.0, 1.0);
    const double gain = range == 0 ? 1.0 : std::min(255.0 / range, kMaxGain);
    const double mid = (lo + hi) / 2.0;
    const double half = gain * range / 2.0;
    const double centre = std::clamp(mid, half, 255.0 - half);
    const auto levels = [&](double v) { return v + weight * (centre + (v - mid) * gain - v); };

    // 2. Midtones of dull, dark images lifted; the weight keeps full-range dark pictures (night
    // shots, dark-mode windows) as they are.
    const double key = std::clamp(levels(median) / 255.0, 0.0, 1.0);
    double gamma = 1.0;
    if (key < kDarkMedian) {
        const double lift = key > 0 ? std::log(kTargetMedian) / std::log(key) : kMinGamma;
        gamma = 1.0 + weight * (std::max(lift, kMinGamma) - 1.0);
    }

    Adjustment adjustment;
    int largestMove = 0;
    for (int v = 0; v < 256; ++v) {
        const double level = std::clamp(levels(v) / 255.0, 0.0, 1.0);
        const auto out = static_cast<int>(std::lround(255.0 * std::pow(level, gamma)));
        adjustment.tone[v] = static_cast<uchar>(out);
        largestMove = std::max(largestMove, std::abs(out - v));
    }

    // 3. Vibrance (photos only).
    if (!graphic) {
        adjustment.vibrance = vibranceAfter(work, adjustment.tone, count);
    }

    if (largestMove <= kNegligibleLevels && adjustment.vibrance < kNegligibleVibrance) {
        return std::nullopt;
    }
    return adjustment;
}

void applyAdjustment(const QImage& work, QImage& out, const Adjustment& adjustment) {
    const auto& tone = adjustment.tone;
    const bool vibrant = adjustment.vibrance > 0;
    // Per-pixel divisions and the midtone weight come from tables: the loop runs 15 million times
    // on a 5K image.
    std::array<float, 256> boost{};      // by luminance: vibrance · 4·Y·(1 − Y)
    std::array<float, 256> dullness{};   // by chroma: 1 − chroma
    std::array<float, 256> reciprocal{}; // 1/d
    for (int v = 0; v < 256; ++v) {
        const float y = v / 255.0f;
        boost[size_t(v)] = static_cast<float>(adjustment.vibrance) * 4.0f * y * (1.0f - y);
        dullness[size_t(v)] = 1.0f - y;
        reciprocal[size_t(v)] = v > 0 ? 1.0f / v : 0.0f;
    }
    // Line addresses taken up front: scanLine() on the workers would race on the detach check.
    uchar* const outBits = out.bits();
    const qsizetype outStride = out.bytesPerLine();
    cv::parallel_for_(cv::Range(0, work.height()), [&](const cv::Range& rows) {
        for (int y = rows.start; y < rows.end; ++y) {
            const auto* in = reinterpret_cast<const QRgb*>(work.constScanLine(y));
            auto* line = reinterpret_cast<QRgb*>(outBits + y * outStride);
            for (int x = 0; x < work.width(); ++x) {
                const QRgb p = in[x];
                int r = tone[qRed(p)];
                int g = tone[qGreen(p)];
                int b = tone[qBlue(p)];
                const int high = std::max({r, g, b});
                const int low = std::min({r, g, b});
                if (vibrant && high != low) {
                    // Strongest for dull midtones; pastels near white and shadows near black
                    // barely move. No channel may clip, or the hue would turn.
                    const int y0 = luma(r, g, b);
                    float factor = 1.0f + boost[size_t(y0)] * dullness[size_t(high - low)];
                    if (high > y0) {
                        factor = std::min(factor, (255 - y0) * reciprocal[size_t(high - y0)]);
                    }
                    if (low < y0) {
                        factor = std::min(factor, y0 * reciprocal[size_t(y0 - low)]);
                    }
                    // The limits keep the value at or above 0, so adding ½ and truncating rounds.
                    const auto scale = [&](int c) {
                        return std::clamp(static_cast<int>(y0 + (c - y0) * factor + 0.5f), 0, 255);
                    };
                    r = scale(r);
                    g = scale(g);
                    b = scale(b);
                }
                line[x] = qRgba(r, g, b, qAlpha(p));
            }
        }
    });
}

} // namespace

std::optional<QImage> autoEnhance(const QImage& image) {
    if (image.isNull()) {
        return std::nullopt;
    }
    const QImage work = workingImage(image);
    const std::optional<Adjustment> adjustment = computeAdjustment(work);
    if (!adjustment) {
        return std::nullopt;
    }
    QImage out = blankLike(work, work.size());
    applyAdjustment(work, out, *adjustment);
    return out;
}

} // namespace vellumix::filters::opencv
