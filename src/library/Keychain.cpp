#include "Keychain.h"

namespace vellumix {

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
