#include "model/AnnotationGeometry.h"

#include <QGuiApplication>

#include <benchmark/benchmark.h>
#include <random>

using namespace vellumix;
using namespace vellumix::geometry;

namespace {

// 10,000 annotations of every kind spread over a 4K canvas, fixed seed.
AnnotationList mixedAnnotations(int count) {
    std::mt19937 rng(42);
    std::uniform_real_distribution<double> pos(20, 3800);
    std::uniform_real_distribution<double> size(10, 300);
    AnnotationList list;
    list.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) {
        const QRectF r(pos(rng), pos(rng) * 0.55, size(rng), size(rng));
        switch (i % 5) {
        case 0: {
            ShapeAnnotation s;
            s.rect = r;
            list.emplace_back(s);
            break;
        }
        case 1: {
            StrokeAnnotation s;
            s.path.moveTo(r.topLeft());
            for (int k = 1; k <= 20; ++k) {
                s.path.lineTo(r.left() + r.width() * k / 20, r.top() + (k % 2) * r.height());
            }
            list.emplace_back(s);
            break;
        }
        case 2: {
            ArrowAnnotation a;
            a.start = r.topLeft();
            a.end = r.bottomRight();
            a.controlPoint = r.topRight();
            a.endCap = static_cast<ArrowEndCap>(i % 5);
            list.emplace_back(a);
            break;
        }
        case 3: {
            TextAnnotation t;
            t.rect = r;
            t.text = QStringLiteral("label");
            list.emplace_back(t);
            break;
        }
        default: {
            OverlayAnnotation o;
            o.rect = r;
            list.emplace_back(o);
            break;
        }
        }
    }
    return list;
}

void BM_HitTest10k(benchmark::State& state) {
    const AnnotationList list = mixedAnnotations(10000);
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> x(0, 3900);
    std::uniform_real_distribution<double> y(0, 2200);
    for (auto _ : state) {
        benchmark::DoNotOptimize(hitIndices(list, QPointF(x(rng), y(rng))));
    }
}
BENCHMARK(BM_HitTest10k)->Unit(benchmark::kMicrosecond);

void BM_MapAnnotations10k(benchmark::State& state) {
    const AnnotationList list = mixedAnnotations(10000);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            mapAnnotations(list, QRectF(20, 20, 3840, 2160), QRectF(20, 20, 1920, 1080)));
    }
}
BENCHMARK(BM_MapAnnotations10k)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
