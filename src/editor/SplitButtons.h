#pragma once

#include <QIcon>
#include <QWidget>

#include <functional>

class QShortcut;

namespace vellumix {

/// A split push button: optional icon, title, a divider and a chevron-down in its rightmost 24
/// units. A press at x >= width - 24 runs onChevronClick, any other runs onMainClick. While it
/// and its ancestors are visible and enabled, Return (Enter too) in its window runs onMainClick,
/// whatever modifiers are held.
/// The bevel (and its rounding) is the current style's push button, so it follows the desktop
/// theme; a pressed part is drawn sunken on its own side of the divider. Keyboard:
/// Tab focus, Space runs the main part, Down or Alt+Down the chevron. Return is left to a
/// focused line edit, spin box or editable combo box, and a text editor keeps it as a newline.
class SaveSplitButton final : public QWidget {
    Q_OBJECT

public:
    static constexpr int chevronWidth = 24;

    explicit SaveSplitButton(QWidget* parent = nullptr);

    void setIcon(const QIcon& icon);
    QIcon icon() const { return m_icon; }
    void setTitle(const QString& title);
    QString title() const { return m_title; }

    std::function<void()> onMainClick;
    std::function<void()> onChevronClick;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    /// The chevron's part in widget coordinates; its bottom-left corner is where a menu pops up.
    QRect chevronRect() const;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    enum class Part { none, main, chevron };

    void press(Part part, bool fromMouse);
    void releasePressedLook();
    void followFocus(QWidget* focusWidget);

    QIcon m_icon;
    QString m_title;
    Part m_pressed = Part::none;
    QShortcut* m_returnShortcut = nullptr;
};

/// Drawn the same way as SaveSplitButton; any press runs onClick (the assistant's provider
/// button, whose menu lists the providers). Space and Down run it from the keyboard.
class AIProviderButton final : public QWidget {
    Q_OBJECT

public:
    explicit AIProviderButton(QWidget* parent = nullptr);

    void setTitle(const QString& title);
    QString title() const { return m_title; }

    std::function<void()> onClick;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void press(bool fromMouse);

    QString m_title;
    bool m_pressed = false;
};

} // namespace vellumix
