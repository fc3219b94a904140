#include "capture/ScrollProgressView.h"

#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

namespace vellumix {

namespace {

constexpr int pad = 8;
constexpr int textHeight = 18;

bool onX11() {
    return QGuiApplication::platformName() == QLatin1String("xcb");
}

} // namespace

ScrollProgressView::ScrollProgressView(QWidget* parent) : QWidget(parent) {
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                            Qt::Tool | Qt::NoDropShadowWindowHint;
    if (onX11()) {
        flags |= Qt::BypassWindowManagerHint;
    }
    setWindowFlags(flags);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::StrongFocus);
    setWindowTitle(tr("Scrolling Capture"));
    setAccessibleName(tr("Scrolling Capture"));
    resize(viewWidth, viewHeight);
}

void ScrollProgressView::setProgress(int stitchedHeight, const QImage& newest) {
    m_height = stitchedHeight;
    // The bottom of the picture so far, at the preview's width.
    const int width = viewWidth - 2 * pad;
    const int rows = viewHeight - 3 * pad - textHeight;
    const QImage scaled = newest.scaledToWidth(width, Qt::SmoothTransformation);
    m_preview = scaled.copy(0, std::max(0, scaled.height() - rows), width, rows);
    update();
}

void ScrollProgressView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (onX11()) {
        raise();
        grabKeyboard();
    }
}

void ScrollProgressView::hideEvent(QHideEvent* event) {
    if (onX11()) {
        releaseKeyboard();
    }
    QWidget::hideEvent(event);
}

void ScrollProgressView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(QRectF(rect()), 8, 8);
    painter.fillPath(path, QColor(0, 0, 0, 200));
    painter.drawImage(QPoint(pad, pad), m_preview);
    painter.setPen(Qt::white);
    const QRect textBox(pad, height() - pad - textHeight, width() - 2 * pad, textHeight);
    painter.drawText(textBox, Qt::AlignLeft | Qt::AlignVCenter, tr("%1 px").arg(m_height));
    painter.drawText(textBox, Qt::AlignRight | Qt::AlignVCenter, tr("Esc to stop"));
}

void ScrollProgressView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape && onEscape) {
        onEscape();
        return;
    }
    QWidget::keyPressEvent(event);
}

} // namespace vellumix
