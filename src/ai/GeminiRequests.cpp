#include "GeminiRequests.h"

#include "Directives.h"
#include "RequestTexts.h"
#include "ai/ConsoleText.h"

#include <nlohmann/json.hpp>

namespace vellumix {

using nlohmann::ordered_json;

namespace {

// The detection system prompt's field guide; the model reads it next to the response schema,
// which itself carries no descriptions.
constexpr char detectionFieldGuide[] = R"(FIELD VALUES:
• shouldDraw: true only when the user clearly identified a target (and, for text, gave the content to write), or named an existing annotation to delete. false for vague requests.
• operation: "create" (default) adds a new annotation. "delete" removes one; "update" changes its style, its geometry or both. Delete and update set targetId to the 5-character ID copied from the "Existing annotations" inventory in the prompt. A style-only update leaves x, y, width and height at 0. A geometry update gives the new absolute box computed from the inventory line ("move up 10px" → y_new = y_old - 10). For a bulk change return one entry per annotation. If the named annotation is not in the inventory, set shouldDraw=false and ask a clarifying question in summary.
• targetId: required for delete and update; empty string for create.
• kind: "shape" for a rectangle or oval, "text" for a label or standalone text. A box "labeled" with text is kind "text". When in doubt use "shape".
• shape: "rect" or "oval" for shapes, empty string for text. rectangle/box/square/frame → "rect"; circle/ellipse/oval/ring/round → "oval". When the user names no shape, prefer "oval" for round things.
• x: left edge of the box in image pixels — the top-left corner, NOT center, NOT normalized. 0 when shouldDraw=false.
• y: top edge of the box in image pixels — the top-left corner, NOT center, NOT normalized. 0 when shouldDraw=false.
• width: the full width of the box in image pixels. A text box is about text.count * fontSize * 0.6 wide.
• height: the full height of the box in image pixels. A text box is about fontSize * 1.5 tall.
• color: the border colour, in one of four states: "" when no colour is mentioned (the toolbar colour); "default" or "auto" when an outline is wanted but no colour named; "transparent", "none" or "clear" for no border; otherwise a colour name ("red", "blue", "orange", "green", "yellow", "purple", "pink", "brown", "black", "white", "gray", "cyan", "magenta") or a hex string such as "#FF0000". When the user asks for a fill and says nothing about a border, use "transparent". Never infer a colour from the image.
• fillColor: the same four states; "" means unfilled.
• lineWidth: 0 when not asked. "thin" → 2, "medium" → 4, "thick" → 8, "very thick" → 16, "extra thick" → 24, or the number stated.
• cornerRadius: -1 when not asked. "sharp" or "square corners" → 0, "slightly rounded" → 8, "rounded" → 16, "very rounded" → 24.
• opacity: 0–100, -1 when not asked. "translucent" or "semi-transparent" → 50, "faint" → 30, "subtle" → 20, "opaque" → 100.
• lineStyle: "" when not asked, else "solid", "dotted", "dashed" or "dashDot".
• summary: one short sentence. When shouldDraw=false, a clarifying question. With several entries, a short label for each.

TEXT-ONLY FIELDS (use empty/0 unless kind="text"):
For kind "text", color and fillColor stay "" unless the user asked for a border or a background.
• text: the literal content to show, short.
• fontColor: the colour of the characters; "" for the toolbar's.
• fontSize: 0 for the toolbar's size, else points (14 small, 24 medium, 48 large).
• fontFamily: only when the user names an installed font family, never guessed; "" otherwise.)";

std::string utf8(const QString& text) {
    return text.toStdString();
}

ordered_json textPart(const QString& text) {
    return {{"text", utf8(text)}};
}

ordered_json imagePart(const QByteArray& png) {
    return {{"inline_data", {{"mime_type", "image/png"}, {"data", png.toBase64().toStdString()}}}};
}

ordered_json userContents(ordered_json parts) {
    return ordered_json::array({{{"role", "user"}, {"parts", std::move(parts)}}});
}

ordered_json systemInstruction(const QString& text) {
    return {{"parts", ordered_json::array({textPart(text)})}};
}

QByteArray serialised(const ordered_json& body) {
    // Replacing rather than throwing: every string here came from a QString, so there is
    // nothing to replace, and a request can never fail to serialise.
    const std::string text = body.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
    return QByteArray::fromStdString(text);
}

ordered_json contentBody(const QString& prompt, const QList<QByteArray>& pngs,
                         const std::optional<QString>& system) {
    ordered_json parts = ordered_json::array({textPart(prompt)});
    for (const QByteArray& png : pngs) {
        parts.push_back(imagePart(png));
    }
    ordered_json body = {{"contents", userContents(std::move(parts))}};
    if (system && !system->isEmpty()) {
        body["systemInstruction"] = systemInstruction(*system);
    }
    return body;
}

QString kilobytes(qint64 bytes, int decimals) {
    return groupedNumber(double(bytes) / 1024.0, decimals);
}

} // namespace

QUrl generateContentUrl(const QString& baseUrl, const QString& model) {
    QString base = baseUrl.trimmed();
    while (base.endsWith(QLatin1Char('/'))) {
        base.chop(1);
    }
    return QUrl(base + QStringLiteral("/v1beta/models/") +
                QString::fromLatin1(QUrl::toPercentEncoding(model)) +
                QStringLiteral(":generateContent"));
}

