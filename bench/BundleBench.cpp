#include "BenchData.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationRenderer.h"
#include "desktop/BundleServices.h"
#include "library/BundleAutosave.h"
#include "model/CodableAnnotation.h"

#include <QDir>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace vellumix;

namespace {

const QImage& screenshot5k() {
    static const QImage image = bench::syntheticScreenshot(5120, 2880);
    return image;
}

void BM_WriteNewBundle5K(benchmark::State& state) {
    QTemporaryDir dir;
    const BundleServices services = platformBundleServices();
    int n = 0;
    for (auto _ : state) {
        const QString path = dir.filePath(QStringLiteral("b%1.vellumix").arg(n++));
        if (!bundle::write(screenshot5k(), {}, path, services)) {
            state.SkipWithError("write failed");
        }
    }
    state.counters["imageKB"] = QFileInfo(dir.filePath("b0.vellumix/image.png")).size() / 1024.0;
}
BENCHMARK(BM_WriteNewBundle5K)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);

void BM_EncodePng5K_Qt(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(encodePngWithQt(screenshot5k()));
    }
}
BENCHMARK(BM_EncodePng5K_Qt)->Unit(benchmark::kMillisecond)->Iterations(2);

void BM_Flatten5K_1000(benchmark::State& state) {
    const AnnotationList list = bench::mixedAnnotations(1000, screenshot5k().size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(render::renderComposite(screenshot5k(), list));
    }
}
BENCHMARK(BM_Flatten5K_1000)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(3);

// 10,000 annotations of the four kinds that need no image file; strokes of `strokePoints`
// mouse samples (40 is a short flick, 150 a long scribble).
std::string annotationsFile(int strokePoints) {
    AnnotationList list = bench::mixedAnnotations(12500, QSize(3840, 2160));
    std::erase_if(list, [](const Annotation& a) { return kindOf(a) == AnnotationKind::overlay; });
    list.resize(10000);
    for (Annotation& a : list) {
        if (auto* stroke = std::get_if<StrokeAnnotation>(&a)) {
            QPainterPath shorter(stroke->path.elementAt(0));
            for (int i = 1; i < strokePoints && i < stroke->path.elementCount(); ++i) {
                shorter.lineTo(stroke->path.elementAt(i));
            }
            stroke->path = shorter;
        }
    }
    return encodeAnnotations(list);
}

void BM_LoadAnnotations10k(benchmark::State& state) {
    const std::string json = annotationsFile(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(decodeAnnotations(json, {}));
    }
    state.counters["fileKB"] = json.size() / 1024.0;
}
BENCHMARK(BM_LoadAnnotations10k)->Arg(40)->Arg(150)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

// The continuous save's cost to the main thread with 1,000 annotations on a 2560 × 1440
// picture: taking the state and handing it to the worker. The worker's writing is waited for
// outside the timing.
void BM_AutosaveMainThread1000(benchmark::State& state) {
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("live.vellumix"));
    const QImage image = bench::syntheticScreenshot(2560, 1440);
    AnnotationList list = bench::mixedAnnotations(1000, image.size());
    const BundleServices services = platformBundleServices();
    if (!bundle::write(image, list, path, services)) {
        state.SkipWithError("write failed");
        return;
    }
    BundleAutosave autosave(
        path, services,
        [&] {
            return BundleAutosave::State{image, list};
        },
        image);
    for (auto _ : state) {
        autosave.saveNow();
        state.PauseTiming();
        autosave.wait();
        state.ResumeTiming();
    }
}
BENCHMARK(BM_AutosaveMainThread1000)->Unit(benchmark::kMicrosecond)->UseRealTime()->MinTime(2);
