#pragma once

#include <QScrollArea>

#include <functional>

namespace vellumix {

class AnnotationCanvasView;

/// The canvas's scroll view: centres the canvas while it is smaller than the view, zooms about
/// a point, and turns Ctrl+wheel and touchpad pinches into zoom requests for its owner.
class CenteringClipView final : public QScrollArea {
    Q_OBJECT

public:
    explicit CenteringClipView(AnnotationCanvasView* canvas, QWidget* parent = nullptr);

    AnnotationCanvasView* canvas() const { return m_canvas; }
    /// Sets the canvas's magnification keeping the document point under `anchor` (viewport
    /// coordinates) where it is; without an anchor, the middle of the visible part.
    void setMagnification(double magnification, std::optional<QPointF> anchor = std::nullopt);
    double magnification() const;
    /// The visible part of the document, in canvas coordinates.
    QRectF visibleCanvasRect() const;

    /// Ctrl+wheel: +1 per notch towards zooming in, −1 out, at a viewport point.
    std::function<void(int steps, QPointF anchor)> onZoomSteps;
    /// A pinch changed the magnification by `factor` at a viewport point.
    std::function<void(double factor, QPointF anchor)> onMagnify;
    /// The pinch ended.
    std::function<void()> onMagnifyEnded;

protected:
    void wheelEvent(QWheelEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    AnnotationCanvasView* m_canvas;
    int m_wheelRemainder = 0;
};

} // namespace vellumix
