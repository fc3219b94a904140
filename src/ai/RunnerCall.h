#pragma once

#include <QPointer>

namespace vellumix::detail {

/// The handle to a call whose runner deletes itself once finished or cancelled: the handle
/// watches it through a QPointer, and destroying the handle cancels what is still running.
template <class Call, class Runner> class RunnerCall final : public Call {
public:
    explicit RunnerCall(Runner* runner) : m_runner(runner) {}
    ~RunnerCall() override { stop(); }

    void cancel() override { stop(); }
    bool isRunning() const override { return m_runner && !m_runner->isDone(); }

private:
    void stop() {
        if (m_runner) {
            m_runner->cancel();
        }
    }

    QPointer<Runner> m_runner;
};

} // namespace vellumix::detail
