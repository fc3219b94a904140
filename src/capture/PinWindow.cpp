#include "capture/PinWindow.h"

#include "desktop/DisplaySession.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMimeData>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>

#include <algorithm>
#include <array>
#include <cmath>

namespace vellumix {

namespace {

// The magnifications the wheel steps through, in percent.
constexpr std::array zoomLevels{25, 33, 50, 67, 80, 100, 125, 150, 200, 250, 300, 400};

QScreen* screenNear(QPointF point) {
    QScreen* screen = QGuiApplication::screenAt(point.toPoint());
    return screen != nullptr ? screen : QGuiApplication::primaryScreen();
}

} // namespace

bool PinWindow::available() {
    return detectDisplaySession().kind == DisplaySession::Kind::x11;
}

PinWindow::PinWindow(QImage picture, QPointF centre) : m_picture(std::move(picture)) {
    // A tool window: no taskbar entry of its own for every pin.
    setWindowFlags(Qt::Window | Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    setAttribute(Qt::WA_DeleteOnClose);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setWindowTitle(tr("Pinned picture"));
    setAccessibleName(tr("Pinned picture"));
    setAccessibleDescription(
        tr("Drag to move, wheel to zoom, Ctrl+C copies, Escape or a double click closes"));
    m_picture.setDevicePixelRatio(1);
    m_zoomLabel.setSingleShot(true);
    m_zoomLabel.setInterval(900);
    m_zoomLabel.callOnTimeout(this, [this] { update(); });

    QScreen* screen = screenNear(centre);
    if (screen != nullptr) {
        setScreen(screen);
    }
    resize(sizeAt(m_zoomPercent));
    QRect frame(QPoint(), size());
    frame.moveCenter(centre.toPoint());
    if (screen != nullptr) {
        // Inside the screen where it fits; its top-left corner in view where it does not.
        const QRect area = screen->availableGeometry();
        frame.moveLeft(std::max(area.left(), std::min(frame.left(), area.right() + 1 - width())));
        frame.moveTop(std::max(area.top(), std::min(frame.top(), area.bottom() + 1 - height())));
    }
    move(frame.topLeft());
}

// The window in logical units: at 100 % one image pixel per device pixel.
QSize PinWindow::sizeAt(int percent) const {
    const double ratio = screen() != nullptr ? screen()->devicePixelRatio() : 1;
    const double scale = percent / 100.0 / ratio;
    return QSize(std::max(1, int(std::lround(m_picture.width() * scale))),
                 std::max(1, int(std::lround(m_picture.height() * scale))));
}

void PinWindow::zoomSteps(int steps, QPointF anchor) {
    const auto current = std::find(zoomLevels.begin(), zoomLevels.end(), m_zoomPercent);
    const auto index = std::clamp<std::ptrdiff_t>((current - zoomLevels.begin()) + steps, 0,
                                                  std::ssize(zoomLevels) - 1);
    const int percent = zoomLevels[std::size_t(index)];
    m_zoomLabel.start();
    if (percent == m_zoomPercent) {
        update();
        return;
    }
    const QSize before = size();
    const QSize after = sizeAt(percent);
    // The picture point under the anchor stays under it.
    const QPointF fraction(anchor.x() / before.width(), anchor.y() / before.height());
    const QPoint shift = QPointF(fraction.x() * (after.width() - before.width()),
                                 fraction.y() * (after.height() - before.height()))
                             .toPoint();
    m_zoomPercent = percent;
    setGeometry(QRect(pos() - shift, after));
    update();
}

void PinWindow::copyToClipboard() const {
    auto* data = new QMimeData;
    data->setImageData(m_picture);
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
}

void PinWindow::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (m_zoomPercent == 100) {
        // Exactly the picture's pixels, whatever the screen's ratio.
        QImage deviceExact = m_picture;
        deviceExact.setDevicePixelRatio(devicePixelRatioF());
        painter.drawImage(QPointF(0, 0), deviceExact);
    } else {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, m_zoomPercent < 100);
        painter.drawImage(QRectF(rect()), m_picture);
    }
    if (!m_zoomLabel.isActive()) {
        return;
    }
    const QString text = QStringLiteral("%1 %").arg(m_zoomPercent);
    QFont font = painter.font();
    font.setPixelSize(12);
    painter.setFont(font);
    const QRectF box = QRectF(QFontMetricsF(font).boundingRect(text)).adjusted(-6, -3, 6, 3);
    const QRectF placed = box.translated(QPointF(6, 6) - box.topLeft());
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath path;
    path.addRoundedRect(placed, 4, 4);
    painter.fillPath(path, QColor(0, 0, 0, 166));
    painter.setPen(Qt::white);
    painter.drawText(placed, Qt::AlignCenter, text);
}

void PinWindow::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        m_dragOffset = event->globalPosition().toPoint() - frameGeometry().topLeft();
    }
}

void PinWindow::mouseMoveEvent(QMouseEvent* event) {
    if (m_dragOffset && (event->buttons() & Qt::LeftButton)) {
        move(event->globalPosition().toPoint() - *m_dragOffset);
    }
}

void PinWindow::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        close();
    }
}

void PinWindow::wheelEvent(QWheelEvent* event) {
    // Touchpads turn in small amounts: a step per notch's worth.
    m_wheel += event->angleDelta().y();
    const int notches = m_wheel / 120;
    m_wheel -= notches * 120;
    if (notches != 0) {
        zoomSteps(notches, event->position());
    }
}

void PinWindow::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::Copy)) {
        copyToClipboard();
    } else if (event->key() == Qt::Key_Escape) {
        close();
    } else {
        QWidget::keyPressEvent(event);
    }
}

} // namespace vellumix
