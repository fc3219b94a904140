#include "StatusToast.h"

#include <QEvent>
#include <QGraphicsOpacityEffect>
#include <QPainter>
#include <QPropertyAnimation>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace vellumix {

namespace {

constexpr int bottomMargin = 28;
constexpr int sideMargin = 8;
constexpr int fadeMs = 400;
constexpr int horizontalPadding = 14;
constexpr int verticalPadding = 7;

} // namespace

StatusToast::StatusToast(QWidget* parent)
    : QWidget(parent)
    , m_hold(new QTimer(this))
    , m_opacity(new QGraphicsOpacityEffect(this))
    , m_fade(new QPropertyAnimation(m_opacity, "opacity", this)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    setGraphicsEffect(m_opacity);
    m_hold->setSingleShot(true);
    connect(m_hold, &QTimer::timeout, this, [this] {
        m_fade->stop();
        m_fade->setStartValue(1.0);
        m_fade->setEndValue(0.0);
        m_fade->start();
    });
    m_fade->setDuration(fadeMs);
    connect(m_fade, &QPropertyAnimation::finished, this, [this] {
        if (m_opacity->opacity() <= 0) {
            hide();
        }
    });
    parent->installEventFilter(this);
    hide();
}

void StatusToast::showMessage(const QString& text, int holdMs) {
    m_text = text;
    setAccessibleName(text);
    m_fade->stop();
    m_hold->stop();
    m_opacity->setOpacity(1);
    place();
    show();
    raise();
    update();
    if (holdMs > 0) {
        m_hold->start(holdMs);
    }
}

QSize StatusToast::sizeHint() const {
    ensurePolished(); // the font the toast is painted with
    QFont bold = font();
    bold.setBold(true);
    const QFontMetricsF metrics(bold);
    // A pixel or two of air, so that rounding never cuts the text short.
    return {int(std::ceil(metrics.horizontalAdvance(m_text))) + 2 * horizontalPadding + 2,
            int(std::ceil(metrics.height())) + 2 * verticalPadding};
}

void StatusToast::place() {
    const QWidget* host = parentWidget();
    const QSize hint = sizeHint();
    // Long messages are cut short rather than run past the parent's edges.
    const int width = std::min(hint.width(), std::max(0, host->width() - 2 * sideMargin));
    setGeometry((host->width() - width) / 2,
                std::max(0, host->height() - bottomMargin - hint.height()), width, hint.height());
}

bool StatusToast::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize && isVisible()) {
        place();
    }
    return QWidget::eventFilter(watched, event);
}

void StatusToast::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(32, 32, 36, 225));
    const QRectF box = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.drawRoundedRect(box, box.height() / 2, box.height() / 2);
    QFont bold = font();
    bold.setBold(true);
    painter.setFont(bold);
    painter.setPen(Qt::white);
    const QFontMetrics metrics(bold);
    painter.drawText(rect().adjusted(horizontalPadding, 0, -horizontalPadding, 0), Qt::AlignCenter,
                     metrics.elidedText(m_text, Qt::ElideRight, width() - 2 * horizontalPadding));
}

} // namespace vellumix
