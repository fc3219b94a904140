#include "AIOverlayView.h"

#include "model/Color.h"

#include <QDesktopServices>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QPropertyAnimation>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace vellumix {

namespace {

constexpr int margin = 12;
constexpr int panelMaxWidth = 640;
constexpr int iconSide = 16;

// GitHub's dialect, but "_x_" is emphasis as Markdown has it (Qt's dialect underlines it, md4c's
// underline extension), and HTML in an answer shows as the text it is.
constexpr int md4cUnderline = 0x4000;
const QTextDocument::MarkdownFeatures markdownFeatures = QTextDocument::MarkdownFeatures::fromInt(
    (QTextDocument::MarkdownDialectGitHub & ~md4cUnderline) | QTextDocument::MarkdownNoHTML);

QColor tint(AIStatusKind kind) {
    switch (kind) {
    case AIStatusKind::done:
        return SystemColors::green.toQColor();
    case AIStatusKind::error:
        return SystemColors::red.toQColor();
    default:
        return SystemColors::blue.toQColor();
    }
}

// The status icons, drawn rather than loaded: a check or an "i" in a filled circle, an
// exclamation mark in a filled triangle, a cross in a circle for closing.
QPixmap statusPixmap(AIStatusKind kind, const QColor& color, qreal dpr) {
    QPixmap pixmap(QSize(iconSide, iconSide) * dpr);
    pixmap.setDevicePixelRatio(dpr);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF box(0.5, 0.5, iconSide - 1, iconSide - 1);
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    QPen glyph(Qt::white, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    switch (kind) {
    case AIStatusKind::done:
        p.drawEllipse(box);
        p.setPen(glyph);
        p.drawPolyline(QPolygonF({{4.5, 8.3}, {7, 10.8}, {11.5, 5.5}}));
        break;
    case AIStatusKind::error: {
        QPainterPath triangle;
        triangle.moveTo(8, 1);
        triangle.lineTo(15.5, 14.5);
        triangle.lineTo(0.5, 14.5);
        triangle.closeSubpath();
        p.drawPath(triangle);
        p.setPen(glyph);
        p.drawLine(QPointF(8, 5.5), QPointF(8, 9.5));
        p.drawPoint(QPointF(8, 12.2));
        break;
    }
    case AIStatusKind::info:
        p.drawEllipse(box);
        p.setPen(glyph);
        p.drawPoint(QPointF(8, 4.8));
        p.drawLine(QPointF(8, 7.5), QPointF(8, 11.5));
        break;
    case AIStatusKind::working:
        break;
    }
    return pixmap;
}

QIcon closeIcon(const QColor& color) {
    QPixmap pixmap(QSize(iconSide, iconSide) * 2);
    pixmap.setDevicePixelRatio(2);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawEllipse(QRectF(0.5, 0.5, iconSide - 1, iconSide - 1));
    p.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(5.5, 5.5), QPointF(10.5, 10.5));
    p.drawLine(QPointF(10.5, 5.5), QPointF(5.5, 10.5));
    return QIcon(pixmap);
}

// The answer's view. Whatever an answer names is never fetched: every picture resolves to one
// transparent pixel (for a null one, Qt's text layout would read the named file itself), and
// links are only reported, never followed inside the view.
class AnswerView final : public QTextBrowser {
public:
    explicit AnswerView(QWidget* parent) : QTextBrowser(parent) {
        setOpenLinks(false);
        setOpenExternalLinks(false);
    }

    QVariant loadResource(int type, const QUrl&) override {
        if (type == QTextDocument::ImageResource) {
            QImage nothing(1, 1, QImage::Format_ARGB32);
            nothing.fill(Qt::transparent);
            return nothing;
        }
        return QByteArray();
    }
};

} // namespace

bool isOpenableAnswerLink(const QUrl& url) {
    const QString scheme = url.scheme().toLower();
    return url.isValid() && (scheme == u"https" || scheme == u"http") && !url.host().isEmpty();
}

