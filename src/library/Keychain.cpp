#include "Keychain.h"

namespace vellumix {

void Keychain::askStored(const QString& account,
                         std::function<void(std::optional<bool>)> done) const {
    const auto value = read(account);
    done(value.has_value() && !value->isEmpty());
}

std::optional<QString> ApiKeyStore::apiKey() const {
    auto key = m_keychain.read(account);
    if (!key || key->isEmpty()) {
        return std::nullopt;
    }
    return key;
}

bool ApiKeyStore::setFromField(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return m_keychain.remove(account);
    }
    return m_keychain.save(trimmed, account);
}

} // namespace vellumix
