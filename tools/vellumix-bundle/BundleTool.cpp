#include "BundleTool.h"

#include "BundleTool+Detail.h"
#include "ai/AICanvasCommander.h"
#include "ai/AIContext.h"
#include "ai/AIRequestFlow.h"
#include "ai/AIService.h"
#include "ai/ConsoleText.h"
#include "ai/GeminiService.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationRenderer.h"
#include "canvas/CanvasDocument.h"
#include "codecs/FastPngEncoder.h"
#include "codecs/ImageImport.h"
#include "desktop/BundleServices.h"
#include "desktop/SecretServiceKeychain.h"
#include "filters/ImageFilters.h"
#include "library/Keychain.h"
#include "model/CodableAnnotation.h"
#include "process/ConsoleLog.h"
#include "vision/VisionAnalyzer.h"

#include <QEventLoop>
#include <QFile>
#include <QFileInfo>

#include <unistd.h>

namespace vellumix {

namespace {

const char* const usageText =
    "usage: vellumix-bundle create IMAGE BUNDLE\n"
    "       vellumix-bundle info BUNDLE\n"
    "       vellumix-bundle render BUNDLE OUT.png [--transparent] [--no-annotations]\n"
    "       vellumix-bundle apply BUNDLE DIRECTIVES.json\n"
    "       vellumix-bundle context BUNDLE --route question|annotationEdit|imageEdit "
    "[--query TEXT] [--analysis ANALYSIS.json]\n"
    "       vellumix-bundle ask BUNDLE QUERY [--provider gemini-flash|gemini-pro|local]\n"
    "       vellumix-bundle analyze BUNDLE\n"
    "       vellumix-bundle redact BUNDLE [--kinds email,url,ip,phone,card,jwt,secret] "
    "[--style fill|pixelate]";

QString notABundle(const QString& path) {
    return QStringLiteral("%1 is not a bundle with a readable image.png").arg(path);
}

} // namespace

namespace bundletool {

int fail(QTextStream& err, const QString& message) {
    err << "vellumix-bundle: " << message << Qt::endl;
    return failure;
}

int usage(QTextStream& err) {
    err << usageText << Qt::endl;
    return usageError;
}

} // namespace bundletool

namespace {

using namespace bundletool;

int create(const QString& imagePath, const QString& bundlePath, QTextStream& err) {
    if (QFileInfo::exists(bundlePath)) {
        return fail(err, QStringLiteral("%1 already exists").arg(bundlePath));
    }
    const QImage image = importImageFile(imagePath);
    if (image.isNull()) {
        return fail(err, QStringLiteral("cannot read image %1").arg(imagePath));
    }
    const Status written = bundle::write(image, {}, bundlePath, platformBundleServices());
    if (!written) {
        return fail(err, written.error().message);
    }
    return 0;
}

int info(const QString& bundlePath, QTextStream& out, QTextStream& err) {
    if (!bundle::isBundle(bundlePath)) {
        return fail(err, notABundle(bundlePath));
    }
    out << QString::fromStdString(encodeAnnotations(bundle::loadAnnotations(bundlePath)))
        << Qt::endl;
    return 0;
}

int renderBundle(const QStringList& args, QTextStream& err) {
    const QString bundlePath = args.at(0);
    const QString outPath = args.at(1);
    render::FlattenOptions options;
    for (const QString& flag : args.mid(2)) {
        if (flag == u"--transparent") {
            options.transparentBase = true;
        } else if (flag == u"--no-annotations") {
            options.includeAnnotations = false;
        } else {
            return usage(err);
        }
    }
    const QImage image = bundle::readImage(bundlePath);
    if (!QFileInfo(bundlePath).isDir() || image.isNull()) {
        return fail(err, notABundle(bundlePath));
    }
    const AnnotationList annotations = bundle::loadAnnotations(bundlePath);
    options.outputSize = QSizeF(image.size());
    const auto flattened = render::renderFlattened(image, annotations, options);
    const auto png = flattened ? encodePngFast(*flattened) : std::nullopt;
    if (!png) {
        return fail(err, QStringLiteral("cannot render %1").arg(bundlePath));
    }
    if (const Status written = writeFileAtomically(outPath, *png); !written) {
        return fail(err, QStringLiteral("cannot write ") + written.error().message);
    }
    return 0;
}

std::optional<nlohmann::json> readJsonFile(const QString& path, QTextStream& err) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        fail(err, QStringLiteral("cannot read %1").arg(path));
        return std::nullopt;
    }
    const QByteArray data = file.readAll();
    try {
        return nlohmann::json::parse(data.begin(), data.end());
    } catch (const nlohmann::json::exception&) {
        fail(err, QStringLiteral("%1 is not valid JSON").arg(path));
        return std::nullopt;
    }
}

} // namespace

