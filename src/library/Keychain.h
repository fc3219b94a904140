#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>
#include <optional>

namespace vellumix {

/// One generic-password item store (the desktop's Secret Service on Linux). Failures come back
/// as no value or false, never as an exception or a dialog.
class Keychain {
public:
    virtual ~Keychain() = default;
    virtual std::optional<QString> read(const QString& account) const = 0;
    /// Replaces the item's value, or adds the item.
    virtual bool save(const QString& value, const QString& account) = 0;
    /// True also when there was no such item.
    virtual bool remove(const QString& account) = 0;
    /// Whether an item is stored, asked without unlocking anything and without waiting on the
    /// store: `done` gets true or false (now or later), or nothing when the store cannot tell.
    /// Here: by reading it.
    virtual void askStored(const QString& account,
                           std::function<void(std::optional<bool>)> done) const;
};

/// The cloud model's API key, kept in the keychain and nowhere else.
class ApiKeyStore {
public:
    static inline const QString service = QStringLiteral("tarnwell.Vellumix");
    static inline const QString account = QStringLiteral("geminiAPIKey");

    explicit ApiKeyStore(Keychain& keychain) : m_keychain(keychain) {}

    /// The stored key; an empty value counts as none.
    std::optional<QString> apiKey() const;
    /// The key a request uses, and whether it came from the keychain (reading it there may have
    /// unlocked the keyring).
    struct RequestKey {
        QString value;
        bool stored = false;
    };
    /// `$VELLUMIX_GEMINI_API_KEY` (trimmed) when set, so scripts and tests need no keyring;
    /// else the stored key. `environment` reads a variable, so tests can feed values.
    std::optional<RequestKey>
    keyForRequest(const std::function<QString(const char* name)>& environment =
                      [](const char* name) { return qEnvironmentVariable(name); }) const;
    /// From the settings field: trimmed; a non-empty key is saved, an empty one deletes the item.
    bool setFromField(const QString& text);
    bool hasKey() const { return apiKey().has_value(); }

private:
    Keychain& m_keychain;
};

} // namespace vellumix
