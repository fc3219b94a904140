#include "BenchData.h"
#include "model/AnnotationGeometry.h"

#include <benchmark/benchmark.h>
#include <random>

using namespace vellumix;
using namespace vellumix::geometry;

namespace {

void BM_HitTest10k(benchmark::State& state) {
    const AnnotationList list = bench::mixedAnnotations(10000, QSize(3840, 2160));
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> x(0, 3900);
    std::uniform_real_distribution<double> y(0, 2200);
    for (auto _ : state) {
        benchmark::DoNotOptimize(hitIndices(list, QPointF(x(rng), y(rng))));
    }
}
BENCHMARK(BM_HitTest10k)->Unit(benchmark::kMicrosecond);

void BM_MapAnnotations10k(benchmark::State& state) {
    const AnnotationList list = bench::mixedAnnotations(10000, QSize(3840, 2160));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            mapAnnotations(list, QRectF(20, 20, 3840, 2160), QRectF(20, 20, 1920, 1080)));
    }
}
BENCHMARK(BM_MapAnnotations10k)->Unit(benchmark::kMillisecond);

} // namespace
