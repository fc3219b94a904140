#pragma once

#include <QWidget>

#include <functional>

namespace vellumix {

/// The small counter of a delayed capture: the seconds left, big, in a dark square at the
/// bottom right of the screen under the pointer, above other windows. Escape or a click on it
/// cancels. Its owner hides it before the screen is read, so it is never in the picture.
class CountdownView final : public QWidget {
    Q_OBJECT

public:
    explicit CountdownView(QWidget* parent = nullptr);

    /// Shows `seconds` (placing and raising the counter when it was hidden).
    void showCount(int seconds);

    /// Escape or a click.
    std::function<void()> onCancel;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    void placeOnScreenUnderPointer();
    void cancel();

    static constexpr int side = 112;
    int m_seconds = 0;
};

} // namespace vellumix
