#pragma once

#include <QLabel>
#include <QUrl>

namespace vellumix {

/// A line of link-coloured text that opens its address in the default browser: on a click, or
/// with Return, Enter or Space once Tab has reached it. The pointer turns into a hand over it.
class LinkTextField final : public QLabel {
    Q_OBJECT

public:
    LinkTextField(const QString& text, QUrl url, QWidget* parent = nullptr);

    const QUrl& url() const { return m_url; }

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void open();
    void setUnderlined(bool on);

    QUrl m_url;
    bool m_pressed = false;
};

} // namespace vellumix
