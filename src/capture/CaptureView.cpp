#include "capture/CaptureView.h"

#include "canvas/CanvasChrome.h"
#include "capture/CaptureGeometry.h"

#include <QCursor>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

namespace vellumix {

namespace {

const QColor dimColor(0, 0, 0, 115);              // black at 0.45
const QColor selectionStroke(255, 255, 255, 230); // white at 0.9
const QColor labelBackground(0, 0, 0, 166);       // black at 0.65
constexpr double selectionStrokeWidth = 1.5;

bool onX11() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

} // namespace

CaptureView::CaptureView(QImage grab, QRect screenGeometry, double devicePixelRatio,
                         QWidget* parent)
    : QWidget(parent)
    , m_grab(std::move(grab))
    , m_screenGeometry(screenGeometry)
    , m_devicePixelRatio(devicePixelRatio) {
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                            Qt::Tool | Qt::NoDropShadowWindowHint;
    // An override-redirect window: no window manager may move it, decorate it or keep panels
    // above it.
    if (onX11()) {
        flags |= Qt::BypassWindowManagerHint;
    }
    setWindowFlags(flags);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::CrossCursor);
    setMouseTracking(true);
    setWindowTitle(tr("Capture"));
    setAccessibleName(tr("Capture"));
    setAccessibleDescription(tr("Drag over the area to capture; Escape cancels"));
    m_display = m_grab;
    m_display.setDevicePixelRatio(m_devicePixelRatio);
    setGeometry(m_screenGeometry);
}

void CaptureView::setWindowFrames(std::vector<QRectF> frames) {
    m_frames = std::move(frames);
    for (QRectF& frame : m_frames) {
        frame.translate(-QPointF(m_screenGeometry.topLeft()));
    }
    m_hoveredFrame = frameAt(mapFromGlobal(QCursor::pos()).toPointF());
    update();
}

QRectF CaptureView::frameAt(QPointF point) const {
    for (const QRectF& frame : m_frames) {
        if (frame.contains(point)) {
            return frame.intersected(rect());
        }
    }
    return {};
}

void CaptureView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    activateWindow();
    setFocus(Qt::ActiveWindowFocusReason);
    // The window manager never stacks or focuses an override-redirect window: raise it and take
    // the keyboard for Escape.
    if (onX11()) {
        raise();
        grabKeyboard();
    }
}

void CaptureView::hideEvent(QHideEvent* event) {
    if (onX11()) {
        releaseKeyboard();
    }
    QWidget::hideEvent(event);
}

void CaptureView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawImage(QPointF(0, 0), m_display);
    const QRectF all = rect();
    if (m_selection.isEmpty() && m_hoveredFrame.isEmpty()) {
        painter.fillRect(all, dimColor);
        return;
    }
    // Before a drag, the window a click would capture is the lit part.
    const QRectF& s = m_selection.isEmpty() ? m_hoveredFrame : m_selection;
    painter.fillRect(QRectF(all.left(), all.top(), all.width(), s.top() - all.top()), dimColor);
    painter.fillRect(QRectF(all.left(), s.bottom(), all.width(), all.bottom() - s.bottom()),
                     dimColor);
    painter.fillRect(QRectF(all.left(), s.top(), s.left() - all.left(), s.height()), dimColor);
    painter.fillRect(QRectF(s.right(), s.top(), all.right() - s.right(), s.height()), dimColor);

    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(selectionStroke, selectionStrokeWidth));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(s);
    if (!m_selection.isEmpty()) {
        paintSizeLabel(painter);
    }
}

