#include "capture/CaptureController.h"
#include "capture/Countdown.h"
#include "capture/CountdownView.h"
#include "x11/X11Windows.h"

namespace vellumix {

namespace {

// From hiding the counter to reading the screen: the X server has unmapped it by then (see
// x11Sync), and the windows it covered, or the compositor, need a moment to draw that part again.
constexpr int settleMs = 250;

} // namespace

bool CaptureController::isCounting() const {
    return (m_countdown && m_countdown->isRunning()) || m_settle.isActive();
}

void CaptureController::start(int delaySeconds) {
    if (m_running || m_settle.isActive()) {
        return;
    }
    if (delaySeconds <= 0 && !isCounting()) {
        grabNow();
        return;
    }
    startCountdown(delaySeconds);
}

void CaptureController::startCountdown(int seconds) {
    if (!m_countdown) {
        m_countdown = std::make_unique<Countdown>();
        m_counter = std::make_unique<CountdownView>();
        m_counter->onCancel = [this] { m_countdown->cancel(); };
        QObject::connect(m_countdown.get(), &Countdown::tick, m_counter.get(), [this](int left) {
            m_counter->showCount(left);
            reportCountdown(left);
        });
        QObject::connect(m_countdown.get(), &Countdown::finished, m_counter.get(),
                         [this] { countdownEnded(false); });
        QObject::connect(m_countdown.get(), &Countdown::cancelled, m_counter.get(),
                         [this] { countdownEnded(true); });
        m_settle.setSingleShot(true);
        m_settle.setInterval(settleMs);
        m_settle.callOnTimeout([this] { grabNow(); });
    }
    // No delay while counting: the count runs out at once, and the capture follows.
    m_countdown->start(seconds);
}

void CaptureController::countdownEnded(bool cancelled) {
    m_counter->hide();
    reportCountdown(0);
    if (cancelled) {
        // Copied: the owner may destroy this controller from inside.
        if (const auto notify = onCancelled) {
            notify();
        }
        return;
    }
    x11Sync();
    m_settle.start();
}

void CaptureController::reportCountdown(int secondsLeft) const {
    if (onCountdown) {
        onCountdown(secondsLeft);
    }
}

} // namespace vellumix
