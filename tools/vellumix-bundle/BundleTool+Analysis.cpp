#include "BundleTool+Detail.h"
#include "ai/SensitiveText.h"
#include "bundle/ProjectBundle.h"
#include "canvas/CanvasDocument.h"
#include "desktop/BundleServices.h"
#include "imaging/Redaction.h"
#include "vision/VisionAnalyzer.h"

#include <nlohmann/json.hpp>

namespace vellumix::bundletool {

namespace {

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

// The fields in the order of the analysis records.
Json analysisJson(const VisionAnalysis& analysis) {
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

// The redacted image into the bundle, with its previews; the annotations stay as they are.
Status saveRedactedImage(const CanvasDocument& canvas, const QString& bundlePath) {
    const BundleServices services = platformBundleServices();
    Status saved = bundle::writeImage(canvas.image(), bundlePath, services);
    if (saved) {
        saved = bundle::writePreviews(canvas.image(), canvas.annotations(), bundlePath, services);
    }
    return saved;
}

} // namespace

int analyze(const QString& bundlePath, QTextStream& out, QTextStream& err) {
    CanvasDocument canvas;
    if (!loadCanvas(bundlePath, canvas, err)) {
        return failure;
    }
    out << QString::fromStdString(analysisJson(VisionAnalyzer::analyze(canvas.image())).dump(2))
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
    const VisionAnalysis analysis = VisionAnalyzer::analyze(canvas.image());
    std::vector<imageops::RedactionArea> areas;
    // What was covered, without the text: the point is that it is not shown.
    Json covered = Json::array();
    for (const SensitiveMatch& match : findSensitiveText(analysis, options->kinds)) {
        const QRectF area =
            redactionAreaFor(match.rect, canvas.image().size(), lineRects(analysis));
        areas.push_back({area, options->style});
        covered.push_back(
            {{"kind", sensitiveKindKey(match.kind).toStdString()}, {"rect", rectJson(area)}});
    }
    if (!areas.empty()) {
        canvas.replaceImage(
            imageops::redact(canvas.image(), areas, Color::black(), lineRects(analysis)),
            canvas.annotations(), imageops::redactionActionName(int(areas.size())));
        if (const Status saved = saveRedactedImage(canvas, args[0]); !saved) {
            return fail(err, QStringLiteral("Save failed: ") + saved.error().message);
        }
    }
    out << QString::fromStdString(covered.dump()) << Qt::endl;
    return 0;
}

} // namespace vellumix::bundletool