void CaptureView::paintSizeLabel(QPainter& painter) const {
    const QRect crop = capture::deviceCropRect(m_selection.translated(m_screenGeometry.topLeft()),
                                               m_screenGeometry, m_devicePixelRatio, m_grab.size());
    const QString text = capture::sizeLabelText(crop.size());
    // The canvas read-outs' face: 11 points (one point a logical pixel), medium, digits at
    // equal widths so the box keeps still while the numbers change.
    const QFont font = render::labelFont(1, this);
    const QFontMetricsF metrics(font, this);
    const QRectF box =
        capture::sizeLabelBox(m_cursor, render::labelTextSize(text, metrics), rect());

    QPainterPath path;
    path.addRoundedRect(box, capture::sizeLabelCornerRadius, capture::sizeLabelCornerRadius);
    painter.fillPath(path, labelBackground);
    painter.setFont(font);
    painter.setPen(Qt::white);
    const double pad = capture::sizeLabelPadding;
    render::drawLabelText(painter, box.topLeft() + QPointF(pad, pad), text, metrics);
    if (onScroll) {
        paintScrollChip(painter, box);
    }
}

// Beside the size label: S turns the capture into a scrolling one, the chip lit once it has.
void CaptureView::paintScrollChip(QPainter& painter, const QRectF& sizeLabel) const {
    const QString text = tr("Scroll (S)");
    const QFont font = render::labelFont(1, this);
    const QFontMetricsF metrics(font, this);
    const double pad = capture::sizeLabelPadding;
    const QSizeF textSize = render::labelTextSize(text, metrics);
    QRectF box(sizeLabel.right() + 2 * pad, sizeLabel.top(), textSize.width() + 2 * pad,
               sizeLabel.height());
    if (box.right() > width()) {
        box.moveRight(sizeLabel.left() - 2 * pad);
    }
    QPainterPath path;
    path.addRoundedRect(box, capture::sizeLabelCornerRadius, capture::sizeLabelCornerRadius);
    painter.fillPath(path, m_scrollRequested ? QColor(10, 132, 255, 220) : labelBackground);
    painter.setFont(font);
    painter.setPen(Qt::white);
    render::drawLabelText(painter, box.topLeft() + QPointF(pad, pad), text, metrics);
}

void CaptureView::mousePressEvent(QMouseEvent* event) {
    if (m_finished) {
        return;
    }
    if (event->button() == Qt::RightButton) {
        cancel();
        return;
    }
    if (event->button() != Qt::LeftButton) {
        return;
    }
    m_dragging = true;
    m_dragStart = event->position();
    m_cursor = m_dragStart;
    m_scrollRequested = false;
    m_selection = QRectF();
    update();
}

void CaptureView::mouseMoveEvent(QMouseEvent* event) {
    if (m_finished) {
        return;
    }
    if (!m_dragging) {
        if (const QRectF frame = frameAt(event->position()); frame != m_hoveredFrame) {
            m_hoveredFrame = frame;
            update();
        }
        return;
    }
    m_cursor = event->position();
    m_selection = capture::selectionFromDrag(m_dragStart, m_cursor, rect());
    update();
}

void CaptureView::mouseReleaseEvent(QMouseEvent* event) {
    if (m_finished || !m_dragging || event->button() != Qt::LeftButton) {
        return;
    }
    m_dragging = false;
    m_cursor = event->position();
    m_selection = capture::selectionFromDrag(m_dragStart, m_cursor, rect());
    if (capture::isSelectionTooSmall(m_selection)) {
        // A click: the window under it, if any.
        m_selection = frameAt(m_dragStart);
        if (m_selection.isEmpty()) {
            cancel();
            return;
        }
    }
    m_finished = true;
    const QRectF selection = m_selection.translated(m_screenGeometry.topLeft());
    if (m_scrollRequested && onScroll) {
        onScroll(selection);
    } else if (onComplete) {
        onComplete(selection);
    }
}

void CaptureView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        cancel();
        return;
    }
    // The scroll starts at the mouse-up, so the held button never reaches the scrolled window.
    if (event->key() == Qt::Key_S && m_dragging && onScroll) {
        m_scrollRequested = !m_scrollRequested;
        update();
        return;
    }
    QWidget::keyPressEvent(event);
}

void CaptureView::cancel() {
    if (m_finished) {
        return;
    }
    m_finished = true;
    m_dragging = false;
    if (onCancel) {
        onCancel();
    }
}

} // namespace vellumix
