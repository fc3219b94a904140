#include "BenchData.h"
#include "canvas/CanvasChrome.h"
#include "canvas/CanvasDocument.h"

#include <QPainter>

#include <benchmark/benchmark.h>

using namespace vellumix;

namespace {

// A 5120 × 2880 screenshot with 1,000 mixed annotations on the canvas, painted the way the
// canvas widget paints: the document's snapshot through the shared renderer, clipped to the
// damaged region, into a canvas-sized backing image at 100 %.
struct CanvasFixture {
    CanvasDocument document;
    QImage backing;
    std::optional<QRectF> damage;
    Subscription repaints;

    CanvasFixture() {
        const QImage shot = bench::syntheticScreenshot(5120, 2880);
        document.setImage(shot);
        document.setAnnotationsWithoutUndo(bench::mixedAnnotations(1000, shot.size()));
        const QSizeF size = document.canvasSize();
        backing =
            QImage(int(size.width()), int(size.height()), QImage::Format_ARGB32_Premultiplied);
        repaints = document.onNeedsDisplay.subscribe(
            [this](std::optional<QRectF> area) { damage = area; });
    }

    void paint(std::optional<QRectF> area) {
        QPainter painter(&backing);
        CanvasSnapshot snapshot = document.snapshot();
        if (area) {
            snapshot.dirtyArea = area->adjusted(-1, -1, 1, 1);
            painter.setClipRect(*snapshot.dirtyArea);
        }
        render::drawCanvas(painter, snapshot);
    }
};

CanvasFixture& fixture() {
    static CanvasFixture f;
    return f;
}

void BM_PaintWholeCanvas5K(benchmark::State& state) {
    CanvasFixture& f = fixture();
    for (auto _ : state) {
        f.paint(std::nullopt);
    }
}
BENCHMARK(BM_PaintWholeCanvas5K)->Unit(benchmark::kMillisecond);

// One step of dragging a selected shape: the document updates the annotation and reports the
// damaged region; only that region is repainted.
void BM_PaintDragStep(benchmark::State& state) {
    CanvasFixture& f = fixture();
    CanvasDocument& doc = f.document;
    // A shape in the middle of the picture, selected and grabbed.
    int index = 0;
    for (size_t i = 0; i < doc.annotations().size(); ++i) {
        if (kindOf(doc.annotations()[i]) == AnnotationKind::shape) {
            index = static_cast<int>(i);
            const QRectF box = std::get<ShapeAnnotation>(doc.annotations()[i]).rect;
            if (box.center().x() > 2000 && box.center().y() > 1000) {
                break;
            }
        }
    }
    const QPointF grab = std::get<ShapeAnnotation>(doc.annotations()[size_t(index)]).rect.center();
    doc.setSelection({index});
    doc.mouseDown(grab, Qt::NoModifier, 1);
    double step = 0;
    for (auto _ : state) {
        step += 1;
        f.damage.reset();
        doc.mouseDragged(grab + QPointF(std::fmod(step, 40), 0), Qt::NoModifier);
        f.paint(f.damage);
    }
    state.counters["damagedPx"] = f.damage ? f.damage->width() * f.damage->height() : -1;
    doc.mouseUp(grab, Qt::NoModifier);
}
BENCHMARK(BM_PaintDragStep)->Unit(benchmark::kMillisecond);

} // namespace
