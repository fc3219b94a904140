#include "VisionAnalysis.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace vellumix {

namespace {

using nlohmann::json;

std::optional<QRectF> rectOf(const json& r) {
    if (!r.is_array() || r.size() != 4) {
        return std::nullopt;
    }
    for (const auto& v : r) {
        if (!v.is_number()) {
            return std::nullopt;
        }
    }
    return QRectF(r[0].get<double>(), r[1].get<double>(), r[2].get<double>(), r[3].get<double>());
}

// A member of an object, or null when `o` is no object or lacks it.
const json& member(const json& o, const char* key) {
    static const json none;
    if (!o.is_object()) {
        return none;
    }
    const auto it = o.find(key);
    return it == o.end() ? none : *it;
}

// The elements of an array member; anything else has none.
const json& elements(const json& o, const char* key) {
    static const json empty = json::array();
    const json& value = member(o, key);
    return value.is_array() ? value : empty;
}

using Json = nlohmann::ordered_json;

Json rectJson(const QRectF& rect) {
    return Json::array({rect.x(), rect.y(), rect.width(), rect.height()});
}

// Each line with its words and their boxes.
Json linesJson(const std::vector<OCRLine>& lines) {
    Json json = Json::array();
    for (const OCRLine& line : lines) {
        Json words = Json::array();
        for (const OCRTextBox& word : line.words) {
            words.push_back({{"text", line.text.mid(word.start, word.length).toStdString()},
                             {"rect", rectJson(word.rect)}});
        }
        json.push_back({{"text", line.text.toStdString()},
                        {"rect", rectJson(line.rect)},
                        {"relativeSize", rawValue(line.relativeSize).toStdString()},
                        {"words", words}});
    }
    return json;
}

} // namespace

nlohmann::ordered_json analysisToJson(const VisionAnalysis& analysis) {
    Json regions = Json::array();
    for (const SalientRegion& region : analysis.salientRegions) {
        regions.push_back({{"rect", rectJson(region.rect)}, {"confidence", region.confidence}});
    }
    Json labels = Json::array();
    for (const QString& label : analysis.classifications) {
        labels.push_back(label.toStdString());
    }
    return {{"classifications", labels},
            {"lines", linesJson(analysis.lines)},
            {"salientRegions", regions},
            {"doubtfulLines", linesJson(analysis.doubtfulLines)}};
}

std::optional<VisionAnalysis> analysisFromJson(const json& o) {
    if (!o.is_object()) {
        return std::nullopt;
    }
    VisionAnalysis analysis;
    for (const auto& label : elements(o, "classifications")) {
        if (label.is_string()) {
            analysis.classifications << QString::fromStdString(label.get<std::string>());
        }
    }
    for (const auto& line : elements(o, "lines")) {
        const auto rect = rectOf(member(line, "rect"));
        const json& text = member(line, "text");
        if (!rect || !text.is_string()) {
            return std::nullopt;
        }
        const json& size = member(line, "relativeSize");
        const auto relativeSize =
            size.is_string()
                ? parseEnum<OCRLineSize>(QString::fromStdString(size.get<std::string>()))
                : std::nullopt;
        analysis.lines.push_back({QString::fromStdString(text.get<std::string>()), *rect,
                                  relativeSize.value_or(OCRLineSize::regular)});
    }
    for (const auto& region : elements(o, "salientRegions")) {
        const auto rect = rectOf(member(region, "rect"));
        const json& confidence = member(region, "confidence");
        if (!rect || !confidence.is_number()) {
            return std::nullopt;
        }
        // Confidences are 0…1; anything else is clamped rather than overflowing a float.
        const double value = confidence.get<double>();
        analysis.salientRegions.push_back(
            {*rect, std::isnan(value) ? 0.0F : static_cast<float>(std::clamp(value, 0.0, 1.0))});
    }
    return analysis;
}

} // namespace vellumix
