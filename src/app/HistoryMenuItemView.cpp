#include "HistoryMenuItemView.h"

#include "model/Color.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace vellumix {

namespace {

// The symbols, drawn: a clock for captured entries, a folder for external ones, a trash can.
void drawClock(QPainter& p, const QRectF& box, const QColor& color) {
    p.setPen(QPen(color, 1.2));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(box.adjusted(1, 1, -1, -1));
    const QPointF c = box.center();
    p.drawLine(c, c + QPointF(0, -box.height() * 0.3));
    p.drawLine(c, c + QPointF(box.width() * 0.22, 0));
}

void drawFolder(QPainter& p, const QRectF& box, const QColor& color) {
    QPainterPath path;
    const double x = box.left() + 0.5, y = box.top() + 2.5, w = box.width() - 1,
                 h = box.height() - 5;
    path.moveTo(x, y + h);
    path.lineTo(x, y);
    path.lineTo(x + w * 0.4, y);
    path.lineTo(x + w * 0.5, y + h * 0.2);
    path.lineTo(x + w, y + h * 0.2);
    path.lineTo(x + w, y + h);
    path.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawPath(path);
}

void drawTrash(QPainter& p, const QRectF& box, const QColor& color) {
    p.setPen(QPen(color, 1.2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    const double l = box.left(), t = box.top(), w = box.width(), h = box.height();
    p.drawLine(QPointF(l + 1, t + h * 0.25), QPointF(l + w - 1, t + h * 0.25));
    p.drawLine(QPointF(l + w * 0.38, t + h * 0.25), QPointF(l + w * 0.42, t + 1.5));
    p.drawLine(QPointF(l + w * 0.42, t + 1.5), QPointF(l + w * 0.58, t + 1.5));
    p.drawLine(QPointF(l + w * 0.58, t + 1.5), QPointF(l + w * 0.62, t + h * 0.25));
    QPainterPath can;
    can.moveTo(l + w * 0.2, t + h * 0.25);
    can.lineTo(l + w * 0.27, t + h - 1);
    can.lineTo(l + w * 0.73, t + h - 1);
    can.lineTo(l + w * 0.8, t + h * 0.25);
    p.drawPath(can);
}

} // namespace

HistoryMenuItemView::HistoryMenuItemView(const QImage& thumbnail, const QString& title,
                                         bool isExternal, QWidget* parent)
    : QWidget(parent), m_thumbnail(thumbnail), m_title(title), m_isExternal(isExternal) {
    setMouseTracking(true);
    setAttribute(Qt::WA_Hover);
    setFixedSize(sizeHint());
    setAccessibleName(title);
    setAccessibleDescription(isExternal ? QStringLiteral("External bundle")
                                        : QStringLiteral("Captured / auto-managed"));
}

// Left to right: 10 + thumbnail 44 + 8 + badge 14 + 6, the title, 12 + trash 14 + 10.
constexpr int titleLeft = 82;
constexpr int titleRightMargin = 36;
constexpr int minimumTitleWidth = 160;

QFont HistoryMenuItemView::titleFont() const {
    QFont font = this->font();
    font.setPixelSize(13);
    return font;
}

QSize HistoryMenuItemView::sizeHint() const {
    const int title = std::max(
        minimumTitleWidth, int(std::ceil(QFontMetricsF(titleFont()).horizontalAdvance(m_title))));
    return {std::max(rowSize.width(), titleLeft + std::min(title, 320) + titleRightMargin),
            rowSize.height()};
}

bool HistoryMenuItemView::inTrashZone(QPointF point) const {
    return !m_isExternal && point.x() >= width() - trashZone;
}

void HistoryMenuItemView::enterEvent(QEnterEvent* event) {
    m_rowHovered = true;
    m_trashHovered = inTrashZone(event->position());
    update();
    QWidget::enterEvent(event);
}

void HistoryMenuItemView::leaveEvent(QEvent* event) {
    m_rowHovered = false;
    m_trashHovered = false;
    update();
    QWidget::leaveEvent(event);
}

void HistoryMenuItemView::mouseMoveEvent(QMouseEvent* event) {
    const bool trash = inTrashZone(event->position());
    if (!m_rowHovered || trash != m_trashHovered) {
        m_rowHovered = true;
        m_trashHovered = trash;
        update();
    }
    QWidget::mouseMoveEvent(event);
}

void HistoryMenuItemView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        QWidget::mouseReleaseEvent(event);
        return;
    }
    // The callbacks run once the event is done: opening closes the menu this row lives in.
    const auto later = [this](std::function<void()> callback) {
        if (callback) {
            QTimer::singleShot(0, qApp, std::move(callback));
        }
    };
    if (event->modifiers().testFlag(Qt::ShiftModifier)) {
        later(onReveal); // the menu stays open
    } else if (!inTrashZone(event->position())) {
        for (QWidget* w = parentWidget(); w; w = w->parentWidget()) {
            if (auto* menu = qobject_cast<QMenu*>(w)) {
                // The whole menu chain closes, as after choosing an ordinary item.
                QMenu* top = menu;
                while (auto* parentMenu = qobject_cast<QMenu*>(top->parentWidget())) {
                    top = parentMenu;
                }
                top->close();
                menu->close();
                break;
            }
        }
        later(onOpen);
    } else {
        later(onDelete); // the menu stays open; the row goes away
    }
    event->accept();
}

void HistoryMenuItemView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    const QPalette& colors = palette();
    const QColor text = colors.color(m_rowHovered ? QPalette::HighlightedText : QPalette::Text);
    const QColor secondary = m_rowHovered ? colors.color(QPalette::HighlightedText)
                                          : colors.color(QPalette::PlaceholderText);
    if (m_rowHovered) {
        p.setPen(Qt::NoPen);
        p.setBrush(colors.color(QPalette::Highlight));
        p.drawRoundedRect(QRectF(4, 3, width() - 38, height() - 6), 5, 5);
    }
    const double middle = height() / 2.0;
    // The thumbnail, scaled to fit 44 × 30, 10 in.
    const QRectF thumbBox(10, middle - 15, 44, 30);
    if (!m_thumbnail.isNull()) {
        const QSizeF fitted =
            QSizeF(m_thumbnail.size()).scaled(thumbBox.size(), Qt::KeepAspectRatio);
        const QRectF target(thumbBox.center() - QPointF(fitted.width() / 2, fitted.height() / 2),
                            fitted);
        p.drawImage(target, m_thumbnail);
    }
    const QRectF badge(thumbBox.right() + 8, middle - 7, 14, 14);
    if (m_isExternal) {
        drawFolder(p, badge, secondary);
    } else {
        drawClock(p, badge, secondary);
    }
    const QFont font = titleFont();
    p.setFont(font);
    p.setPen(text);
    const double labelLeft = badge.right() + 6;
    const double labelRight = width() - 10 - 14 - 12;
    const QRectF labelBox(labelLeft, 0, labelRight - labelLeft, height());
    p.drawText(labelBox, Qt::AlignVCenter | Qt::AlignLeft,
               QFontMetricsF(font).elidedText(m_title, Qt::ElideRight, labelBox.width()));
    if (!m_isExternal && m_rowHovered) {
        drawTrash(p, QRectF(width() - 10 - 14, middle - 7, 14, 14),
                  m_trashHovered ? SystemColors::red.toQColor() : text);
    }
}

} // namespace vellumix
