#include "BundleTool+Detail.h"
#include "ai/SensitiveText.h"
#include "bundle/ProjectBundle.h"
#include "canvas/CanvasDocument.h"
#include "imaging/Redaction.h"
#include "vision/VisionAnalyzer.h"

#include <nlohmann/json.hpp>

namespace vellumix::bundletool {

namespace {

using Json = nlohmann::ordered_json;

Json rectJson(const QRectF& rect) {
    return Json::array({rect.x(), rect.y(), rect.width(), rect.height()});
}

struct RedactOptions {
    SensitiveKinds kinds = allSensitiveKinds;
    imageops::RedactionStyle style = imageops::RedactionStyle::fill;
};

std::optional<RedactOptions> redactOptions(const QStringList& args) {
    RedactOptions options;
    for (qsizetype i = 1; i < args.size(); ++i) {
        if (i + 1 >= args.size()) {
            return std::nullopt;
        }
        const QString value = args[++i];
        if (args[i - 1] == u"--kinds") {
            options.kinds = {};
            for (const QString& key : value.split(u',', Qt::SkipEmptyParts)) {
                const std::optional<SensitiveKind> kind = sensitiveKindForKey(key.trimmed());
                if (!kind) {
                    return std::nullopt;
                }
                options.kinds |= *kind;
            }
        } else if (args[i - 1] == u"--style" && (value == u"fill" || value == u"pixelate")) {
            options.style = value == u"fill" ? imageops::RedactionStyle::fill
                                             : imageops::RedactionStyle::pixelate;
        } else {
            return std::nullopt;
        }
    }
    return options.kinds ? std::optional(options) : std::nullopt;
}

} // namespace

std::vector<std::pair<SensitiveKind, QRectF>> redactAtOnce(CanvasDocument& canvas,
                                                           const VisionAnalysis& analysis,
                                                           SensitiveKinds kinds,
                                                           imageops::RedactionStyle style) {
    std::vector<std::pair<SensitiveKind, QRectF>> covered;
    std::vector<imageops::RedactionArea> areas;
    for (const SensitiveMatch& match : findSensitiveText(analysis, kinds)) {
        const QRectF area =
            redactionAreaFor(match.rect, canvas.image().size(), lineRects(analysis));
        covered.emplace_back(match.kind, area);
        areas.push_back({area, style});
    }
    if (!areas.empty()) {
        canvas.replaceImage(
            imageops::redact(canvas.image(), areas, Color::black(), lineRects(analysis)),
            canvas.annotations(), imageops::redactionActionName(int(areas.size())));
    }
    return covered;
}

int analyze(const QString& bundlePath, QTextStream& out, QTextStream& err) {
    CanvasDocument canvas;
    if (!loadCanvas(bundlePath, canvas, err)) {
        return failure;
    }
    out << QString::fromStdString(analysisToJson(VisionAnalyzer::analyze(canvas.image())).dump(2))
        << Qt::endl;
    return 0;
}

int redact(const QStringList& args, QTextStream& out, QTextStream& err) {
    const std::optional<RedactOptions> options = redactOptions(args);
    if (!options) {
        return usage(err);
    }
    CanvasDocument canvas;
    if (!loadCanvas(args[0], canvas, err)) {
        return failure;
    }
    const auto areas = redactAtOnce(canvas, VisionAnalyzer::analyze(canvas.image()), options->kinds,
                                    options->style);
    // What was covered, without the text: the point is that it is not shown.
    Json covered = Json::array();
    for (const auto& [kind, area] : areas) {
        covered.push_back(
            {{"kind", sensitiveKindKey(kind).toStdString()}, {"rect", rectJson(area)}});
    }
    if (!areas.empty()) {
        if (!saveEdits(canvas, {.image = true}, args[0], err)) {
            return failure;
        }
    }
    out << QString::fromStdString(covered.dump()) << Qt::endl;
    return 0;
}

} // namespace vellumix::bundletool
