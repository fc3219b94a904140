#include "ShortcutRecorderView.h"

#include "library/CaptureShortcut.h"
#include "x11/KeyboardLayout.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

namespace vellumix {

namespace {

constexpr qreal cornerRadius = 6;
constexpr int textMargin = 6;

} // namespace

ShortcutRecorderView::ShortcutRecorderView(std::uint32_t keyCode, std::uint32_t modifierFlags,
                                           QWidget* parent)
    : QWidget(parent), m_keyCode(keyCode), m_modifierFlags(modifierFlags) {
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setCursor(Qt::PointingHandCursor);
    setAccessibleName(QStringLiteral("Capture shortcut"));
    redisplay();
}

void ShortcutRecorderView::setShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags) {
    m_keyCode = keyCode;
    m_modifierFlags = modifierFlags;
    redisplay();
}

QString ShortcutRecorderView::text() const {
    return shortcut::recorderText(m_keyCode, m_modifierFlags, isEnabled(), m_recording);
}

QSize ShortcutRecorderView::sizeHint() const {
    // Wide enough for every state, so the field does not jump when recording starts; a long
    // shortcut (Ctrl+Alt+Shift+Super+F12) widens it rather than being cut.
    const QFontMetrics metrics = fontMetrics();
    int textWidth = 0;
    for (const QString& shown :
         {text(), QStringLiteral("Recording…"), shortcut::recorderText(0, 0, true, false)}) {
        textWidth = std::max(textWidth, metrics.horizontalAdvance(shown));
    }
    return {std::max(minimumWidth, textWidth + 2 * textMargin + 2), fixedHeight};
}

void ShortcutRecorderView::redisplay() {
    setAccessibleDescription(text());
    updateGeometry();
    update();
}

bool ShortcutRecorderView::event(QEvent* event) {
    if (m_recording) {
        // Every key goes to the recorder: no window shortcut, mnemonic or Tab focus move.
        if (event->type() == QEvent::ShortcutOverride) {
            event->accept();
            return true;
        }
        if (event->type() == QEvent::KeyPress) {
            keyPressEvent(static_cast<QKeyEvent*>(event));
            return true;
        }
    }
    return QWidget::event(event);
}

void ShortcutRecorderView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette& colors = palette();
    const QPalette::ColorGroup group = isEnabled() ? QPalette::Active : QPalette::Disabled;
    const QColor accent = colors.color(QPalette::Active, QPalette::Highlight);

    QColor fill = QColor::fromRgbF(0.5f, 0.5f, 0.5f, 0.1f);
    QColor border = colors.color(group, QPalette::Mid);
    QColor ink = colors.color(group, QPalette::WindowText);
    if (m_recording) {
        fill = accent;
        fill.setAlphaF(0.08f);
        border = accent;
        ink = colors.color(QPalette::Active, QPalette::PlaceholderText);
    } else if (hasFocus()) {
        border = accent;
    }
    QPainterPath outline;
    outline.addRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), cornerRadius,
                           cornerRadius);
    painter.fillPath(outline, fill);
    painter.setPen(QPen(border, 1));
    painter.drawPath(outline);

    painter.setPen(ink);
    const QRect textArea = rect().adjusted(textMargin, 0, -textMargin, 0);
    painter.drawText(textArea, Qt::AlignCenter,
                     fontMetrics().elidedText(text(), Qt::ElideRight, textArea.width()));
}

void ShortcutRecorderView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && !m_recording) {
        startRecording();
    }
    event->accept();
}

void ShortcutRecorderView::keyPressEvent(QKeyEvent* event) {
    if (!m_recording) {
        // Space starts recording from the keyboard, as it presses a focused button.
        if (event->key() == Qt::Key_Space && event->modifiers() == Qt::NoModifier) {
            startRecording();
            return;
        }
        QWidget::keyPressEvent(event);
        return;
    }
    if (event->key() == Qt::Key_Escape) {
        cancelRecording();
        return;
    }
    recordKey(event);
}

void ShortcutRecorderView::recordKey(QKeyEvent* event) {
    const std::uint32_t flags = shortcut::flagsFromModifiers(event->modifiers());
    if (!shortcut::isRecordable(flags)) {
        return;
    }
    // Modifier keys on their own and keys outside the table keep the recorder waiting.
    const auto code = shortcutKeyCode(*event);
    if (!code) {
        return;
    }
    m_keyCode = *code;
    m_modifierFlags = flags;
    stopRecording();
    const auto callback = onShortcutRecorded;
    if (callback) {
        callback(m_keyCode, m_modifierFlags);
    }
}

void ShortcutRecorderView::startRecording() {
    if (m_recording || !isEnabled()) {
        return;
    }
    m_savedKeyCode = m_keyCode;
    m_savedModifierFlags = m_modifierFlags;
    m_recording = true;
    setFocus(Qt::MouseFocusReason);
    grabKeyboard();
    redisplay();
}

void ShortcutRecorderView::stopRecording() {
    m_recording = false;
    releaseKeyboard();
    redisplay();
}

void ShortcutRecorderView::cancelRecording() {
    if (!m_recording) {
        return;
    }
    m_keyCode = m_savedKeyCode;
    m_modifierFlags = m_savedModifierFlags;
    stopRecording();
}

void ShortcutRecorderView::focusOutEvent(QFocusEvent* event) {
    cancelRecording();
    QWidget::focusOutEvent(event);
}

void ShortcutRecorderView::hideEvent(QHideEvent* event) {
    // Never leave the keyboard grabbed behind a closed window.
    cancelRecording();
    QWidget::hideEvent(event);
}

void ShortcutRecorderView::changeEvent(QEvent* event) {
    if (event->type() == QEvent::EnabledChange) {
        if (!isEnabled()) {
            cancelRecording();
        }
        redisplay();
    }
    QWidget::changeEvent(event);
}

} // namespace vellumix
