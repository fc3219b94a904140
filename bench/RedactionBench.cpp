#include "BenchData.h"
#include "imaging/Redaction.h"

#include <benchmark/benchmark.h>

using namespace vellumix;
using namespace vellumix::imageops;

namespace {

// The editor's bitmap of a 5K screenshot (edited images are premultiplied ARGB32).
const QImage& screenshot5k() {
    static const QImage image =
        bench::syntheticScreenshot(5120, 2880).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    return image;
}

// Ten areas over lines of text, fills and pixelations in turn, down the right half; and one
// pixelation of the whole left half.
std::vector<RedactionArea> areas() {
    std::vector<RedactionArea> list;
    for (int i = 0; i < 10; ++i) {
        const QRectF rect(2700.5 + 150 * (i % 3), 120.25 + 270 * i, 620 + 40 * i, 48);
        list.push_back({rect, i % 2 == 0 ? RedactionStyle::fill : RedactionStyle::pixelate});
    }
    list.push_back({QRectF(0, 0, 2560, 2880), RedactionStyle::pixelate});
    return list;
}

// What the analysis finds there: a line of 22-pixel text under every small area.
std::vector<QRectF> textLines() {
    std::vector<QRectF> lines;
    for (int i = 0; i < 10; ++i) {
        lines.emplace_back(2600, 131 + 270 * i, 1800, 22);
    }
    return lines;
}

void BM_Redact5K(benchmark::State& state) {
    const QImage& image = screenshot5k();
    const std::vector<RedactionArea> list = areas();
    const std::vector<QRectF> lines = textLines();
    quint64 seed = 1;
    for (auto _ : state) {
        QImage result = redact(image, list, Color::black(), lines, seed++);
        benchmark::DoNotOptimize(result.constBits());
    }
}
BENCHMARK(BM_Redact5K)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->MinTime(1)
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);

} // namespace
