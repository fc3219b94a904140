// libFuzzer target for the local model server's answers. The first byte picks the HTTP status
// and how the rest is cut into pieces; the rest is the body, read as a model list, an error
// answer, each structured answer and a streamed completion. Nothing may crash, and the stream
// decoder must reach the same text however its bytes arrive.

#include "ai/LocalModelResponses.h"

#include <cstdint>
#include <cstdlib>
#include <variant>

namespace {

using namespace vellumix;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

template <class T> void checkResult(const LocalResult<T>& result) {
    if (const auto* error = std::get_if<LocalModelError>(&result)) {
        require(!error->type.isEmpty());
    }
}

struct Streamed {
    QString text;
    bool failed = false;
    bool done = false;
};

Streamed decodeStream(const QByteArray& body, qsizetype pieceSize) {
    ChatStreamDecoder decoder;
    for (qsizetype at = 0; at < body.size(); at += pieceSize) {
        decoder.feed(body.mid(at, pieceSize));
    }
    Streamed streamed{decoder.text(), decoder.error().has_value(), decoder.sawDone()};
    if (const auto error = decoder.endOfStream()) {
        require(!error->type.isEmpty());
    }
    return streamed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) {
        return 0;
    }
    static const int statuses[] = {200, 400, 404, 500, 503};
    const int status = statuses[data[0] % 5];
    const qsizetype pieceSize = 1 + (data[0] >> 4);
    const QByteArray body(reinterpret_cast<const char*>(data + 1), qsizetype(size - 1));

    localModelStatus(status, body);
    localModelStatus(std::nullopt, body);
    const LocalModelError error = localHttpError(status, body);
    require(!error.type.isEmpty());
    localErrorUserText(QStringLiteral("Q&A"), error);
    checkResult(chatAnswerContent(body));
    checkResult(parseLocalAnnotationAnswer(body));
    checkResult(parseLocalFilterAnswer(body));
    checkResult(parseLocalRouteAnswer(body));

    // Server-sent events split anywhere must decode exactly as when they arrive whole.
    const Streamed whole = decodeStream(body, body.size() + 1);
    const Streamed pieces = decodeStream(body, pieceSize);
    require(whole.text == pieces.text && whole.failed == pieces.failed &&
            whole.done == pieces.done);
    return 0;
}
