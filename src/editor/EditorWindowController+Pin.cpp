#include "CenteringClipView.h"
#include "EditorWindowController.h"
#include "canvas/AnnotationCanvasView.h"
#include "capture/PinWindow.h"
#include "model/AnnotationGeometry.h"

namespace vellumix {

namespace {

constexpr double pinOffset = 24;

} // namespace

void EditorWindowController::pinPicture() {
    if (!PinWindow::available()) {
        return;
    }
    const auto picture = flattenedPicture();
    if (!picture) {
        return;
    }
    // The pin opens over the middle of the part of the picture the canvas shows, a little to
    // the lower right, so that it is seen to lift off the canvas.
    const QRectF image(geometry::canvasInset, geometry::canvasInset, currentImage().width(),
                       currentImage().height());
    const QRectF shown = m_canvas->toWidget(image);
    const QRectF onScreen(m_canvas->mapToGlobal(shown.topLeft()), shown.size());
    QWidget* viewport = m_scrollView->viewport();
    const QRectF inView(viewport->mapToGlobal(QPointF(0, 0)), QSizeF(viewport->size()));
    const QRectF visible = onScreen.intersected(inView);
    // Not the window's child: it stays when the editor closes, and deletes itself when closed.
    auto* pin = new PinWindow(*picture, (visible.isEmpty() ? inView : visible).center() +
                                            QPointF(pinOffset, pinOffset));
    pin->show();
    pin->raise();
    pin->activateWindow();
}

} // namespace vellumix
