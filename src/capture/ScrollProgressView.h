#pragma once

#include <QImage>
#include <QWidget>

#include <functional>

namespace vellumix {

/// The read-out of a scrolling capture: the stitched height and the bottom of the picture so
/// far, small. It takes the keyboard so Escape stops the capture.
class ScrollProgressView final : public QWidget {
    Q_OBJECT

public:
    static constexpr int viewWidth = 180;
    static constexpr int viewHeight = 150;

    explicit ScrollProgressView(QWidget* parent = nullptr);
    /// The stitched height so far and the newest strip, whose bottom the preview shows.
    void setProgress(int stitchedHeight, const QImage& newest);

    std::function<void()> onEscape;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QImage m_preview;
    int m_height = 0;
};

} // namespace vellumix
