#pragma once

#include <QWidget>

#include <cstdint>
#include <functional>

namespace vellumix {

/// A small rounded field that shows a capture shortcut and records a new one: a click (or
/// Space) starts recording, the next key pressed with a modifier other than Shift alone
/// becomes the shortcut, Escape or leaving the field restores the previous one. While it
/// records it holds the keyboard grab, so the window's own shortcuts do not see the keys.
class ShortcutRecorderView final : public QWidget {
    Q_OBJECT

public:
    static constexpr int minimumWidth = 90;
    static constexpr int fixedHeight = 22;

    ShortcutRecorderView(std::uint32_t keyCode, std::uint32_t modifierFlags,
                         QWidget* parent = nullptr);

    std::uint32_t keyCode() const { return m_keyCode; }
    std::uint32_t modifierFlags() const { return m_modifierFlags; }
    /// Shows the shortcut (stored encoding); no callback.
    void setShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags);

    bool isRecording() const { return m_recording; }
    /// Stops recording, putting back the shortcut it had before; nothing when idle.
    void cancelRecording();
    /// What the field shows now.
    QString text() const;

    /// A new shortcut was recorded (it is shown already).
    std::function<void(std::uint32_t keyCode, std::uint32_t modifierFlags)> onShortcutRecorded;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void startRecording();
    void stopRecording();
    void recordKey(QKeyEvent* event);
    void redisplay();

    std::uint32_t m_keyCode = 0;
    std::uint32_t m_modifierFlags = 0;
    std::uint32_t m_savedKeyCode = 0;
    std::uint32_t m_savedModifierFlags = 0;
    bool m_recording = false;
};

} // namespace vellumix
