// libFuzzer target for the settings files a user (or another version) may have edited: the
// bytes become "defaults.json", "styles.json" and "presets.json" in a scratch folder, which are
// then read, written back and read again. Nothing may crash; whatever reads must survive its own
// write unchanged.

#include "library/DefaultsStore.h"
#include "library/StyleLibrary.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstdint>
#include <cstdlib>

namespace {

using namespace vellumix;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void put(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

void checkDefaults(const QString& folder, const QByteArray& bytes) {
    const QString path = folder + QStringLiteral("/defaults.json");
    put(path, bytes);
    DefaultsStore store(path);
    // A key the file already holds must keep its value when another key is written.
    std::string key = "fuzz.kept";
    const auto parsed = nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (parsed.is_object() && !parsed.empty() && parsed.begin().key() != "fuzz.marker") {
        key = parsed.begin().key();
    }
    const auto before = store.value(key);
    require(store.setValue("fuzz.marker", 1));
    require(store.value("fuzz.marker") == nlohmann::json(1));
    require(store.value(key) == before);
    QFile::remove(path + QStringLiteral(".corrupt"));
}

void checkStyles(const QString& folder, const QByteArray& bytes) {
    StyleLibrary library(folder, [] { return QDateTime::fromSecsSinceEpoch(1700000000); });
    put(folder + QLatin1Char('/') + StyleLibrary::stylesFile, bytes);
    put(folder + QLatin1Char('/') + StyleLibrary::presetsFile, bytes);
    const ToolStyles styles = library.loadStyles();
    const ToolPresets presets = library.loadPresets();
    library.saveStyles(styles);
    require(library.loadStyles().size() == styles.size());
    for (const auto& [tool, list] : presets) {
        if (!list.empty()) {
            library.deletePreset(list.front().id, tool);
            break;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static QTemporaryDir scratch;
    require(scratch.isValid());
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    checkDefaults(scratch.path(), bytes);
    checkStyles(scratch.path(), bytes);
    return 0;
}
