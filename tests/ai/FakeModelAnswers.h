#pragma once

// Answers the fake servers give in the assistant's tests: a local OpenAI-compatible server's
// model list, whole and streamed completions, and the cloud model's text answer.

#include "FakeHttpServer.h"

#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QImage>

#include <nlohmann/json.hpp>

namespace vellumix::test {

inline constexpr char modelList[] =
    R"({"object":"list","data":[{"id":"tiny-q4","object":"model"}]})";

inline QByteArray completion(const QByteArray& escapedContent, const char* finish = "stop") {
    return R"({"id":"chatcmpl-1","object":"chat.completion","choices":[{"index":0,"message":)"
           R"({"role":"assistant","content":")" +
           escapedContent + R"("},"finish_reason":")" + finish + R"("}]})";
}

inline QByteArray sse(const char* content, const char* finish = "null") {
    return QByteArray(R"(data: {"object":"chat.completion.chunk","choices":[{"index":0,)"
                      R"("delta":{"content":")") +
           content + R"("},"finish_reason":)" + finish + "}]}\n\n";
}

inline QByteArray geminiText(const QByteArray& escapedText) {
    return R"({"candidates":[{"content":{"parts":[{"text":")" + escapedText +
           R"("}],"role":"model"},"finishReason":"STOP","index":0}],)"
           R"("usageMetadata":{"promptTokenCount":1301,"candidatesTokenCount":11,)"
           R"("totalTokenCount":1350},"modelVersion":"gemini-3.5-flash"})";
}

inline QByteArray pngBase64(QSize size, QColor color) {
    QImage image(size, QImage::Format_ARGB32);
    image.fill(color);
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return png.toBase64();
}

/// The cloud's image edit answer: one `size` picture filled with `color`.
inline QByteArray geminiImage(QSize size, QColor color) {
    return R"({"candidates":[{"content":{"parts":[{"inlineData":{"mimeType":"image/png","data":")" +
           pngBase64(size, color) + R"("}}],"role":"model"},"finishReason":"STOP"}]})";
}

/// `value` written as the escaped text of a JSON string, as a model's text answer carries it.
inline QByteArray escaped(const nlohmann::json& value) {
    const std::string quoted = nlohmann::json(value.dump()).dump();
    return QByteArray::fromStdString(quoted.substr(1, quoted.size() - 2));
}

/// A shape the cloud's detection lists: `shape` at (x, y, width, height) in image pixels.
inline nlohmann::json detected(const char* shape, int x, int y, int width, int height,
                               const char* summary) {
    return {{"shouldDraw", true}, {"kind", "shape"},  {"shape", shape},    {"x", x}, {"y", y},
            {"width", width},     {"height", height}, {"summary", summary}};
}

/// The cloud's detection answer listing `shapes`, as the escaped text of its JSON.
inline QByteArray detections(std::initializer_list<nlohmann::json> shapes) {
    nlohmann::json list = nlohmann::json::array();
    for (const nlohmann::json& shape : shapes) {
        list.push_back(shape);
    }
    return escaped(list);
}

/// The local model's filter directive.
inline nlohmann::json filterDirective(const char* kind, double strength, const char* summary) {
    return {{"shouldApply", true}, {"kind", kind}, {"strength", strength}, {"summary", summary}};
}

/// The local model's canvas directive with every field at its "not given" value, then `fields`.
inline nlohmann::json canvasDirective(const nlohmann::json& fields) {
    nlohmann::json directive = {{"shouldDraw", false},
                                {"operation", "create"},
                                {"targetId", ""},
                                {"kind", "shape"},
                                {"shape", ""},
                                {"x", 0},
                                {"y", 0},
                                {"width", 0},
                                {"height", 0},
                                {"color", ""},
                                {"fillColor", ""},
                                {"lineWidth", 0},
                                {"cornerRadius", -1},
                                {"opacity", -1},
                                {"lineStyle", ""},
                                {"text", ""},
                                {"fontColor", ""},
                                {"fontSize", 0},
                                {"fontFamily", ""},
                                {"summary", ""}};
    directive.update(fields);
    return directive;
}

/// A local model server: its model list, the classifier's `route`, then `chat` for the request.
inline void serveLocal(FakeHttpServer& server, const char* route, FakeHttpServer::Response chat) {
    using Response = FakeHttpServer::Response;
    server.setHandler([route, chat](const FakeHttpServer::Request& request) {
        if (request.target == "/v1/models") {
            return Response::json(200, modelList);
        }
        if (request.body.contains(R"("name":"QueryRoute")")) {
            return Response::json(200,
                                  completion(QByteArray(R"({\"route\":\")") + route + R"(\"})"));
        }
        return chat;
    });
}

/// The cloud: the classifier's word `mode`, then `answer` for the request.
inline void serveCloud(FakeHttpServer& server, const char* mode, FakeHttpServer::Response answer) {
    server.setHandler([mode, answer](const FakeHttpServer::Request& request) {
        if (request.body.contains(R"("enum":["question","imageEdit","annotationEdit"])")) {
            return FakeHttpServer::Response::json(200,
                                                  geminiText(QByteArray(R"(\")") + mode + R"(\")"));
        }
        return answer;
    });
}

} // namespace vellumix::test