namespace {

bool isLoopbackHost(const QString& host) {
    if (host.compare(u"localhost", Qt::CaseInsensitive) == 0 || host == u"::1") {
        return true;
    }
    // Dotted IPv4 in 127.0.0.0/8, written out in full.
    const QStringList parts = host.split(u'.');
    if (parts.size() != 4 || parts[0] != u"127") {
        return false;
    }
    for (const QString& part : parts) {
        bool number = false;
        const int value = part.toInt(&number);
        if (!number || value < 0 || value > 255 || part.startsWith(u'+')) {
            return false;
        }
    }
    return true;
}

} // namespace

std::optional<QString> insecureBaseUrlReason(const QString& baseUrl) {
    const QUrl url(baseUrl.trimmed(), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (url.isValid() && !url.host().isEmpty() &&
        (scheme == u"https" || (scheme == u"http" && isLoopbackHost(url.host())))) {
        return std::nullopt;
    }
    return QStringLiteral("The Gemini address must use https (plain http only to this "
                          "computer), or the API key would travel in clear: %1")
        .arg(url.toDisplayString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment));
}

bool isSendableApiKey(const QString& apiKey) {
    for (const QChar c : apiKey) {
        if (c.unicode() < 0x20 || c.unicode() > 0x7E) {
            return false;
        }
    }
    return true;
}

QString classifierInstruction() {
    return QStringLiteral(
        "You classify the user's intent for a screenshot annotation app. Pick exactly one:\n\n"
        "- \"question\": asking about the image content (e.g. \"what does this say?\", \"how many "
        "buttons are visible?\").\n"
        "- \"imageEdit\": wants a whole-image pixel filter or global recolor/restyle/edit "
        "(sharpen, blur, brighten, change color, replace background, watercolor effect, …). "
        "Includes anything that mutates the entire image.\n"
        "- \"annotationEdit\": wants to DRAW a shape/box/circle around something, label or "
        "highlight specific objects, or modify existing annotations on top of the image. Does "
        "NOT include editing the image itself.\n\n"
        "When ambiguous between imageEdit and annotationEdit, prefer imageEdit if the user wants "
        "to MODIFY the image, annotationEdit if they want to MARK / point at / surround "
        "something.");
}

QString detectionInstruction(QSize imageSize) {
    return QStringLiteral("You detect objects in an image and return annotations for them. The "
                          "image is %1 × %2 pixels (origin at top-left, y grows downward).\n\n"
                          "For each target the user names, return one directive matching the "
                          "schema below. If the request is vague or no matching object is in the "
                          "image, return an empty array.\n\n")
               .arg(imageSize.width())
               .arg(imageSize.height()) +
           QString::fromUtf8(detectionFieldGuide);
}

QByteArray classifyRequestBody(const QString& request) {
    const ordered_json body = {
        {"contents", userContents(ordered_json::array({textPart(request)}))},
        {"systemInstruction", systemInstruction(classifierInstruction())},
        {"generationConfig",
         {{"responseMimeType", "application/json"},
          {"responseSchema",
           {{"type", "string"}, {"enum", {"question", "imageEdit", "annotationEdit"}}}}}}};
    return serialised(body);
}

QByteArray questionRequestBody(const QString& prompt, const QList<QByteArray>& pngs,
                               const std::optional<QString>& systemInstruction) {
    return serialised(contentBody(prompt, pngs, systemInstruction));
}

QByteArray imageEditRequestBody(const QString& prompt, const QList<QByteArray>& pngs,
                                const std::optional<QString>& systemInstruction) {
    ordered_json body = contentBody(prompt, pngs, systemInstruction);
    body["generationConfig"] = {{"responseModalities", {"IMAGE", "TEXT"}}};
    return serialised(body);
}

QByteArray detectionRequestBody(const QString& prompt, const QByteArray& png, QSize imageSize) {
    const ordered_json body = {
        {"contents", userContents(ordered_json::array({textPart(prompt), imagePart(png)}))},
        {"systemInstruction", systemInstruction(detectionInstruction(imageSize))},
        {"generationConfig",
         {{"responseMimeType", "application/json"},
          {"responseSchema", {{"type", "array"}, {"items", detectionSchema()}}}}}};
    return serialised(body);
}

QString sendingStatus(qsizetype imageCount, qint64 pngBytes) {
    const QString what =
        imageCount >= 2 ? QStringLiteral("image & annotations") : QStringLiteral("image");
    return QStringLiteral("Sending %1: ↑ %2 KB…").arg(what, kilobytes(pngBytes, 0));
}

QString detectionSendingStatus(qint64 pngBytes) {
    return sendingStatus(1, pngBytes);
}

QString encodedImageLogLine(int index, QSize pixelSize, qint64 pngBytes) {
    return console::geminiLine(QStringLiteral("image[%1]: %2×%3 px → PNG %4 bytes (%5 KB)"))
        .arg(index)
        .arg(pixelSize.width())
        .arg(pixelSize.height())
        .arg(pngBytes)
        .arg(kilobytes(pngBytes, 1));
}

namespace gemini {
QString processingStatus() {
    return QStringLiteral("Gemini processing…");
}
QString parsingStatus() {
    return QStringLiteral("Parsing response…");
}
QString promptStatus() {
    return QStringLiteral("Processing your prompt…");
}
} // namespace gemini

void GeminiUploadCompletionTracker::bytesSent(qint64 totalSent, qint64 expectedTotal) {
    if (expectedTotal < 1 || totalSent < expectedTotal || fired) {
        return;
    }
    fired = true;
    if (onUploadComplete) {
        onUploadComplete();
    }
}

} // namespace vellumix
