#include "BenchData.h"
#include "capture/ScrollStitcher.h"

#include <benchmark/benchmark.h>
#include <vector>

using vellumix::capture::ScrollStitcher;

namespace {

// A scrolling capture's stitching: 30 strips of 1200 × 800, each 100 rows further down a
// screenshot-like page, joined into one picture (the overlap search, then the final copy).
void StitchThirtyStrips(benchmark::State& state) {
    constexpr int strips = 30;
    constexpr int step = 100;
    const QImage page = vellumix::bench::syntheticScreenshot(1200, 800 + (strips - 1) * step);
    std::vector<QImage> grabs;
    for (int i = 0; i < strips; ++i) {
        grabs.push_back(page.copy(0, i * step, 1200, 800));
    }
    for (auto _ : state) {
        ScrollStitcher stitcher;
        for (const QImage& grab : grabs) {
            stitcher.add(grab);
        }
        const QImage stitched = stitcher.image();
        if (stitched != page) {
            state.SkipWithError("the stitched picture is not the page");
        }
    }
}
BENCHMARK(StitchThirtyStrips)->Unit(benchmark::kMillisecond);

} // namespace
