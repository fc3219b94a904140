#include "StyleLibrary.h"

#include "model/AtomicFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <cmath>

namespace vellumix {

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

// 2001-01-01 00:00:00 UTC in Unix seconds.
constexpr qint64 referenceEpoch = 978307200;
constexpr qint64 maxFileBytes = 16 * 1024 * 1024;

ordered_json colorArray(const Color& c) {
    return ordered_json::array({c.red, c.green, c.blue});
}

// Absent → `absent`; exactly three numbers → opaque sRGB; anything else → `otherwise`.
std::optional<Color> readColor(const json& object, const char* key, const Color& absent,
                               const Color& otherwise) {
    const auto it = object.find(key);
    if (it == object.end()) {
        return absent;
    }
    if (!it->is_array()) {
        return std::nullopt;
    }
    for (const json& v : *it) {
        if (!v.is_number()) {
            return std::nullopt;
        }
    }
    if (it->size() != 3) {
        return otherwise;
    }
    return Color::rgb((*it)[0].get<double>(), (*it)[1].get<double>(), (*it)[2].get<double>());
}

std::optional<double> readNumber(const json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || !it->is_number()) {
        return std::nullopt;
    }
    return it->get<double>();
}

std::optional<QString> readString(const json& object, const char* key) {
    const auto it = object.find(key);
    if (it == object.end() || !it->is_string()) {
        return std::nullopt;
    }
    return QString::fromStdString(it->get<std::string>());
}

std::optional<json> readFile(const QString& path) {
    QFile file(path);
    if (file.size() > maxFileBytes || !file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    const QByteArray data = file.readAll();
    try {
        json parsed = json::parse(data.begin(), data.end());
        if (parsed.is_object()) {
            return parsed;
        }
    } catch (const json::exception&) {
    }
    return std::nullopt;
}

// Errors are ignored: the style files are a convenience, never worth a message.
void writeFile(const QString& path, const ordered_json& contents) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    const std::string text = contents.dump(-1, ' ', false, json::error_handler_t::replace);
    writeFileAtomically(path, QByteArray::fromStdString(text));
}

std::optional<PresetEntry> decodePreset(const json& object) {
    if (!object.is_object()) {
        return std::nullopt;
    }
    const auto id = readString(object, "id");
    const auto savedAt = readNumber(object, "savedAt");
    const auto style = object.contains("style") ? decodeStyle(object["style"]) : std::nullopt;
    if (!id || !savedAt || !std::isfinite(*savedAt) || !style) {
        return std::nullopt;
    }
    return PresetEntry{*id, fromReferenceSeconds(*savedAt), *style};
}

} // namespace

double referenceSeconds(const QDateTime& when) {
    return when.toMSecsSinceEpoch() / 1000.0 - referenceEpoch;
}

QDateTime fromReferenceSeconds(double seconds) {
    return QDateTime::fromMSecsSinceEpoch(std::llround((seconds + referenceEpoch) * 1000), Qt::UTC);
}

ordered_json encodeStyle(const AnnotationStyle& s) {
    ordered_json o = ordered_json::object();
    if (s.strokeColor.alpha > 0) {
        o["strokeColor"] = colorArray(s.strokeColor);
    }
    if (s.fillColor.alpha > 0) {
        o["fillColor"] = colorArray(s.fillColor);
    }
    o["lineWidth"] = s.lineWidth;
    o["cornerRadius"] = s.cornerRadius;
    o["opacity"] = s.opacity;
    o["fontFamily"] = s.fontFamily.toStdString();
    o["fontStyle"] = s.fontStyle.toStdString();
    o["fontSize"] = s.fontSize;
    o["alignment"] = static_cast<int>(s.alignment);
    o["textPadding"] = s.textPadding;
    if (s.fontColor.alpha > 0) {
        o["fontColor"] = colorArray(s.fontColor);
    }
    return o;
}

