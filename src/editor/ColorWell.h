#pragma once

#include "model/Color.h"

#include <QPointer>
#include <QWidget>

#include <functional>

class QAbstractButton;
class QColorDialog;

namespace vellumix {

/// A 22 × 22 colour swatch button (checkerboard under translucent colours, a diagonal red
/// slash for "no colour") with an optional small clear button beside it. Clicking the swatch
/// opens the shared colour panel for this well; while the panel follows it the swatch wears the
/// palette's highlight as its frame. Hiding, disabling or deleting the followed well closes the
/// panel, so colours never reach a well nobody sees.
class ColorWell final : public QWidget {
    Q_OBJECT

public:
    static constexpr int swatchSize = 22;

    ColorWell(const QString& toolTip, bool clearable, QWidget* parent = nullptr);
    ~ColorWell() override;

    Color color() const { return m_color; }
    /// Shows the colour (and re-shows it in the panel when the panel follows this well); no
    /// callback.
    void setColor(const Color& color);

    /// The user picked a colour in the panel (live, while dragging in it too).
    std::function<void(const Color&)> onColorChanged;
    /// The clear button.
    std::function<void()> onClear;

    QWidget* swatchButton() const;
    /// Null when the well was made without one.
    QWidget* clearButton() const;

protected:
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    friend class SharedColorPanel;

    void takePanelColor(const Color& color);
    void panelFollowingChanged();
    void closePanelIfFollowing();

    Color m_color = Color::clear();
    QAbstractButton* m_swatch = nullptr;
    QAbstractButton* m_clear = nullptr;
};

/// The one non-modal colour dialog of the application, shared by every well of every window as
/// desktop apps share one colour panel: it follows the well that opened it (its colour shown,
/// changes going to that well, live while the user drags), and a redirect hook lets the editor
/// send changes elsewhere while a text box is edited. It has no buttons: a change applies at
/// once, and closing the window (or Escape) just closes it.
class SharedColorPanel final : public QObject {
    Q_OBJECT

public:
    static SharedColorPanel& instance();

    /// Opens the panel (or re-targets it) for the well, showing the well's colour; a clear colour
    /// is shown opaque so that the first pick is visible.
    void showFor(ColorWell* well);
    /// Hides the panel; it then follows no well. The canvas calls this on a mouse press.
    void close();
    bool isVisible() const;
    /// The dialog, made on first use (top-level, never parented to an editor window).
    QColorDialog* dialog();
    /// The well the panel follows; null once it closed or the well was destroyed.
    ColorWell* target() const { return m_target; }

    /// When set and returning true for a colour, the change is taken by the hook instead of the
    /// target well.
    std::function<bool(const Color&)> redirect;

    /// Re-shows a colour without emitting (e.g. the selection changed).
    void showColor(const Color& color);

    /// A dialog colour as sRGB: other specs (HSV, CMYK, extended RGB beyond 0...1) converted,
    /// every component clamped to 0...1, so nothing outside sRGB is ever stored.
    static Color srgbColor(const QColor& color);

private:
    SharedColorPanel() = default;

    static void destroyDialog();
    void setTarget(ColorWell* well);
    void takeDialogColor(const QColor& color);

    QPointer<QColorDialog> m_dialog;
    QPointer<ColorWell> m_target;
};

} // namespace vellumix
