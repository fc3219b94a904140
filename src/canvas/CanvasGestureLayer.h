#pragma once

#include <QPointF>

class QPainter;

namespace vellumix {

struct CanvasSnapshot;

/// A mode of the image-edit session that takes the canvas's mouse gestures and draws its own
/// marks over the picture (the redaction marks), instead of the crop. The canvas routes events
/// to it while the image-edit tool is active and the layer says it is active; coordinates are
/// the canvas's.
class CanvasGestureLayer {
public:
    virtual ~CanvasGestureLayer() = default;

    virtual bool isActive() const = 0;
    virtual void mouseDown(QPointF point) = 0;
    virtual void mouseDragged(QPointF point) = 0;
    virtual void mouseUp(QPointF point) = 0;
    /// Draws over the picture, after the crop's dimming; `c.zoom` is canvas units per screen unit.
    virtual void paint(QPainter& painter, const CanvasSnapshot& c) const = 0;
};

} // namespace vellumix
