#pragma once

#include "library/Keychain.h"

namespace vellumix {

/// The keychain over the desktop's Secret Service (gnome-keyring, KWallet) through qtkeychain.
/// Calls wait for the service's answer (a few milliseconds; at most `timeoutMs`), so callers
/// keep the simple synchronous contract.
class SecretServiceKeychain final : public Keychain {
public:
    explicit SecretServiceKeychain(QString service, int timeoutMs = 10000);

    std::optional<QString> read(const QString& account) const override;
    bool save(const QString& value, const QString& account) override;
    bool remove(const QString& account) override;

    /// Why the last call failed, as one sentence for the settings window ("No keyring is
    /// running…", "The keyring is locked…"); empty when it worked or found no item. Never holds
    /// a password.
    QString lastProblem() const { return m_problem; }

private:
    QString m_service;
    int m_timeoutMs;
    mutable QString m_problem;
};

} // namespace vellumix
