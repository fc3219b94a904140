#include "BenchData.h"
#include "FirstPaint.h"
#include "canvas/AnnotationCanvasView.h"
#include "editor/EditorWindowController.h"
#include "library/Settings.h"
#include "library/StyleLibrary.h"

#include <QApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace vellumix;

namespace {

// From a decoded 5120 × 2880 screenshot to its editor window shown with the canvas's first
// frame painted: construction, layout, the fit-scale canvas and one full paint.
void OpenEditorWindow(benchmark::State& state) {
    const QImage shot = bench::syntheticScreenshot(5120, 2880);
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    StyleLibrary styles{dir.path()};
    for (auto _ : state) {
        EditorWindowController window(EditorDocument{shot, std::nullopt, std::nullopt, {}},
                                      EditorServices{settings, styles, nullptr});
        window.present();
        if (!bench::waitForFirstPaint(window.canvasView())) {
            state.SkipWithError("the canvas was never painted");
        }
        state.PauseTiming();
        window.close();
        QApplication::processEvents();
        state.ResumeTiming();
    }
}
BENCHMARK(OpenEditorWindow)->Unit(benchmark::kMillisecond)->Iterations(10);

} // namespace
