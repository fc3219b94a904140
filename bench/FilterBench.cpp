#include "BenchData.h"
#include "filters/ImageFilters.h"

#include <QPainter>

#include <benchmark/benchmark.h>
#include <random>

using namespace vellumix;

namespace {

const QImage& screenshot5k() {
    static const QImage image = bench::syntheticScreenshot(5120, 2880);
    return image;
}

// The screenshot as a hazy photo: half the contrast, a warm cast and sensor grain, so that
// auto-enhance has work to do.
const QImage& dullPhoto5k() {
    static const QImage image = [] {
        QImage photo = screenshot5k().copy();
        std::mt19937 rng(3);
        std::uniform_int_distribution<int> grain(-5, 5);
        for (int y = 0; y < photo.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(photo.scanLine(y));
            for (int x = 0; x < photo.width(); ++x) {
                const QRgb p = line[x];
                const int g = grain(rng);
                line[x] = qRgb(70 + qRed(p) / 2 + 8 + g, 70 + qGreen(p) / 2 + g,
                               70 + qBlue(p) / 2 - 6 + g);
            }
        }
        return photo;
    }();
    return image;
}

// A photographed page: a white sheet with lines of text, turned and seen at an angle, on a dark
// desk.
const QImage& pagePhoto5k() {
    static const QImage image = [] {
        QImage photo(5120, 2880, QImage::Format_RGB32);
        photo.fill(QColor(48, 44, 40));
        QPainter p(&photo);
        p.setRenderHint(QPainter::Antialiasing);
        const QPolygonF page{QPointF(0, 0), QPointF(1700, 0), QPointF(1700, 2200),
                             QPointF(0, 2200)};
        const QPolygonF seen{QPointF(1650, 260), QPointF(3500, 420), QPointF(3350, 2700),
                             QPointF(1300, 2500)};
        QTransform toPhoto;
        QTransform::quadToQuad(page, seen, toPhoto);
        p.setTransform(toPhoto);
        p.fillRect(QRectF(0, 0, 1700, 2200), QColor(242, 240, 236));
        std::mt19937 rng(5);
        std::uniform_int_distribution<int> width(700, 1500);
        for (int line = 0; line < 60; ++line) {
            p.fillRect(QRectF(150, 180 + line * 32, width(rng), 14), QColor(30, 30, 34));
        }
        return photo;
    }();
    return image;
}

void runFilter(benchmark::State& state, const char* kind) {
    const QImage& image = screenshot5k();
    for (auto _ : state) {
        std::optional<QImage> out = filters::applyFilter(image, QLatin1String(kind), 1);
        if (!out) {
            state.SkipWithError("no result");
        }
        benchmark::DoNotOptimize(out);
    }
}

void BM_Sharpen5K(benchmark::State& state) {
    runFilter(state, "sharpen");
}
void BM_Contrast5K(benchmark::State& state) {
    runFilter(state, "contrast");
}
void BM_Brightness5K(benchmark::State& state) {
    runFilter(state, "brightness");
}
void BM_Blur5K(benchmark::State& state) {
    runFilter(state, "blur");
}
BENCHMARK(BM_Sharpen5K)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);
BENCHMARK(BM_Contrast5K)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);
BENCHMARK(BM_Brightness5K)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);
BENCHMARK(BM_Blur5K)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

// The widest kernel that still runs at full size: σ just under 6.
void BM_Blur5K_Sigma5_8(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            filters::applyFilter(screenshot5k(), QStringLiteral("blur"), 0.29));
    }
}
BENCHMARK(BM_Blur5K_Sigma5_8)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

// Translucent images take the alpha-weighted path.
void BM_Blur5K_Translucent(benchmark::State& state) {
    static const QImage translucent = [] {
        QImage image = screenshot5k().convertToFormat(QImage::Format_ARGB32);
        QPainter p(&image);
        p.setCompositionMode(QPainter::CompositionMode_Source);
        p.fillRect(QRect(0, 0, 200, 200), Qt::transparent);
        return image;
    }();
    for (auto _ : state) {
        benchmark::DoNotOptimize(filters::applyFilter(translucent, QStringLiteral("blur"), 1));
    }
}
BENCHMARK(BM_Blur5K_Translucent)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

void BM_AutoEnhance5K_Screenshot(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(filters::autoEnhance(screenshot5k()));
    }
}
BENCHMARK(BM_AutoEnhance5K_Screenshot)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

void BM_AutoEnhance5K_DullPhoto(benchmark::State& state) {
    const QImage& photo = dullPhoto5k();
    for (auto _ : state) {
        std::optional<QImage> out = filters::autoEnhance(photo);
        if (!out) {
            state.SkipWithError("nothing adjusted");
        }
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_AutoEnhance5K_DullPhoto)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

void BM_Straighten5K_Page(benchmark::State& state) {
    const QImage& photo = pagePhoto5k();
    for (auto _ : state) {
        std::optional<QImage> out = filters::straightenDocument(photo);
        if (!out) {
            state.SkipWithError("no page found");
        }
        benchmark::DoNotOptimize(out);
    }
}
BENCHMARK(BM_Straighten5K_Page)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

// The common miss: a screenshot, searched and rejected.
void BM_Straighten5K_Screenshot(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(filters::straightenDocument(screenshot5k()));
    }
}
BENCHMARK(BM_Straighten5K_Screenshot)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2);

} // namespace
