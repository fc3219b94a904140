#include "capture/CountdownView.h"

#include <QCursor>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>

namespace vellumix {

namespace {

constexpr int screenMargin = 24;
const QColor background(32, 32, 36);

} // namespace

CountdownView::CountdownView(QWidget* parent) : QWidget(parent) {
    // A fixed size also keeps a tiling compositor from stretching it.
    setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::Tool |
                   Qt::NoDropShadowWindowHint);
    setFixedSize(side, side);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setWindowTitle(tr("Capture countdown"));
    setAccessibleName(tr("Capture countdown"));
    setAccessibleDescription(tr("Escape or a click cancels the capture"));
}

void CountdownView::showCount(int seconds) {
    m_seconds = seconds;
    setAccessibleDescription(tr("Capture in %1 s; Escape or a click cancels").arg(seconds));
    update();
    if (isVisible()) {
        return;
    }
    placeOnScreenUnderPointer();
    show();
    raise();
    // Escape needs the keyboard; a click elsewhere (to open a menu there) takes it back.
    activateWindow();
    setFocus(Qt::ActiveWindowFocusReason);
}

void CountdownView::placeOnScreenUnderPointer() {
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    if (screen == nullptr) {
        return;
    }
    setScreen(screen);
    const QRect area = screen->availableGeometry();
    move(area.right() + 1 - screenMargin - side, area.bottom() + 1 - screenMargin - side);
}

void CountdownView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), background);
    QFont big = font();
    big.setPixelSize(56);
    big.setBold(true);
    painter.setFont(big);
    painter.setPen(Qt::white);
    painter.drawText(rect().adjusted(0, 0, 0, -22), Qt::AlignCenter, QString::number(m_seconds));
    QFont small = font();
    small.setPixelSize(11);
    painter.setFont(small);
    painter.setPen(QColor(255, 255, 255, 170));
    painter.drawText(rect().adjusted(0, 0, 0, -12), Qt::AlignHCenter | Qt::AlignBottom,
                     tr("Esc cancels"));
}

void CountdownView::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        cancel();
        return;
    }
    QWidget::keyPressEvent(event);
}

void CountdownView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && rect().contains(event->position().toPoint())) {
        cancel();
    }
}

void CountdownView::cancel() {
    if (onCancel) {
        onCancel();
    }
}

} // namespace vellumix
