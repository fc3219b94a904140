#include "DefaultsStore.h"

#include "model/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace vellumix {

namespace {
// A settings file is a few kilobytes; anything far larger is not ours.
constexpr qint64 maxFileBytes = 16 * 1024 * 1024;
} // namespace

DefaultsStore::DefaultsStore(QString filePath) : m_path(std::move(filePath)) {}

QString DefaultsStore::standardFilePath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Vellumix/defaults.json");
}

DefaultsStore::Contents DefaultsStore::read() const {
    Contents contents;
    QFile file(m_path);
    if (!file.exists()) {
        return contents;
    }
    if (file.size() > maxFileBytes || !file.open(QIODevice::ReadOnly)) {
        contents.corrupt = file.size() > maxFileBytes;
        return contents;
    }
    const QByteArray data = file.readAll();
    try {
        auto parsed = nlohmann::ordered_json::parse(data.begin(), data.end());
        if (parsed.is_object()) {
            contents.object = std::move(parsed);
            return contents;
        }
    } catch (const nlohmann::json::exception&) {
    }
    contents.corrupt = true;
    return contents;
}

bool DefaultsStore::write(const Contents& contents) {
    if (!QDir().mkpath(QFileInfo(m_path).absolutePath())) {
        return false;
    }
    if (contents.corrupt) {
        // Keep what the user had; only the newest unreadable file is kept.
        const QString aside = m_path + QStringLiteral(".corrupt");
        QFile::remove(aside);
        QFile::rename(m_path, aside);
    }
    const std::string text =
        contents.object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    return writeFileAtomically(m_path, QByteArray::fromStdString(text)).hasValue();
}

std::optional<nlohmann::json> DefaultsStore::value(const std::string& key) const {
    const Contents contents = read();
    const auto it = contents.object.find(key);
    if (it == contents.object.end()) {
        return std::nullopt;
    }
    return nlohmann::json(*it);
}

bool DefaultsStore::setValue(const std::string& key, nlohmann::json value) {
    Contents contents = read();
    contents.object[key] = std::move(value);
    return write(contents);
}

bool DefaultsStore::remove(const std::string& key) {
    Contents contents = read();
    if (!contents.object.contains(key) && !contents.corrupt) {
        return true;
    }
    contents.object.erase(key);
    return write(contents);
}

} // namespace vellumix
