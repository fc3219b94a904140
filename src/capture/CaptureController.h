#pragma once

#include "capture/ScreenGrabber.h"

#include <QImage>
#include <QPointer>
#include <QTimer>

#include <functional>
#include <memory>

namespace vellumix {

class CaptureView;
class Countdown;
class CountdownView;
class ScrollCapture;

/// One area capture at a time: grabs the screen under the mouse, shows the overlay over it and
/// hands back the selected pixels, or the stitched picture of a scrolling capture of them (X11). A
/// failed grab prints "Screen capture error: " and a reason to standard output and calls only
/// onFailed. A delayed capture counts the seconds down in a small counter first, and hides it
/// before the screen is read.
class CaptureController final {
public:
    explicit CaptureController(std::unique_ptr<ScreenGrabber> grabber = makeScreenGrabber());
    ~CaptureController();
    CaptureController(const CaptureController&) = delete;
    CaptureController& operator=(const CaptureController&) = delete;

    /// Starts a capture on the screen under the mouse pointer (the primary screen if none is),
    /// after `delaySeconds`. Ignored while the overlay or a scrolling capture is up. During a
    /// countdown, another delay counts again from its own number, and no delay captures at once.
    void start(int delaySeconds = 0);
    /// From the grab until the capture is handed back, cancelled or has failed.
    bool isRunning() const { return m_running; }
    /// From a delayed start until the screen is read; the counter is shown meanwhile.
    bool isCounting() const;

    /// The seconds left of a countdown, once a second; 0 once it is over (run out or cancelled).
    std::function<void(int secondsLeft)> onCountdown;
    /// The selected pixels at their full device resolution, device pixel ratio 1. The owner may
    /// destroy the controller from inside the callback.
    std::function<void(QImage)> onCaptured;
    /// The user cancelled (Escape, right click, a drag too small to count). Optional.
    std::function<void()> onCancelled;
    /// The grab failed (the reason is already printed). Optional.
    std::function<void()> onFailed;

private:
    void showOverlay(QScreen* screen, ScreenGrab grab);
    void fail(const QString& reason);
    void closeOverlay();
    void startScrolling(QScreen* screen, const ScreenGrab& grab, QRectF logicalSelection);
    void handBack(QImage image);
    void grabNow();
    // CaptureController+Delay
    void startCountdown(int seconds);
    void countdownEnded(bool cancelled);
    void reportCountdown(int secondsLeft) const;

    std::unique_ptr<ScreenGrabber> m_grabber;
    QPointer<CaptureView> m_view;
    QPointer<ScrollCapture> m_scroll;
    std::unique_ptr<Countdown> m_countdown;
    std::unique_ptr<CountdownView> m_counter;
    // After the counter is hidden, until what it covered has been drawn again.
    QTimer m_settle;
    bool m_running = false;
    // Grabs that answer later (the portal) must not reach a controller that is gone.
    std::shared_ptr<CaptureController*> m_self;
};

} // namespace vellumix
