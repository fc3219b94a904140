// libFuzzer target for the cloud model's answers. The first byte picks the HTTP status (or no
// HTTP answer at all) and the image size; the rest is the body, fed to every parser both as it
// is and as the text of a well-formed candidate, so that mutations reach the detection entries
// and the classifier word without having to keep the outer JSON valid. Nothing may crash, and
// every answer must keep the parsers' promises.

#include "ai/GeminiResponses.h"

#include <cstdint>
#include <cstdlib>
#include <nlohmann/json.hpp>

namespace {

using namespace vellumix;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

template <class T> void checkError(const GeminiParsed<T>& parsed) {
    if (const auto* error = std::get_if<GeminiError>(&parsed)) {
        require(!error->text().isEmpty());
    }
}

void checkDetection(const GeminiParsed<GeminiDetectionResult>& parsed) {
    checkError(parsed);
    const auto* result = std::get_if<GeminiDetectionResult>(&parsed);
    if (!result) {
        return;
    }
    require(result->shapes.isEmpty() == result->text.has_value());
    for (const AICanvasDirectivePublic& d : result->shapes) {
        const QString op = d.operation.toLower();
        const bool targeted = op == u"delete" || op == u"update" || op == u"updatestyle";
        require(targeted ? !d.targetId.trimmed().isEmpty() : d.width >= 1 && d.height >= 1);
    }
}

void checkImageEdit(const GeminiParsed<GeminiResult>& parsed) {
    checkError(parsed);
    if (const auto* result = std::get_if<GeminiResult>(&parsed)) {
        require(result->text.has_value() || result->image.has_value());
        require(result->image.has_value() == result->responseImageBytes.has_value());
        require(!result->image || !result->image->isNull());
    }
}

void parseAll(const std::optional<GeminiHttpAnswer>& answer, QSize imageSize) {
    QStringList lines;
    const GeminiLog log = [&lines](const QString& line) { lines << line; };
    const GeminiClassifyResult classified = parseClassifyResponse(answer);
    require(answer || !classified.mode);
    const auto question = parseQuestionResponse(answer);
    checkError(question);
    if (const auto* result = std::get_if<GeminiResult>(&question)) {
        require(result->text && !result->text->isEmpty());
    }
    checkImageEdit(parseImageEditResponse(answer, log));
    checkDetection(parseDetectionResponse(answer, imageSize, log));
    for (const QString& line : lines) {
        require(line.startsWith(u"[Gemini] "));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    static const int statuses[] = {200, 200, 200, 200, 204, 429, 500, 0};
    static const QSize imageSizes[] = {{1200, 800}, {3000, 2000}, {1500, 1}, {1, 1}};
    const int status = statuses[data[0] & 7];
    const QSize imageSize = imageSizes[(data[0] >> 3) & 3];
    const QByteArray body(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));

    std::optional<GeminiHttpAnswer> answer;
    if (status != 0) {
        answer = GeminiHttpAnswer{status, body};
    }
    parseAll(answer, imageSize);
    geminiBodyPreview(body);

    // The same bytes as the model's text inside a well-formed answer.
    nlohmann::json wrapped = {{"modelVersion", "gemini-3.5-flash"}};
    wrapped["candidates"][0]["content"]["parts"][0]["text"] = body.toStdString();
    wrapped["candidates"][0]["finishReason"] = "STOP";
    const std::string text = wrapped.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    parseAll(GeminiHttpAnswer{200, QByteArray::fromStdString(text)}, imageSize);
    return 0;
}
