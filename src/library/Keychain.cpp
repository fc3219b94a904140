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

std::optional<ApiKeyStore::RequestKey>
ApiKeyStore::keyForRequest(const std::function<QString(const char* name)>& environment) const {
    const QString fromEnvironment = environment("VELLUMIX_GEMINI_API_KEY").trimmed();
    if (!fromEnvironment.isEmpty()) {
        return RequestKey{fromEnvironment, false};
    }
    const auto stored = apiKey();
    return stored ? std::optional(RequestKey{*stored, true}) : std::nullopt;
}

bool ApiKeyStore::setFromField(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return m_keychain.remove(account);
    }
    return m_keychain.save(trimmed, account);
}

} // namespace vellumix
