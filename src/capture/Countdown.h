#pragma once

#include <QObject>
#include <QTimer>

#include <chrono>

namespace vellumix {

/// The whole seconds before a delayed capture. tick() tells the seconds left, once at the start
/// and then once a second (N, N − 1, …, 1); finished() follows the last second. Starting again
/// while counting starts over from the new number; cancel() ends it without finishing.
class Countdown final : public QObject {
    Q_OBJECT

public:
    /// `second` is how long one count lasts (shorter in tests).
    explicit Countdown(std::chrono::milliseconds second = std::chrono::seconds(1),
                       QObject* parent = nullptr);

    /// Counts down from `seconds`; 0 or less finishes at once, without a tick.
    void start(int seconds);
    /// Stops counting; cancelled() follows when it was counting.
    void cancel();

    bool isRunning() const { return m_left > 0; }
    /// 0 when not counting.
    int secondsLeft() const { return m_left; }

Q_SIGNALS:
    void tick(int secondsLeft);
    void finished();
    void cancelled();

private:
    void advance();

    QTimer m_timer;
    int m_left = 0;
};

} // namespace vellumix