std::optional<AnnotationStyle> decodeStyle(const json& o) {
    if (!o.is_object()) {
        return std::nullopt;
    }
    const auto stroke = readColor(o, "strokeColor", Color::clear(), SystemColors::red);
    const auto fill = readColor(o, "fillColor", Color::clear(), SystemColors::red);
    const auto font = readColor(o, "fontColor", SystemColors::red, SystemColors::red);
    const auto lineWidth = readNumber(o, "lineWidth");
    const auto cornerRadius = readNumber(o, "cornerRadius");
    const auto opacity = readNumber(o, "opacity");
    const auto family = readString(o, "fontFamily");
    const auto fontStyle = readString(o, "fontStyle");
    const auto fontSize = readNumber(o, "fontSize");
    const auto alignment = readNumber(o, "alignment");
    const auto padding = readNumber(o, "textPadding");
    if (!stroke || !fill || !font || !lineWidth || !cornerRadius || !opacity || !family ||
        !fontStyle || !fontSize || !alignment || !padding || *alignment != std::trunc(*alignment)) {
        return std::nullopt;
    }
    AnnotationStyle s;
    s.strokeColor = *stroke;
    s.fillColor = *fill;
    s.fontColor = *font;
    s.lineWidth = *lineWidth;
    s.cornerRadius = *cornerRadius;
    s.opacity = *opacity;
    s.fontFamily = *family;
    s.fontStyle = *fontStyle;
    s.fontSize = *fontSize;
    s.alignment = *alignment == 1 ? TextAlignment::center
                                  : (*alignment == 2 ? TextAlignment::right : TextAlignment::left);
    s.textPadding = *padding;
    s.lineStyle = LineStyle::solid;
    return s;
}

StyleLibrary::StyleLibrary(QString storePath, Clock clock)
    : m_storePath(std::move(storePath)), m_clock(std::move(clock)) {}

QString StyleLibrary::filePath(const QString& name) const {
    return QDir(m_storePath).filePath(name);
}

void StyleLibrary::saveStyles(const ToolStyles& styles) {
    ordered_json o = ordered_json::object();
    for (const auto& [tool, style] : styles) {
        o[rawValue(tool).toStdString()] = encodeStyle(style);
    }
    writeFile(filePath(stylesFile), o);
}

ToolStyles StyleLibrary::loadStyles() const {
    const auto file = readFile(filePath(stylesFile));
    if (!file) {
        return {};
    }
    ToolStyles styles;
    for (const auto& [key, value] : file->items()) {
        const auto style = decodeStyle(value);
        if (!style) {
            return {}; // the file does not decode as a whole
        }
        if (const auto tool = parseTool(QString::fromStdString(key))) {
            styles[*tool] = *style;
        }
    }
    return styles;
}

ToolPresets StyleLibrary::loadPresets() const {
    const auto file = readFile(filePath(presetsFile));
    if (!file) {
        return {};
    }
    ToolPresets presets;
    for (const auto& [key, value] : file->items()) {
        if (!value.is_array()) {
            return {};
        }
        std::vector<PresetEntry> list;
        for (const json& element : value) {
            auto entry = decodePreset(element);
            if (!entry) {
                return {};
            }
            list.push_back(std::move(*entry));
        }
        if (const auto tool = parseTool(QString::fromStdString(key))) {
            presets[*tool] = std::move(list);
        }
    }
    return presets;
}

void StyleLibrary::writePresets(const ToolPresets& presets) {
    ordered_json o = ordered_json::object();
    for (const auto& [tool, list] : presets) {
        ordered_json array = ordered_json::array();
        for (const PresetEntry& entry : list) {
            ordered_json preset = ordered_json::object();
            preset["id"] = entry.id.toStdString();
            preset["savedAt"] = referenceSeconds(entry.savedAt);
            preset["style"] = encodeStyle(entry.style);
            array.push_back(std::move(preset));
        }
        o[rawValue(tool).toStdString()] = std::move(array);
    }
    writeFile(filePath(presetsFile), o);
}

void StyleLibrary::addPreset(const AnnotationStyle& style, Tool tool) {
    ToolPresets presets = loadPresets();
    auto& list = presets[tool];
    list.insert(list.begin(),
                PresetEntry{QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper(), m_clock(),
                            style});
    if (list.size() > static_cast<size_t>(presetsPerTool)) {
        list.resize(presetsPerTool);
    }
    writePresets(presets);
}

void StyleLibrary::deletePreset(const QString& id, Tool tool) {
    ToolPresets presets = loadPresets();
    auto& list = presets[tool];
    std::erase_if(list, [&id](const PresetEntry& entry) { return entry.id == id; });
    writePresets(presets);
}

} // namespace vellumix
