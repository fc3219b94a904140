#include "SecretServiceKeychain.h"

#include <QEventLoop>
#include <QTimer>
#include <qt6keychain/keychain.h>

namespace vellumix {

namespace {

struct Outcome {
    QKeychain::Error error = QKeychain::OtherError;
    QString text;
    QString errorString;
    bool timedOut = false;
};

// qtkeychain reports a missing service and a locked keyring alike as OtherError; its message
// (D-Bus's or the Secret Service's, never the secret) tells them apart.
QString describeProblem(const Outcome& outcome) {
    if (outcome.timedOut) {
        return QStringLiteral("The keyring did not answer in time.");
    }
    switch (outcome.error) {
    case QKeychain::NoError:
    case QKeychain::EntryNotFound:
        return {};
    case QKeychain::AccessDenied:
    case QKeychain::AccessDeniedByUser:
        return QStringLiteral("The keyring refused access to the key.");
    case QKeychain::NoBackendAvailable:
    case QKeychain::NotImplemented:
        return QStringLiteral("No keyring is running: start gnome-keyring or KWallet to store "
                              "the key.");
    default:
        break;
    }
    const QString& message = outcome.errorString;
    if (message.contains(QLatin1String("/org/freedesktop/secrets/collection"))) {
        return QStringLiteral("The keyring is locked: unlock it (or create a login keyring) and "
                              "paste the key again.");
    }
    if (message.contains(QLatin1String("D-Bus"), Qt::CaseInsensitive) ||
        message.contains(QLatin1String("DBus"), Qt::CaseInsensitive) ||
        message.contains(QLatin1String("org.freedesktop.secrets"))) {
        return QStringLiteral("No keyring is running: start gnome-keyring or KWallet to store "
                              "the key.");
    }
    return QStringLiteral("The keyring could not store the key.");
}

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
        outcome.errorString = job->errorString();
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
        outcome.timedOut = true;
        QObject::disconnect(job, nullptr, &loop, nullptr);
        job->setAutoDelete(true);
    }
    return outcome;
}

} // namespace

SecretServiceKeychain::SecretServiceKeychain(QString service, int timeoutMs, int searchTimeoutMs)
    : m_service(std::move(service)), m_timeoutMs(timeoutMs), m_searchTimeoutMs(searchTimeoutMs) {}

std::optional<QString> SecretServiceKeychain::read(const QString& account) const {
    const Outcome outcome = runJob<QKeychain::ReadPasswordJob>(
        m_service, m_timeoutMs, [&](auto& job) { job.setKey(account); });
    m_problem = describeProblem(outcome);
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
    m_problem = describeProblem(outcome);
    return outcome.error == QKeychain::NoError;
}

bool SecretServiceKeychain::remove(const QString& account) {
    const Outcome outcome = runJob<QKeychain::DeletePasswordJob>(
        m_service, m_timeoutMs, [&](auto& job) { job.setKey(account); });
    m_problem = describeProblem(outcome);
    return outcome.error == QKeychain::NoError || outcome.error == QKeychain::EntryNotFound;
}

} // namespace vellumix
