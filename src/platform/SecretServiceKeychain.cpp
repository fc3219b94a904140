#include "SecretServiceKeychain.h"

#include <QEventLoop>
#include <QTimer>
#include <qt6keychain/keychain.h>

namespace vellumix {

namespace {

struct Outcome {
    QKeychain::Error error = QKeychain::OtherError;
    QString text;
};

// Runs a job to completion, or until the timeout, and collects what it found. A job still
// running at the timeout is left to delete itself when it ends (its reply may still arrive).
template <class Job, class Setup>
Outcome runJob(const QString& service, int timeoutMs, Setup setup) {
    auto* job = new Job(service);
    job->setAutoDelete(false);
    setup(*job);
    Outcome outcome;
    bool finished = false;
    QEventLoop loop;
    QObject::connect(job, &QKeychain::Job::finished, &loop, [&] {
        finished = true;
        outcome.error = job->error();
        if constexpr (std::is_same_v<Job, QKeychain::ReadPasswordJob>) {
            outcome.text = job->textData();
        }
        loop.quit();
    });
    QTimer::singleShot(timeoutMs, &loop, &QEventLoop::quit);
    job->start();
    if (!finished) {
        loop.exec(QEventLoop::ExcludeUserInputEvents);
    }
    if (finished) {
        delete job;
    } else {
        QObject::disconnect(job, nullptr, &loop, nullptr);
        job->setAutoDelete(true);
    }
    return outcome;
}

} // namespace

SecretServiceKeychain::SecretServiceKeychain(QString service, int timeoutMs)
    : m_service(std::move(service)), m_timeoutMs(timeoutMs) {}

std::optional<QString> SecretServiceKeychain::read(const QString& account) const {
    const Outcome outcome = runJob<QKeychain::ReadPasswordJob>(
        m_service, m_timeoutMs, [&](auto& job) { job.setKey(account); });
    if (outcome.error != QKeychain::NoError) {
        return std::nullopt;
    }
    return outcome.text;
}

bool SecretServiceKeychain::save(const QString& value, const QString& account) {
    // Writing replaces an existing item, so update and add are one call here.
    const Outcome outcome =
        runJob<QKeychain::WritePasswordJob>(m_service, m_timeoutMs, [&](auto& job) {
            job.setKey(account);
            job.setTextData(value);
        });
    return outcome.error == QKeychain::NoError;
}

bool SecretServiceKeychain::remove(const QString& account) {
    const Outcome outcome = runJob<QKeychain::DeletePasswordJob>(
        m_service, m_timeoutMs, [&](auto& job) { job.setKey(account); });
    return outcome.error == QKeychain::NoError || outcome.error == QKeychain::EntryNotFound;
}

} // namespace vellumix
