#pragma once

#include "model/AnnotationStyle.h"
#include "model/PresetEntry.h"

#include <QDateTime>

#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

namespace vellumix {


using ToolStyles = std::map<Tool, AnnotationStyle>;
using ToolPresets = std::map<Tool, std::vector<PresetEntry>>;

/// The remembered per-tool styles ("styles.json") and the style presets ("presets.json") in the
/// store folder. Files are read afresh on every call and rewritten whole; a file that does not
/// decode reads as empty, and write failures are ignored.
class StyleLibrary {
public:
    static constexpr int presetsPerTool = 5;
    static inline const QString stylesFile = QStringLiteral("styles.json");
    static inline const QString presetsFile = QStringLiteral("presets.json");

    using Clock = std::function<QDateTime()>;
    explicit StyleLibrary(QString storePath, Clock clock = &QDateTime::currentDateTimeUtc);

    void saveStyles(const ToolStyles& styles);
    ToolStyles loadStyles() const;
    ToolPresets loadPresets() const;
    /// Puts a new preset at the front of the tool's list, keeping the newest five.
    void addPreset(const AnnotationStyle& style, Tool tool);
    /// Removes the tool's presets with this id (the tool's list stays, maybe empty).
    void deletePreset(const QString& id, Tool tool);

private:
    QString filePath(const QString& name) const;
    void writePresets(const ToolPresets& presets);

    QString m_storePath;
    Clock m_clock;
};

/// The stored form of a style: colours without alpha, no line style.
nlohmann::ordered_json encodeStyle(const AnnotationStyle& style);
/// No value when a required key is missing or any key has the wrong JSON type.
std::optional<AnnotationStyle> decodeStyle(const nlohmann::json& object);

/// Seconds since 2001-01-01 00:00:00 UTC, the stored form of preset dates.
double referenceSeconds(const QDateTime& when);
QDateTime fromReferenceSeconds(double seconds);

} // namespace vellumix
