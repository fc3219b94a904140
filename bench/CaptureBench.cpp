#include "BenchData.h"
#include "FirstPaint.h"
#include "app/DocumentOpener.h"
#include "canvas/AnnotationCanvasView.h"
#include "capture/CaptureGeometry.h"
#include "library/Settings.h"

#include <QApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace vellumix;

namespace {

// From the mouse-up of a capture on a 2560 × 1440 screen to its editor window shown, first
// frame painted, with the history bundle (image, thumbnail, icon) written: the crop of the
// frozen grab, the bundle, the window.
void CaptureToEditor(benchmark::State& state) {
    const QImage grab = bench::syntheticScreenshot(2560, 1440);
    QTemporaryDir dir;
    qputenv("XDG_DATA_HOME", dir.filePath("data").toUtf8());
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    DocumentOpener opener(settings);
    const QRect screen(0, 0, 2560, 1440);
    for (auto _ : state) {
        const QRect crop = capture::deviceCropRect(QRectF(screen), screen, 1, grab.size());
        QImage captured = grab.copy(crop);
        opener.openNewImage(std::move(captured), std::nullopt);
        EditorWindowController* editor = opener.editors().back();
        if (!bench::waitForFirstPaint(editor->canvasView())) {
            state.SkipWithError("the canvas was never painted");
        }
        state.PauseTiming();
        editor->close();
        QApplication::processEvents();
        state.ResumeTiming();
    }
}
BENCHMARK(CaptureToEditor)->Unit(benchmark::kMillisecond)->Iterations(10);

} // namespace