AIStatusKind statusKindForText(const QString& text) {
    if (text == u"Done") {
        return AIStatusKind::done;
    }
    if (text.startsWith(u"Error")) {
        return AIStatusKind::error;
    }
    return AIStatusKind::working;
}

/// An indeterminate progress indicator: an arc going round while it animates.
class Spinner final : public QWidget {
public:
    explicit Spinner(QWidget* parent) : QWidget(parent) {
        setFixedSize(iconSide, iconSide);
        m_timer.setInterval(50);
        connect(&m_timer, &QTimer::timeout, this, [this] {
            m_angle = (m_angle + 30) % 360;
            update();
        });
    }
    void start() {
        m_timer.start();
        show();
    }
    void stop() {
        m_timer.stop();
        hide();
    }
    bool isSpinning() const { return m_timer.isActive(); }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter p(this);
        p.setRenderHint(QPainter::Antialiasing);
        const QRectF box = QRectF(rect()).adjusted(2, 2, -2, -2);
        QColor track = palette().color(QPalette::WindowText);
        track.setAlphaF(0.15);
        p.setPen(QPen(track, 2));
        p.drawEllipse(box);
        p.setPen(QPen(palette().color(QPalette::WindowText), 2, Qt::SolidLine, Qt::RoundCap));
        p.drawArc(box, -m_angle * 16, 100 * 16);
    }

private:
    QTimer m_timer;
    int m_angle = 0;
};

AIOverlayView::AIOverlayView(QWidget* parent) : QWidget(parent) {
    setAttribute(Qt::WA_TranslucentBackground);
    setAutoFillBackground(false);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(12, 8, 8, 10);
    column->setSpacing(6);
    auto* header = new QHBoxLayout;
    header->setSpacing(6);
    m_spinner = new Spinner(this);
    m_statusIcon = new QLabel(this);
    m_statusIcon->setFixedSize(iconSide, iconSide);
    m_statusIcon->hide();
    m_statusLabel = new QLabel(this);
    QFont bold = m_statusLabel->font();
    bold.setBold(true);
    m_statusLabel->setFont(bold);
    m_closeButton = new QToolButton(this);
    m_closeButton->setAutoRaise(true);
    m_closeButton->setIcon(closeIcon(palette().color(QPalette::PlaceholderText)));
    m_closeButton->setIconSize(QSize(iconSide, iconSide));
    m_closeButton->setToolTip(QStringLiteral("Close AI panel"));
    m_closeButton->setAccessibleName(QStringLiteral("Close AI panel"));
    m_closeButton->setFocusPolicy(Qt::NoFocus);
    connect(m_closeButton, &QToolButton::clicked, this, &AIOverlayView::close);
    header->addWidget(m_spinner);
    header->addWidget(m_statusIcon);
    header->addWidget(m_statusLabel, 1);
    header->addWidget(m_closeButton);
    column->addLayout(header);

    m_textView = new AnswerView(this);
    connect(m_textView, &QTextBrowser::anchorClicked, this, [](const QUrl& url) {
        if (isOpenableAnswerLink(url)) {
            QDesktopServices::openUrl(url);
        }
    });
    m_textView->setFrameShape(QFrame::NoFrame);
    m_textView->viewport()->setAutoFillBackground(false);
    m_textView->setStyleSheet(QStringLiteral("QTextBrowser { background: transparent; }"));
    // Typing goes on in the prompt field while the answer arrives.
    m_textView->setFocusPolicy(Qt::NoFocus);
    column->addWidget(m_textView, 1);

    m_animation = new QPropertyAnimation(this, "panelHeight", this);
    m_animation->setDuration(180);
    m_animation->setEasingCurve(QEasingCurve::OutCubic);

    parent->installEventFilter(this);
    hide();
}

void AIOverlayView::begin() {
    m_metaMarkdown.clear();
    m_responseMarkdown.clear();
    render(false);
    setStatus(QStringLiteral("Thinking…"), AIStatusKind::working);
    showIfHidden();
    animateTo(workingHeight);
}

void AIOverlayView::setStatus(const QString& text) {
    setStatus(text, statusKindForText(text));
}

