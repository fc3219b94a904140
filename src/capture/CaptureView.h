#pragma once

#include <QImage>
#include <QRect>
#include <QRectF>
#include <QWidget>

#include <functional>
#include <vector>

namespace vellumix {

/// The capture overlay: a frameless, top-most window over one screen showing the frozen grab,
/// on which the user drags out the area to keep. Everything outside the selection is dimmed and
/// a label below the cursor shows the size of the image the selection yields.
///
/// Exactly one of the callbacks runs, once; the view ignores input afterwards and its owner
/// hides and deletes it.
class CaptureView final : public QWidget {
    Q_OBJECT

public:
    /// `grab` holds the device pixels of the screen at `screenGeometry` (desktop coordinates,
    /// logical units) whose device pixel ratio is `devicePixelRatio`. The view takes that
    /// geometry.
    CaptureView(QImage grab, QRect screenGeometry, double devicePixelRatio,
                QWidget* parent = nullptr);

    /// The shown windows' frames, topmost first, in desktop coordinates (logical units): the one
    /// under the pointer is outlined, and a click without a drag captures it, clipped to the
    /// screen. Without them a click cancels.
    void setWindowFrames(std::vector<QRectF> frames);

    /// A selection big enough to keep, in desktop coordinates (logical units).
    std::function<void(QRectF logicalSelection)> onComplete;
    /// A scrolling capture of the selection: S pressed during the drag, started at the mouse-up.
    /// Without it S does nothing and no Scroll chip is shown.
    std::function<void(QRectF logicalSelection)> onScroll;
    /// Escape, a right click, or a drag too small to count.
    std::function<void()> onCancel;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void paintSizeLabel(QPainter& painter) const;
    void paintScrollChip(QPainter& painter, const QRectF& sizeLabel) const;
    void cancel();
    QRectF frameAt(QPointF point) const;

    QImage m_grab;
    QImage m_display; // m_grab tagged with the screen's ratio, so it paints 1:1 in device pixels
    QRect m_screenGeometry;
    double m_devicePixelRatio;
    QPointF m_dragStart;
    QPointF m_cursor;
    QRectF m_selection; // view coordinates; empty when there is none
    bool m_dragging = false;
    bool m_finished = false;
    bool m_scrollRequested = false;
    std::vector<QRectF> m_frames; // view coordinates, topmost first
    QRectF m_hoveredFrame;        // clipped to the view; empty over no window
};

} // namespace vellumix
