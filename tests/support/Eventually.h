#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <functional>

namespace vellumix::test {

/// Runs the event loop until `done` holds, for at most `ms`; whether it came to hold.
inline bool eventually(const std::function<bool()>& done, int ms = 3000) {
    const QDeadlineTimer deadline(ms);
    while (!done()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

} // namespace vellumix::test
