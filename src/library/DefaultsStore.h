#pragma once

#include <QString>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace vellumix {

/// A typed key-value store in one JSON object file, read afresh on every access so that every
/// window and the settings dialog always see the same values. Values keep their JSON types.
///
/// A file that is not a JSON object reads as empty (every key at its default) and is kept aside
/// as "<file>.corrupt" before the next write replaces it; a missing file is simply empty.
/// Writes go to a temporary file that is renamed into place.
class DefaultsStore {
public:
    explicit DefaultsStore(QString filePath);

    /// The file under `$XDG_CONFIG_HOME/Vellumix`.
    static QString standardFilePath();

    std::optional<nlohmann::json> value(const std::string& key) const;
    /// False when the file could not be written (the previous contents stay).
    bool setValue(const std::string& key, nlohmann::json value);
    bool remove(const std::string& key);

    const QString& filePath() const { return m_path; }

private:
    struct Contents {
        nlohmann::ordered_json object = nlohmann::ordered_json::object();
        bool corrupt = false;
    };
    Contents read() const;
    bool write(const Contents& contents);

    QString m_path;
};

} // namespace vellumix
