#include "BenchData.h"
#include "canvas/AnnotationCanvasView.h"
#include "editor/EditorWindowController.h"
#include "library/Settings.h"
#include "library/StyleLibrary.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace vellumix;

namespace {

// Counts the canvas's paint passes.
class PaintCounter final : public QObject {
public:
    int paints = 0;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            ++paints;
        }
        return QObject::eventFilter(watched, event);
    }
};

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
        PaintCounter counter;
        window.canvasView()->installEventFilter(&counter);
        window.present();
        QElapsedTimer guard;
        guard.start();
        while (counter.paints == 0 && guard.elapsed() < 5000) {
            QApplication::processEvents();
        }
        if (counter.paints == 0) {
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
