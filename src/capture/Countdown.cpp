#include "capture/Countdown.h"

#include <algorithm>

namespace vellumix {

Countdown::Countdown(std::chrono::milliseconds second, QObject* parent) : QObject(parent) {
    m_timer.setInterval(second);
    // Counts are whole seconds to the user: a coarse timer would stretch or shrink them.
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &Countdown::advance);
}

void Countdown::start(int seconds) {
    m_timer.stop();
    m_left = std::max(seconds, 0);
    if (m_left == 0) {
        Q_EMIT finished();
        return;
    }
    m_timer.start();
    Q_EMIT tick(m_left);
}

void Countdown::cancel() {
    if (!isRunning()) {
        return;
    }
    m_timer.stop();
    m_left = 0;
    Q_EMIT cancelled();
}

void Countdown::advance() {
    --m_left;
    if (m_left > 0) {
        Q_EMIT tick(m_left);
        return;
    }
    m_timer.stop();
    Q_EMIT finished();
}

} // namespace vellumix
