#pragma once

#include "capture/ScreenGrabber.h"
#include "capture/ScrollStitcher.h"

#include <QImage>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QTimer>

#include <functional>

class QScreen;

namespace vellumix {

class ScrollProgressView;

/// A scrolling capture of one area (X11): grabs it, turns the wheel over it, grabs again and
/// stitches, until the content stops moving, Escape is pressed or the height limit is reached.
/// A small read-out beside the area shows the height so far and a preview; it hides for the
/// grabs when it has to sit over the area.
class ScrollCapture final : public QObject {
    Q_OBJECT

public:
    /// `logicalArea` is in desktop coordinates; `deviceCrop` is the same area in the screen's
    /// grab, whose top-left is at `screenOrigin` in root-window device pixels.
    ScrollCapture(ScreenGrabber& grabber, QScreen* screen, QRectF logicalArea, QRect deviceCrop,
                  QPoint screenOrigin);
    ~ScrollCapture() override;

    void start();
    /// Ends the capture now, as Escape does.
    void stop() { finish(); }
    /// The stitched picture, null when not even the first grab succeeded. Runs once; the owner
    /// may delete this object from inside.
    std::function<void(QImage)> onFinished;

private:
    void grabNext();
    void grabbed(const ScreenGrab& grab);
    void scroll();
    void finish();

    ScreenGrabber& m_grabber;
    QPointer<QScreen> m_screen;
    QRectF m_logicalArea;
    QRect m_deviceCrop;
    QPoint m_wheelPoint;
    capture::ScrollStitcher m_stitcher;
    QPointer<ScrollProgressView> m_progress;
    bool m_progressOverArea = false;
    QTimer m_settle;
    int m_notches = 1;
    int m_stillSteps = 0;
    bool m_finished = false;
};

} // namespace vellumix
