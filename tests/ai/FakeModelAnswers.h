#pragma once

// Answers the fake servers give in the assistant's tests: a local OpenAI-compatible server's
// model list, whole and streamed completions, and the cloud model's text answer.

#include "FakeHttpServer.h"

#include <QBuffer>
#include <QByteArray>
#include <QColor>
#include <QImage>

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