// The canvas of a bundle: its image and annotations, the default toolbar style, no selection.
bool bundletool::loadCanvas(const QString& bundlePath, CanvasDocument& canvas, QTextStream& err) {
    const QImage image = bundle::readImage(bundlePath);
    if (!QFileInfo(bundlePath).isDir() || image.isNull()) {
        fail(err, notABundle(bundlePath));
        return false;
    }
    canvas.setImage(image);
    canvas.setAnnotationsWithoutUndo(bundle::loadAnnotations(bundlePath));
    return true;
}

bool bundletool::saveEdits(const CanvasDocument& canvas, bundle::Edits edits,
                           const QString& bundlePath, QTextStream& err) {
    const Status saved = bundle::writeEdits(canvas.image(), canvas.annotations(), edits, bundlePath,
                                            platformBundleServices());
    if (!saved) {
        fail(err, console::saveFailedLine(saved.error().message));
    }
    return bool(saved);
}

namespace {

int applyDirectives(const QString& bundlePath, const QString& directivesPath, QTextStream& out,
                    QTextStream& err) {
    CanvasDocument canvas;
    if (!loadCanvas(bundlePath, canvas, err)) {
        return failure;
    }
    const auto json = readJsonFile(directivesPath, err);
    if (!json) {
        return failure;
    }
    if (!json->is_array()) {
        return fail(err,
                    QStringLiteral("%1 is not a JSON array of directives").arg(directivesPath));
    }
    const QtFontCatalogue fonts;
    std::vector<AICanvasCommand> commands;
    for (const nlohmann::json& element : *json) {
        if (auto command = makeCommand(AICanvasDirectivePublic::fromJson(element), fonts)) {
            commands.push_back(std::move(*command));
        }
    }
    const QString action = AICanvasCommander::batchActionName(commands);
    const AICommandResult result = AICanvasCommander::apply(commands, action, canvas);
    const bool changed =
        !result.created.empty() || !result.deleted.empty() || !result.updated.empty();
    if (changed) {
        if (!saveEdits(canvas, {.annotations = true}, bundlePath, err)) {
            return failure;
        }
    }
    out << action << '\n' << result.summary << Qt::endl;
    return 0;
}

int printContext(const QStringList& args, QTextStream& out, QTextStream& err) {
    std::optional<QueryRoute> route;
    QString query;
    std::optional<VisionAnalysis> analysis;
    for (qsizetype i = 1; i < args.size(); ++i) {
        const QString& flag = args[i];
        if (i + 1 >= args.size()) {
            return usage(err);
        }
        const QString value = args[++i];
        if (flag == u"--route") {
            const auto decoded = decodeQueryRoute(value);
            if (!decoded) {
                return fail(err, decoded.error().message);
            }
            route = *decoded;
        } else if (flag == u"--query") {
            query = value;
        } else if (flag == u"--analysis") {
            const auto json = readJsonFile(value, err);
            if (!json) {
                return failure;
            }
            analysis = analysisFromJson(*json);
            if (!analysis) {
                return fail(err, QStringLiteral("%1 is not an image analysis").arg(value));
            }
        } else {
            return usage(err);
        }
    }
    if (!route) {
        return usage(err);
    }
    CanvasDocument canvas;
    if (!loadCanvas(args[0], canvas, err)) {
        return failure;
    }
    AIContext::Inputs inputs;
    inputs.imageSize = canvas.image().size();
    inputs.annotations = &canvas.annotations();
    inputs.imageRect = canvas.imageRect();
    inputs.analysis = analysis;
    inputs.query = query;
    out << AIContext::build(*route, inputs).summary << Qt::endl;
    return 0;
}

// The provider named by `--provider`, else the stored one; none for a malformed command line.
std::optional<AIProvider> askProvider(const QStringList& args) {
    AIProvider provider = Settings::shared().aiProvider();
    for (qsizetype i = 2; i < args.size(); ++i) {
        if (args[i] != u"--provider" || i + 1 >= args.size()) {
            return std::nullopt;
        }
        const QString name = args[++i];
        if (name == u"gemini-flash") {
            provider = AIProvider::googleGeminiFlash;
        } else if (name == u"gemini-pro") {
            provider = AIProvider::googleGeminiPro;
        } else if (name == u"local") {
            provider = AIProvider::localModel;
        } else {
            return std::nullopt;
        }
    }
    return provider;
}

// The bundle's canvas as the request flow works on it, with no window to check results in.
AIRequestHost askHost(CanvasDocument& canvas) {
    AIRequestHost host = canvasRequestHost([&canvas] { return &canvas; }, filters::applyFilter);
    // One analysis per picture: a request may want it twice.
    auto analysed = std::make_shared<std::optional<std::pair<qint64, VisionAnalysis>>>();
    const auto analysis = [&canvas, analysed]() -> const VisionAnalysis& {
        if (!*analysed || (*analysed)->first != canvas.image().cacheKey()) {
            analysed->emplace(canvas.image().cacheKey(), VisionAnalyzer::analyze(canvas.image()));
        }
        return (*analysed)->second;
    };
    host.analysis = [analysis](std::function<void(const VisionAnalysis&)> receiver) {
        receiver(analysis());
    };
    // Without a window to check them in, what is found is redacted at once, in black.
    host.redactSensitiveText = [&canvas, analysis](SensitiveKinds kinds,
                                                   std::function<void(int, bool)> done) {
        const auto covered =
            redactAtOnce(canvas, analysis(), kinds, imageops::RedactionStyle::fill);
        done(int(covered.size()), true);
    };
    return host;
}

int ask(const QStringList& args, QTextStream& out, QTextStream& err) {
    const QString bundlePath = args[0];
    const QString query = args[1].trimmed();
    const std::optional<AIProvider> provider = askProvider(args);
    if (!provider || query.isEmpty()) {
        return usage(err);
    }
    CanvasDocument canvas;
    if (!loadCanvas(bundlePath, canvas, err)) {
        return failure;
    }
    const QImage original = canvas.image();

    // Console lines go to standard error: standard output carries only the answer.
    const auto log = [&err](const QString& line) { err << line << Qt::endl; };
    GeminiService::Options cloudOptions;
    cloudOptions.baseUrl = GeminiService::defaultBaseUrl();
    cloudOptions.log = log;
    GeminiService gemini(cloudOptions);
    AIService::Options localOptions;
    localOptions.baseUrls = AIService::defaultBaseUrls();
    localOptions.log = log;
    AIService local(localOptions);
    const QtFontCatalogue fonts;

    QString answer;
    std::optional<QString> failedWith;
    QEventLoop loop;
    AIRequestListener listener;
    listener.response = [&answer](const QString& text) { answer = text; };
    listener.failed = [&failedWith](const QString& text) { failedWith = text; };
    listener.finished = [&loop](bool) { loop.quit(); };
    AIRequestFlow flow({&gemini, &local, &fonts, log, console::showsContextText(STDERR_FILENO)},
                       askHost(canvas), listener);

    SecretServiceKeychain keychain(ApiKeyStore::service);
    const auto key =
        isCloudProvider(*provider) ? ApiKeyStore(keychain).keyForRequest() : std::nullopt;
    flow.start(*provider, query, key ? std::optional(key->value) : std::nullopt);
    if (flow.isRunning()) {
        loop.exec();
    }
    if (failedWith) {
        err << *failedWith << Qt::endl;
        return failure;
    }
    if (canvas.undoStack().count() > 0) {
        // The picture is written again only when it is another one.
        if (!saveEdits(canvas, {.image = canvas.image() != original, .annotations = true},
                       bundlePath, err)) {
            return failure;
        }
    }
    out << answer << Qt::endl;
    return 0;
}

} // namespace

int runBundleTool(const QStringList& arguments, QTextStream& out, QTextStream& err) {
    if (arguments.isEmpty()) {
        return usage(err);
    }
    const QString command = arguments.front();
    const QStringList args = arguments.mid(1);
    if (command == u"create" && args.size() == 2) {
        return create(args[0], args[1], err);
    }
    if (command == u"info" && args.size() == 1) {
        return info(args[0], out, err);
    }
    if (command == u"render" && args.size() >= 2) {
        return renderBundle(args, err);
    }
    if (command == u"apply" && args.size() == 2) {
        return applyDirectives(args[0], args[1], out, err);
    }
    if (command == u"ask" && args.size() >= 2) {
        return ask(args, out, err);
    }
    if (command == u"context" && args.size() >= 3) {
        return printContext(args, out, err);
    }
    if (command == u"analyze" && args.size() == 1) {
        return bundletool::analyze(args[0], out, err);
    }
    if (command == u"redact" && !args.isEmpty()) {
        return bundletool::redact(args, out, err);
    }
    return usage(err);
}

} // namespace vellumix
