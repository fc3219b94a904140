#include "LinkTextField.h"

#include <QDesktopServices>
#include <QKeyEvent>
#include <QMouseEvent>

namespace vellumix {

LinkTextField::LinkTextField(const QString& text, QUrl url, QWidget* parent)
    : QLabel(text, parent), m_url(std::move(url)) {
    setTextFormat(Qt::PlainText);
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setToolTip(m_url.toString());
    setAccessibleName(text);
    setAccessibleDescription(m_url.toString());
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, colors.color(QPalette::Link));
    setPalette(colors);
}

void LinkTextField::open() {
    QDesktopServices::openUrl(m_url);
}

void LinkTextField::setUnderlined(bool on) {
    QFont underlined = font();
    underlined.setUnderline(on);
    setFont(underlined);
}

void LinkTextField::mousePressEvent(QMouseEvent* event) {
    m_pressed = event->button() == Qt::LeftButton;
    event->accept();
}

void LinkTextField::mouseReleaseEvent(QMouseEvent* event) {
    // Like a button: the click counts only if it ends over the text it started on.
    const bool click = m_pressed && event->button() == Qt::LeftButton &&
                       rect().contains(event->position().toPoint());
    m_pressed = false;
    event->accept();
    if (click) {
        open();
    }
}

void LinkTextField::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (event->modifiers() == Qt::NoModifier || event->modifiers() == Qt::KeypadModifier) {
            open();
            return;
        }
        break;
    default:
        break;
    }
    QLabel::keyPressEvent(event);
}

void LinkTextField::enterEvent(QEnterEvent* event) {
    setUnderlined(true);
    QLabel::enterEvent(event);
}

void LinkTextField::leaveEvent(QEvent* event) {
    setUnderlined(hasFocus());
    QLabel::leaveEvent(event);
}

void LinkTextField::focusInEvent(QFocusEvent* event) {
    // The underline doubles as the focus mark: a label draws no focus frame.
    setUnderlined(true);
    QLabel::focusInEvent(event);
}

void LinkTextField::focusOutEvent(QFocusEvent* event) {
    setUnderlined(underMouse());
    QLabel::focusOutEvent(event);
}

} // namespace vellumix
