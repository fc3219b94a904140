#pragma once

#include <QImage>
#include <QPoint>
#include <QTimer>
#include <QWidget>

#include <optional>

namespace vellumix {

/// A picture pinned to the screen: a frameless window above the others showing it at one image
/// pixel per device pixel. Drag to move it, turn the wheel to zoom (25 % to 400 %), Ctrl+C
/// copies the picture, Escape or a double click closes it. It deletes itself when closed and
/// belongs to no editor, so it stays when the editor it came from closes.
///
/// Pins need a window system that stacks windows as asked: X11. Under Wayland a client can
/// neither keep a window above the others nor place it, so no pin is offered there.
class PinWindow final : public QWidget {
    Q_OBJECT

public:
    /// `picture` in device pixels; the pin's centre lands on `centre` (desktop coordinates,
    /// logical units), kept inside the screen there.
    PinWindow(QImage picture, QPointF centre);

    /// Whether pins work in this session.
    static bool available();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    /// Zooms by whole steps (positive: in), keeping the picture point under `anchor` (window
    /// coordinates) in place.
    void zoomSteps(int steps, QPointF anchor);
    void copyToClipboard() const;
    QSize sizeAt(int percent) const;

    QImage m_picture;
    int m_zoomPercent = 100;            // 100: one image pixel per device pixel
    std::optional<QPoint> m_dragOffset; // where the window was grabbed, from its top-left
    QTimer m_zoomLabel;                 // the zoom read-out shows while it runs
    int m_wheel = 0;                    // eighths of a degree not yet turned into a step
};

} // namespace vellumix
