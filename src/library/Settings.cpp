#include "Settings.h"

#include <cmath>
#include <limits>

namespace vellumix {

using nlohmann::json;

namespace {

template <class E> E readEnum(const std::optional<json>& stored) {
    if (stored && stored->is_string()) {
        if (const auto parsed = parseEnum<E>(QString::fromStdString(stored->get<std::string>()))) {
            return *parsed;
        }
    }
    return static_cast<E>(0);
}

} // namespace

Settings::Settings(DefaultsStore store) : m_store(std::move(store)) {}

Settings& Settings::shared() {
    static Settings settings{DefaultsStore(DefaultsStore::standardFilePath())};
    return settings;
}

bool Settings::readBool(const char* key, bool fallback) const {
    const auto stored = m_store.value(key);
    return stored && stored->is_boolean() ? stored->get<bool>() : fallback;
}

std::uint32_t Settings::readUInt32(const char* key, std::uint32_t fallback) const {
    const auto stored = m_store.value(key);
    if (!stored || !stored->is_number()) {
        return fallback;
    }
    const double v = stored->get<double>();
    if (!std::isfinite(v) || v != std::trunc(v) || v < 0 ||
        v > std::numeric_limits<std::uint32_t>::max()) {
        return fallback;
    }
    return static_cast<std::uint32_t>(v);
}

QStringList Settings::readStrings(const char* key) const {
    QStringList list;
    const auto stored = m_store.value(key);
    if (!stored || !stored->is_array()) {
        return list;
    }
    for (const json& element : *stored) {
        if (element.is_string()) {
            list.append(QString::fromStdString(element.get<std::string>()));
        }
    }
    return list;
}

void Settings::writeStrings(const char* key, const QStringList& values) {
    json array = json::array();
    for (const QString& v : values) {
        array.push_back(v.toStdString());
    }
    m_store.setValue(key, std::move(array));
}

bool Settings::overrideNativeCapture() const {
    return readBool("overrideNativeCapture", false);
}

std::uint32_t Settings::captureKeyCode() const {
    return readUInt32("captureKeyCode", defaultCaptureKeyCode);
}

std::uint32_t Settings::captureModifierFlags() const {
    return readUInt32("captureModifierFlags", defaultCaptureModifierFlags);
}

void Settings::chooseNativeCaptureOverride() {
    m_store.setValue("overrideNativeCapture", true);
    m_store.setValue("captureKeyCode", 0);
    m_store.setValue("captureModifierFlags", 0);
}

void Settings::chooseCustomShortcut(std::uint32_t keyCode, std::uint32_t modifierFlags) {
    m_store.setValue("overrideNativeCapture", false);
    m_store.setValue("captureKeyCode", keyCode);
    m_store.setValue("captureModifierFlags", modifierFlags);
}

bool Settings::showCursorCoords() const {
    return readBool("showCursorCoords", true);
}

void Settings::setShowCursorCoords(bool on) {
    m_store.setValue("showCursorCoords", on);
}

bool Settings::closeAfterSave() const {
    return readBool("closeAfterSave", true);
}

void Settings::setCloseAfterSave(bool on) {
    m_store.setValue("closeAfterSave", on);
}

bool Settings::retainLastStylePerType() const {
    return readBool("retainLastStylePerType", false);
}

void Settings::setRetainLastStylePerType(bool on) {
    m_store.setValue("retainLastStylePerType", on);
}

bool Settings::launchOnStartup() const {
    return readBool("launchOnStartup", false);
}

void Settings::setLaunchOnStartup(bool on) {
    m_store.setValue("launchOnStartup", on);
}

Color Settings::blankCanvasColor() const {
    const auto stored = m_store.value("blankCanvasColorRGB");
    if (!stored || !stored->is_array() || stored->size() != 3) {
        return Color::black();
    }
    for (const json& component : *stored) {
        if (!component.is_number()) {
            return Color::black();
        }
    }
    return Color::rgb((*stored)[0].get<double>(), (*stored)[1].get<double>(),
                      (*stored)[2].get<double>());
}

void Settings::setBlankCanvasColor(const Color& color) {
    m_store.setValue("blankCanvasColorRGB", json::array({color.red, color.green, color.blue}));
}

SaveMode Settings::saveMode() const {
    return readEnum<SaveMode>(m_store.value("saveMode"));
}

void Settings::setSaveMode(SaveMode mode) {
    m_store.setValue("saveMode", rawValue(mode).toStdString());
}

AIProvider Settings::aiProvider() const {
    const auto stored = m_store.value("aiProvider");
    if (stored && stored->is_string() && stored->get<std::string>() == "appleIntelligence") {
        return AIProvider::localModel;
    }
    return readEnum<AIProvider>(stored);
}

void Settings::setAIProvider(AIProvider provider) {
    m_store.setValue("aiProvider", rawValue(provider).toStdString());
}

QString Settings::localModelURL() const {
    const auto stored = m_store.value("localModelURL");
    if (!stored || !stored->is_string()) {
        return QString::fromLatin1(defaultLocalModelURL);
    }
    return QString::fromStdString(stored->get<std::string>()).trimmed();
}

void Settings::setLocalModelURL(const QString& url) {
    m_store.setValue("localModelURL", url.trimmed().toStdString());
}

QStringList Settings::promptHistory() const {
    return readStrings("aiPromptHistory");
}

void Settings::appendPrompt(const QString& prompt) {
    const QString trimmed = prompt.trimmed();
    if (trimmed.isEmpty()) {
        return;
    }
    QStringList history = promptHistory();
    if (!history.isEmpty() && history.back() == trimmed) {
        return;
    }
    history.append(trimmed);
    while (history.size() > promptHistoryLimit) {
        history.removeFirst();
    }
    writeStrings("aiPromptHistory", history);
}

QStringList Settings::externalBundles() const {
    return readStrings("externalBundles");
}

void Settings::setExternalBundles(const QStringList& paths) {
    writeStrings("externalBundles", paths);
}

} // namespace vellumix
