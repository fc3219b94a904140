#pragma once

#include "library/Keychain.h"

namespace vellumix {

/// The keychain over the desktop's Secret Service (gnome-keyring, KWallet) through qtkeychain.
/// Reads and writes wait for the service's answer (a few milliseconds; at most `timeoutMs`), so
/// callers keep the simple synchronous contract; they are for when the key is used. askStored
/// never waits and never unlocks: it searches the items' attributes, which the Secret Service
/// answers for locked collections too, without a password prompt.
class SecretServiceKeychain final : public Keychain {
public:
    /// `searchTimeoutMs` bounds askStored; a service that is slow to start then counts as
    /// "cannot tell".
    explicit SecretServiceKeychain(QString service, int timeoutMs = 10000,
                                   int searchTimeoutMs = 2000);

    std::optional<QString> read(const QString& account) const override;
    bool save(const QString& value, const QString& account) override;
    bool remove(const QString& account) override;
    void askStored(const QString& account,
                   std::function<void(std::optional<bool>)> done) const override;

    /// Why the last call failed, as one sentence for the settings window ("No keyring is
    /// running…", "The keyring is locked…"); empty when it worked or found no item. Never holds
    /// a password.
    QString lastProblem() const { return m_problem; }

private:
    QString m_service;
    int m_timeoutMs;
    int m_searchTimeoutMs;
    mutable QString m_problem;
};

} // namespace vellumix