void AIOverlayView::setStatus(const QString& text, AIStatusKind kind) {
    m_kind = kind;
    m_statusLabel->setText(text);
    if (kind == AIStatusKind::working) {
        m_statusIcon->hide();
        m_statusIcon->setAccessibleName(QString());
        m_spinner->start();
        return;
    }
    m_spinner->stop();
    static const char* const names[] = {"", "Done", "Error", "Info"};
    m_statusIcon->setPixmap(statusPixmap(kind, tint(kind), devicePixelRatioF()));
    m_statusIcon->setAccessibleName(QString::fromLatin1(names[int(kind)]));
    m_statusIcon->show();
}

void AIOverlayView::setMeta(const QString& markdown) {
    m_metaMarkdown = markdown;
    render(true);
}

void AIOverlayView::setResponse(const QString& markdown) {
    m_responseMarkdown = markdown;
    render(true);
}

void AIOverlayView::showFailure(const QString& message) {
    setStatus(QStringLiteral("Error"), AIStatusKind::error);
    m_textView->setPlainText(message);
}

void AIOverlayView::showInfo(const QString& title, const QString& markdown) {
    m_responseMarkdown.clear();
    m_metaMarkdown = markdown;
    setStatus(title, AIStatusKind::info);
    render(false);
    m_textView->verticalScrollBar()->setValue(0);
    showIfHidden();
    animateTo(infoHeight);
}

void AIOverlayView::close() {
    m_animation->stop();
    m_spinner->stop();
    hide();
    if (onClose) {
        onClose();
    }
}

QString AIOverlayView::statusText() const {
    return m_statusLabel->text();
}

bool AIOverlayView::isSpinning() const {
    return m_spinner->isSpinning();
}

QString AIOverlayView::shownText() const {
    return m_textView->toPlainText();
}

void AIOverlayView::render(bool scrollToEnd) {
    QStringList parts;
    for (const QString* part : {&m_metaMarkdown, &m_responseMarkdown}) {
        if (!part->isEmpty()) {
            parts << *part;
        }
    }
    m_textView->document()->setMarkdown(parts.join(QStringLiteral("\n\n")), markdownFeatures);
    if (scrollToEnd) {
        QScrollBar* bar = m_textView->verticalScrollBar();
        bar->setValue(bar->maximum());
    }
}

void AIOverlayView::showIfHidden() {
    if (isHidden()) {
        m_targetHeight = 0;
        setPanelHeight(0);
        show();
        raise();
    }
}

void AIOverlayView::animateTo(int height) {
    if (m_targetHeight == height &&
        (m_height == height || m_animation->state() == QAbstractAnimation::Running)) {
        return;
    }
    m_targetHeight = height;
    m_animation->stop();
    m_animation->setStartValue(m_height);
    m_animation->setEndValue(height);
    m_animation->start();
}

void AIOverlayView::setPanelHeight(int height) {
    m_height = height;
    place();
    if (m_kind == AIStatusKind::info && m_animation->state() == QAbstractAnimation::Running) {
        // Tips read from the top while the panel grows.
        m_textView->verticalScrollBar()->setValue(0);
    }
}

void AIOverlayView::place() {
    const QWidget* host = parentWidget();
    const int width = std::min(panelMaxWidth, host->width() - 2 * margin);
    const int height = std::min(m_height, std::max(0, host->height() - 2 * margin));
    setGeometry((host->width() - width) / 2, host->height() - margin - height, width, height);
}

bool AIOverlayView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == parentWidget() && event->type() == QEvent::Resize) {
        place();
    }
    return QWidget::eventFilter(watched, event);
}

void AIOverlayView::paintEvent(QPaintEvent*) {
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    QColor fill = palette().color(QPalette::Window);
    fill.setAlphaF(0.94);
    QColor edge = palette().color(QPalette::WindowText);
    edge.setAlphaF(0.18);
    p.setPen(QPen(edge, 1));
    p.setBrush(fill);
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 10, 10);
}

} // namespace vellumix
