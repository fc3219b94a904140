#pragma once

#include <QWidget>

class QGraphicsOpacityEffect;
class QPropertyAnimation;
class QTimer;

namespace vellumix {

/// A short message floating over the bottom of its parent ("Copied 3 lines") that fades away
/// after a moment. It places itself at the parent's bottom centre, follows the parent's size and
/// lets every click through to what lies below.
class StatusToast final : public QWidget {
    Q_OBJECT

public:
    static constexpr int defaultHoldMs = 2000;

    explicit StatusToast(QWidget* parent);

    /// Shows `text` at full opacity, replacing any message still shown. It starts fading after
    /// `holdMs`; with 0 it stays until the next message.
    void showMessage(const QString& text, int holdMs = defaultHoldMs);
    QString message() const { return m_text; }

    QSize sizeHint() const override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    void place();

    QString m_text;
    QTimer* m_hold = nullptr;
    QGraphicsOpacityEffect* m_opacity = nullptr;
    QPropertyAnimation* m_fade = nullptr;
};

} // namespace vellumix
