#include "GeminiResponses.h"

#include "ConsoleText.h"
#include "GeminiRequests.h"

#include <QBuffer>
#include <QImageReader>
#include <QStringDecoder>

#include <algorithm>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>

namespace vellumix {

using nlohmann::json;

namespace {

// No real answer nests deeply; the limit keeps printing a parsed value (which recurses) safe.
constexpr int maxJsonDepth = 256;
// 8192 × 8192 pixels at 4 bytes each: larger than any image the models return.
constexpr qint64 maxImageBytes = 256LL * 1024 * 1024;

bool nestsTooDeep(const QByteArray& text) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (const char c : text) {
        if (inString) {
            if (escaped) {
                escaped = false;
            } else if (c == '\\') {
                escaped = true;
            } else if (c == '"') {
                inString = false;
            }
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            if (++depth > maxJsonDepth) {
                return true;
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return false;
}

std::optional<json> parseJson(const QByteArray& text) {
    if (nestsTooDeep(text)) {
        return std::nullopt;
    }
    json value = json::parse(text.begin(), text.end(), nullptr, false);
    if (value.is_discarded()) {
        return std::nullopt;
    }
    return value;
}

std::optional<QString> strictUtf8(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless |
                                                     QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder.decode(bytes);
    if (decoder.hasError()) {
        return std::nullopt;
    }
    return text;
}

QString qString(const std::string& utf8) {
    return QString::fromUtf8(utf8.data(), qsizetype(utf8.size()));
}

const json* member(const json& object, const char* key) {
    if (!object.is_object()) {
        return nullptr;
    }
    const auto it = object.find(key);
    return it == object.end() ? nullptr : &*it;
}

std::optional<QString> stringMember(const json& object, const char* key) {
    const json* value = member(object, key);
    if (!value || !value->is_string()) {
        return std::nullopt;
    }
    return qString(value->get_ref<const std::string&>());
}

std::optional<qint64> integerMember(const json& object, const char* key) {
    const json* value = member(object, key);
    if (!value) {
        return std::nullopt;
    }
    if (value->is_number_integer() && !value->is_number_unsigned()) {
        return value->get<qint64>();
    }
    if (value->is_number_unsigned()) {
        const auto u = value->get<std::uint64_t>();
        return u <= std::uint64_t(std::numeric_limits<qint64>::max()) ? std::optional(qint64(u))
                                                                      : std::nullopt;
    }
    if (value->is_number_float()) {
        const double d = value->get<double>();
        // 2^63 is exactly representable; anything whole below it converts exactly.
        if (d == std::floor(d) && d >= -9223372036854775808.0 && d < 9223372036854775808.0) {
            return qint64(d);
        }
    }
    return std::nullopt;
}

struct Usage {
    std::optional<qint64> total;
    std::optional<qint64> prompt;
    std::optional<qint64> response;
    std::optional<QString> modelVersion;
};

Usage usageOf(const json& root) {
    Usage usage;
    if (const json* metadata = member(root, "usageMetadata")) {
        usage.total = integerMember(*metadata, "totalTokenCount");
        usage.prompt = integerMember(*metadata, "promptTokenCount");
        usage.response = integerMember(*metadata, "candidatesTokenCount");
    }
    usage.modelVersion = stringMember(root, "modelVersion");
    return usage;
}

bool isSuccess(int statusCode) {
    return statusCode >= 200 && statusCode <= 299;
}

/// The first candidate, when "candidates" is a non-empty array starting with an object.
const json* firstCandidate(const json& root) {
    const json* candidates = member(root, "candidates");
    if (!candidates || !candidates->is_array() || candidates->empty() ||
        !candidates->front().is_object()) {
        return nullptr;
    }
    return &candidates->front();
}

const json* partsOf(const json& candidate) {
    const json* content = member(candidate, "content");
    const json* parts = content ? member(*content, "parts") : nullptr;
    return parts && parts->is_array() ? parts : nullptr;
}

QString joinedText(const json* parts) {
    QString text;
    if (!parts) {
        return text;
    }
    for (const json& part : *parts) {
        if (const auto piece = stringMember(part, "text")) {
            text += *piece;
        }
    }
    return text;
}

struct DecodedImage {
    QImage image;
    qint64 bytes = 0;
};

std::optional<DecodedImage> decodeImagePart(const json& part) {
    const json* inlineData = member(part, "inline_data");
    if (!inlineData || !inlineData->is_object()) {
        inlineData = member(part, "inlineData");
    }
    const json* data = inlineData ? member(*inlineData, "data") : nullptr;
    if (!data || !data->is_string()) {
        return std::nullopt;
    }
    auto decoded = QByteArray::fromBase64Encoding(
        QByteArray::fromStdString(data->get_ref<const std::string&>()),
        QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) {
        return std::nullopt;
    }
    QBuffer buffer(&decoded.decoded);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer);
    // The formats the API answers in; the other decoders stay out of reach of a server's bytes.
    const QByteArray format = reader.format();
    if (format != "png" && format != "jpeg" && format != "webp") {
        return std::nullopt;
    }
    const QSize size = reader.size();
    // The header is checked before any pixel is decoded.
    if (!size.isValid() || qint64(size.width()) * size.height() * 4 > maxImageBytes) {
        return std::nullopt;
    }
    QImage image = reader.read();
    if (image.isNull()) {
        return std::nullopt;
    }
    // One point per pixel, whatever resolution the file claims.
    image.setDevicePixelRatio(1);
    return DecodedImage{std::move(image), decoded.decoded.size()};
}

QString printed(const json& value) {
    return qString(value.dump(-1, ' ', false, json::error_handler_t::replace));
}

QString topLevelKeys(const json& root) {
    QStringList keys;
    for (auto it = root.begin(); it != root.end(); ++it) {
        keys << qString(it.key());
    }
    return keys.join(QStringLiteral(", "));
}

QString blockedCategories(const json& candidate) {
    const json* ratings = member(candidate, "safetyRatings");
    if (!ratings || !ratings->is_array()) {
        return {};
    }
    QStringList categories;
    for (const json& rating : *ratings) {
        const json* blocked = member(rating, "blocked");
        if (!blocked || !blocked->is_boolean() || !blocked->get<bool>()) {
            continue;
        }
        QString category = stringMember(rating, "category").value_or(QString());
        if (category.startsWith(u"HARM_CATEGORY_")) {
            category.remove(0, 14);
        }
        categories << category;
    }
    return categories.join(QStringLiteral(", "));
}

/// The answer's top-level object, or the error a question or image edit reports before that.
/// `log`, when given, hears about a body that is not a JSON object.
GeminiParsed<json> contentRoot(const std::optional<GeminiHttpAnswer>& answer,
                               const GeminiLog& log) {
    if (!answer) {
        return GeminiError::noResponse();
    }
    if (answer->body.size() > gemini::maxResponseBytes) {
        return geminiResponseTooLarge();
    }
    if (!isSuccess(answer->statusCode)) {
        return GeminiError::http(answer->statusCode,
                                 strictUtf8(answer->body).value_or(QStringLiteral("<no body>")));
    }
    auto root = parseJson(answer->body);
    if (!root || !root->is_object()) {
        const QString what =
            QStringLiteral("Non-JSON response (%1 bytes)").arg(answer->body.size());
        if (log) {
            log(console::geminiLine(QStringLiteral("")) + what + QStringLiteral(":\n") +
                geminiBodyPreview(answer->body, console::serverTextLimit));
        }
        return GeminiError::decode(what);
    }
    return std::move(*root);
}

template <class Result> void copyUsage(Result& result, const json& root) {
    const Usage usage = usageOf(root);
    result.totalTokens = usage.total;
    result.promptTokens = usage.prompt;
    result.responseTokens = usage.response;
    result.modelVersion = usage.modelVersion;
}

bool endsWithinGrid(qint64 origin, qint64 length) {
    qint64 end = 0;
    if (__builtin_add_overflow(origin, length, &end)) {
        return origin < 0; // both negative: far below the grid's edge
    }
    return end <= 1000;
}

__extension__ typedef __int128 WideInteger;

/// round(value × side / 1000), halves away from zero, saturated to 64 bits.
qint64 fromGrid(qint64 value, int side) {
    const WideInteger product = WideInteger(value) * side;
    const WideInteger rounded = (product >= 0 ? product + 500 : product - 500) / 1000;
    const WideInteger lowest = std::numeric_limits<qint64>::min();
    const WideInteger highest = std::numeric_limits<qint64>::max();
    return qint64(std::clamp(rounded, lowest, highest));
}

bool hasSize(const AICanvasDirectivePublic& d) {
    return d.width >= 1 && d.height >= 1;
}

QList<AICanvasDirectivePublic> keptDirectives(const json& entries) {
    QList<AICanvasDirectivePublic> kept;
    for (const json& entry : entries) {
        AICanvasDirectivePublic d = AICanvasDirectivePublic::fromJson(entry);
        d.operation = stringMember(entry, "operation").value_or(QStringLiteral("create"));
        const QString op = d.operation.toLower();
        const bool targeted = op == u"delete" || op == u"update" || op == u"updatestyle";
        if (targeted ? !d.targetId.trimmed().isEmpty() : hasSize(d)) {
            kept << d;
        }
    }
    return kept;
}

/// Models often answer on their own 0–1000 grid; on a large image every box then fits in its
/// top-left corner, which real pixel boxes almost never do.
void rescaleFromGrid(QList<AICanvasDirectivePublic>& shapes, QSize imageSize,
                     const GeminiLog& log) {
    const int w = imageSize.width();
    const int h = imageSize.height();
    if (shapes.isEmpty() || (w < 1500 && h < 1500)) {
        return;
    }
    for (const AICanvasDirectivePublic& d : shapes) {
        if (!endsWithinGrid(d.x, d.width) || !endsWithinGrid(d.y, d.height)) {
            return;
        }
    }
    if (log) {
        log(console::geminiLine(QStringLiteral("Detection coords look 0–1000 normalized on a %1×%2 "
                                               "image — denormalizing to pixels."))
                .arg(w)
                .arg(h));
    }
    for (AICanvasDirectivePublic& d : shapes) {
        if (!hasSize(d)) {
            continue;
        }
        d.x = fromGrid(d.x, w);
        d.y = fromGrid(d.y, h);
        d.width = fromGrid(d.width, w);
        d.height = fromGrid(d.height, h);
    }
}

} // namespace

QString geminiBodyPreview(const QByteArray& body, int characters) {
    const auto text = strictUtf8(body);
    if (!text) {
        return QStringLiteral("<%1 bytes binary>").arg(body.size());
    }
    return console::excerpt(*text, characters);
}

GeminiError geminiResponseTooLarge() {
    return GeminiError::decode(QStringLiteral("Response too large (over 64 MiB)"));
}

GeminiClassifyResult parseClassifyResponse(const std::optional<GeminiHttpAnswer>& answer) {
    GeminiClassifyResult result;
    if (!answer || !isSuccess(answer->statusCode) ||
        answer->body.size() > gemini::maxResponseBytes) {
        return result;
    }
    const auto root = parseJson(answer->body);
    if (!root || !root->is_object()) {
        return result;
    }
    const json* candidate = firstCandidate(*root);
    if (!candidate) {
        return result;
    }
    QString word = joinedText(partsOf(*candidate));
    // The schema asks for a JSON string, but a bare word is accepted too.
    const auto fragment = parseJson(word.toUtf8());
    if (fragment && fragment->is_string()) {
        word = qString(fragment->get_ref<const std::string&>());
    }
    result.mode = parseEnum<QueryMode>(word.trimmed());
    const Usage usage = usageOf(*root);
    result.promptTokens = usage.prompt;
    result.responseTokens = usage.response;
    result.modelVersion = usage.modelVersion;
    return result;
}

GeminiParsed<GeminiResult> parseQuestionResponse(const std::optional<GeminiHttpAnswer>& answer) {
    auto parsed = contentRoot(answer, {});
    if (auto* error = std::get_if<GeminiError>(&parsed)) {
        return *error;
    }
    const json& root = std::get<json>(parsed);
    if (const json* error = member(root, "error")) {
        if (const auto message = stringMember(*error, "message")) {
            return GeminiError::decode(QStringLiteral("API error: ") + *message);
        }
    }
    const json* candidate = firstCandidate(root);
    const json* parts = candidate ? partsOf(*candidate) : nullptr;
    if (!parts) {
        return GeminiError::decode(QStringLiteral("No Q&A candidate"));
    }
    const QString text = joinedText(parts);
    if (text.isEmpty()) {
        return GeminiError::noResponse();
    }
    GeminiResult result;
    result.text = text;
    copyUsage(result, root);
    result.finishReason = stringMember(*candidate, "finishReason");
    result.responseBytes = answer->body.size();
    return result;
}

GeminiParsed<GeminiResult> parseImageEditResponse(const std::optional<GeminiHttpAnswer>& answer,
                                                  const GeminiLog& log) {
    const auto say = [&log](const QString& line) {
        if (log) {
            log(line);
        }
    };
    auto parsed = contentRoot(answer, log);
    if (auto* error = std::get_if<GeminiError>(&parsed)) {
        return *error;
    }
    const json& root = std::get<json>(parsed);
    if (const json* error = member(root, "error")) {
        if (const auto message = stringMember(*error, "message")) {
            const auto code = integerMember(*error, "code");
            const QString codeText = code ? QStringLiteral(" %1").arg(*code) : QString();
            say(console::geminiLine(QStringLiteral("API error")) + codeText + QStringLiteral(": ") +
                console::excerpt(*message));
            return GeminiError::decode(QStringLiteral("API error") + codeText +
                                       QStringLiteral(": ") + *message);
        }
    }
    if (const json* feedback = member(root, "promptFeedback")) {
        if (const auto reason = stringMember(*feedback, "blockReason")) {
            say(console::geminiLine(QStringLiteral("Prompt blocked: ")) + *reason +
                QStringLiteral(" — full feedback: ") + console::excerpt(printed(*feedback)));
            return GeminiError::decode(QStringLiteral("Prompt blocked: ") + *reason);
        }
    }
    const json* candidate = firstCandidate(root);
    if (!candidate) {
        const QString keys = topLevelKeys(root);
        say(console::geminiLine(QStringLiteral("No candidates in response. Top-level keys: ")) +
            console::excerpt(keys) + QStringLiteral("\nBody:\n") +
            geminiBodyPreview(answer->body, console::serverTextLimit));
        return GeminiError::decode(QStringLiteral("No candidates returned (top-level keys: ") +
                                   keys + QLatin1Char(')'));
    }
    const json* parts = partsOf(*candidate);
    const QString text = joinedText(parts);
    std::optional<DecodedImage> image;
    if (parts) {
        for (const json& part : *parts) {
            if ((image = decodeImagePart(part))) {
                break;
            }
        }
    }
    const auto finishReason = stringMember(*candidate, "finishReason");
    if (text.isEmpty() && !image) {
        QString message = QStringLiteral("No content (finishReason: ") +
                          finishReason.value_or(QStringLiteral("unknown")) + QLatin1Char(')');
        const QString blocked = blockedCategories(*candidate);
        if (!blocked.isEmpty()) {
            message += QStringLiteral(" — blocked: ") + blocked;
        }
        // A part whose image would not decode still holds its data: never print that.
        say(console::geminiLine(QStringLiteral("Candidate without parts: ")) +
            console::excerpt(printed(console::withoutImageData(*candidate))));
        return GeminiError::decode(message);
    }
    GeminiResult result;
    if (!text.isEmpty()) {
        result.text = text;
    }
    if (image) {
        result.image = image->image;
        result.responseImageBytes = image->bytes;
    }
    copyUsage(result, root);
    result.finishReason = finishReason;
    result.responseBytes = answer->body.size();
    return result;
}

GeminiParsed<GeminiDetectionResult>
parseDetectionResponse(const std::optional<GeminiHttpAnswer>& answer, QSize imageSize,
                       const GeminiLog& log) {
    if (!answer) {
        return GeminiError::decode(QStringLiteral("No HTTP response"));
    }
    if (answer->body.size() > gemini::maxResponseBytes) {
        return geminiResponseTooLarge();
    }
    if (!isSuccess(answer->statusCode)) {
        return GeminiError::http(answer->statusCode, geminiBodyPreview(answer->body));
    }
    const auto root = parseJson(answer->body);
    if (!root || !root->is_object()) {
        return GeminiError::decode(QStringLiteral("JSON parse failed"));
    }
    if (const json* feedback = member(*root, "promptFeedback")) {
        if (const auto reason = stringMember(*feedback, "blockReason")) {
            return GeminiError::decode(QStringLiteral("Prompt blocked: ") + *reason);
        }
    }
    const json* candidate = firstCandidate(*root);
    const json* parts = candidate ? partsOf(*candidate) : nullptr;
    if (!parts) {
        return GeminiError::decode(QStringLiteral("No detection candidate"));
    }
    const auto entries = parseJson(joinedText(parts).toUtf8());
    const bool allObjects =
        entries && entries->is_array() &&
        std::all_of(entries->begin(), entries->end(), [](const json& e) { return e.is_object(); });
    if (!allObjects) {
        return GeminiError::decode(QStringLiteral("Detection JSON parse failed"));
    }
    GeminiDetectionResult result;
    result.shapes = keptDirectives(*entries);
    rescaleFromGrid(result.shapes, imageSize, log);
    if (result.shapes.isEmpty()) {
        result.text = QStringLiteral("No matching objects detected.");
    }
    copyUsage(result, *root);
    result.finishReason = stringMember(*candidate, "finishReason");
    result.responseBytes = answer->body.size();
    return result;
}

} // namespace vellumix
