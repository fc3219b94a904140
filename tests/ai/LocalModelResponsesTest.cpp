#include "ai/LocalModelResponses.h"

#include "ai/LocalModelRequests.h"

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

// A non-streamed completion whose message is `content`.
QByteArray completion(const std::string& content, const char* finish = "stop") {
    nlohmann::json body = {{"object", "chat.completion"},
                           {"choices",
                            {{{"index", 0},
                              {"message", {{"role", "assistant"}, {"content", content}}},
                              {"finish_reason", finish}}}}};
    return QByteArray::fromStdString(body.dump());
}

QByteArray chunk(const char* content, const char* finish = nullptr) {
    nlohmann::json choice = {{"index", 0}, {"delta", {{"content", content}}}};
    choice["finish_reason"] = finish ? nlohmann::json(finish) : nlohmann::json(nullptr);
    return "data: " + QByteArray::fromStdString(nlohmann::json{{"choices", {choice}}}.dump()) +
           "\n\n";
}

const std::string validDirective =
    R"({"shouldDraw":true,"operation":"create","targetId":"","kind":"shape","shape":"oval",)"
    R"("x":12,"y":30,"width":100,"height":40,"color":"red","fillColor":"","lineWidth":0,)"
    R"("cornerRadius":-1,"opacity":-1,"lineStyle":"","text":"","fontColor":"","fontSize":0,)"
    R"("fontFamily":"","summary":"Circled the total"})";

} // namespace

TEST(LocalModelErrors, ConsoleAndUserTexts) {
    const LocalModelError described{"unavailable_error", "Loading model"};
    EXPECT_EQ(localErrorLogLine("Q&A", described),
              QStringLiteral("[Vellumix] AI Q&A error: unavailable_error — Loading model"));
    EXPECT_EQ(localErrorUserText("Q&A", described), QStringLiteral("Loading model"));
    EXPECT_EQ(localErrorUserText("annotation-edit", {"server_error", ""}),
              QStringLiteral("Local model annotation-edit failed (server_error). Try rephrasing "
                             "the prompt."));
    // What a server said reaches the console as an excerpt only.
    const QString line = localErrorLogLine("Q&A", {QString(300, u't'), QString(300, u'd')});
    EXPECT_EQ(line.count(u't') + line.count(u'd'), 200) << line.toStdString();
    EXPECT_EQ(localOperationLabel(QueryRoute::imageEdit), QStringLiteral("image-edit"));
    EXPECT_EQ(localOperationLabel(QueryRoute::annotationEdit), QStringLiteral("annotation-edit"));
    EXPECT_EQ(localOperationLabel(QueryRoute::question), QStringLiteral("Q&A"));
}

TEST(LocalModelErrors, HttpBodiesOfBothServers) {
    EXPECT_EQ(
        localHttpError(
            503, R"({"error":{"code":503,"message":"Loading model","type":"unavailable_error"}})"),
        (LocalModelError{"unavailable_error", "Loading model"}));
    EXPECT_EQ(localHttpError(404, R"({"error":"model \"x\" not found, try pulling it first"})"),
              (LocalModelError{"server_error", "model \"x\" not found, try pulling it first"}));
    EXPECT_EQ(localHttpError(502, "<html>Bad Gateway</html>"),
              (LocalModelError{"HTTP 502", "The local model server answered HTTP 502."}));
    EXPECT_EQ(localHttpError(500, R"({"error":{"type":"server_error"}})"),
              (LocalModelError{"server_error", "The local model server answered HTTP 500."}));
}

TEST(LocalModelStatusMapping, FourSituations) {
    using A = LocalModelAvailability;
    EXPECT_EQ(localModelStatus(std::nullopt, {}), (LocalModelStatus{A::serverNotRunning, {}}));
    EXPECT_EQ(localModelStatus(503, R"({"error":{"code":503,"message":"Loading model"}})"),
              (LocalModelStatus{A::loading, {}}));
    EXPECT_EQ(localModelStatus(200, R"({"object":"list","data":[]})"),
              (LocalModelStatus{A::noModelLoaded, {}}));
    EXPECT_EQ(
        localModelStatus(200, R"({"object":"list","data":[{"id":"qwen2.5:3b","object":"model"}]})"),
        (LocalModelStatus{A::available, "qwen2.5:3b"}));
    EXPECT_EQ(localModelStatus(404, "Not Found"), (LocalModelStatus{A::otherUnavailable, {}}));
    EXPECT_EQ(localModelStatus(200, "Ollama is running"),
              (LocalModelStatus{A::otherUnavailable, {}}));
}

TEST(ChatStream, WholeTextSoFarAcrossArbitrarySplits) {
    const QByteArray stream = ": ping\n\n" + chunk("Hel") + ": ping - 2025-01-01\n\n" +
                              chunk("lo, ") + chunk("world") + chunk("", "stop") +
                              "data: [DONE]\n\n";
    ChatStreamDecoder decoder;
    QStringList seen;
    for (char byte : stream) { // one byte at a time: lines and events span reads
        if (decoder.feed(QByteArray(1, byte))) {
            seen << decoder.text();
        }
    }
    EXPECT_EQ(seen, (QStringList{"Hel", "Hello, ", "Hello, world"}));
    EXPECT_TRUE(decoder.sawDone());
    EXPECT_EQ(decoder.endOfStream(), std::nullopt);
}

TEST(ChatStream, CarriageReturnsAndAFinalLineWithoutNewline) {
    ChatStreamDecoder decoder;
    QByteArray crlf = chunk("a", "stop");
    crlf.replace("\n", "\r\n");
    decoder.feed(crlf + "data: [DONE]");
    EXPECT_EQ(decoder.text(), QStringLiteral("a"));
    EXPECT_EQ(decoder.endOfStream(), std::nullopt);
    EXPECT_TRUE(decoder.sawDone());
}

TEST(ChatStream, BothMidStreamErrorForms) {
    ChatStreamDecoder current;
    current.feed(chunk("Partial") +
                 R"(data: {"error":{"code":500,"message":"KV cache full","type":"server_error"}})"
                 "\n\n" +
                 chunk(" more"));
    EXPECT_EQ(current.text(), QStringLiteral("Partial")); // nothing after the error counts
    EXPECT_EQ(current.endOfStream(), (LocalModelError{"server_error", "KV cache full"}));

    ChatStreamDecoder older;
    older.feed(
        chunk("P") +
        R"(error: {"code":400,"message":"context too long","type":"exceed_context_size_error"})"
        "\n\n");
    EXPECT_EQ(older.endOfStream(),
              (LocalModelError{"exceed_context_size_error", "context too long"}));
}

TEST(ChatStream, CutOffUnfinishedAndEmptyStreamsFail) {
    ChatStreamDecoder cut;
    cut.feed(chunk("The answer is", "length") + "data: [DONE]\n\n");
    ASSERT_TRUE(cut.endOfStream().has_value());
    EXPECT_EQ(cut.endOfStream()->type, QStringLiteral("CutOffAnswer"));

    ChatStreamDecoder unfinished;
    unfinished.feed(chunk("The answer"));
    EXPECT_EQ(unfinished.endOfStream()->type, QStringLiteral("IncompleteStream"));

    ChatStreamDecoder empty;
    empty.feed("data: [DONE]\n\n");
    EXPECT_EQ(empty.endOfStream(),
              (LocalModelError{"EmptyAnswer", "The local model returned no answer."}));
}

TEST(ChatStream, AnEndlessStreamStopsAtTheCapOfTheWholeAnswers) {
    ChatStreamDecoder decoder;
    decoder.feed(chunk("Hi"));
    const QByteArray piece(1024 * 1024, 'x'); // one line that never ends
    for (qint64 fed = 0; fed <= localmodel::maxResponseBytes; fed += piece.size()) {
        decoder.feed(piece);
    }
    EXPECT_EQ(decoder.text(), QStringLiteral("Hi"));
    EXPECT_EQ(decoder.endOfStream(), localTooLargeError());
    EXPECT_EQ(localTooLargeError().description,
              QStringLiteral("The local model server's answer was too large."));
}

TEST(LocalStructuredAnswers, ValidDirectiveIsRead) {
    const auto parsed = parseLocalAnnotationAnswer(completion(validDirective));
    ASSERT_TRUE(std::holds_alternative<AICanvasDirectivePublic>(parsed));
    const auto& d = std::get<AICanvasDirectivePublic>(parsed);
    EXPECT_TRUE(d.shouldDraw);
    EXPECT_EQ(d.shape, QStringLiteral("oval"));
    EXPECT_EQ(d.x, 12);
    EXPECT_EQ(d.height, 40);
    EXPECT_EQ(d.cornerRadius, -1);
    EXPECT_EQ(d.summary, QStringLiteral("Circled the total"));
}

TEST(LocalStructuredAnswers, CutOffOrInvalidAnswersAreErrors) {
    const auto type = [](const auto& result) {
        return std::get<LocalModelError>(result).type.toStdString();
    };
    EXPECT_EQ(type(parseLocalAnnotationAnswer(completion(R"({"shouldDraw":true,"oper)", "length"))),
              "CutOffAnswer");
    EXPECT_EQ(type(parseLocalAnnotationAnswer(completion("Sure! I drew it."))), "InvalidAnswer");
    EXPECT_EQ(type(parseLocalAnnotationAnswer(completion(""))), "EmptyAnswer");

    std::string missing = validDirective;
    missing.replace(missing.find(R"(,"summary":"Circled the total")"), 30, "");
    EXPECT_EQ(
        std::get<LocalModelError>(parseLocalAnnotationAnswer(completion(missing))).description,
        QStringLiteral("The local model's answer is not a valid AICanvasDirective "
                       "(\"summary\" is missing)."));
    std::string wrongType = validDirective;
    wrongType.replace(wrongType.find(R"("x":12)"), 6, R"("x":"12")");
    EXPECT_EQ(
        std::get<LocalModelError>(parseLocalAnnotationAnswer(completion(wrongType))).description,
        QStringLiteral("The local model's answer is not a valid AICanvasDirective "
                       "(\"x\": expected integer)."));
    std::string wrongEnum = validDirective;
    wrongEnum.replace(wrongEnum.find(R"("create")"), 8, R"("move")");
    EXPECT_EQ(type(parseLocalAnnotationAnswer(completion(wrongEnum))), "InvalidAnswer");

    EXPECT_EQ(std::get<LocalModelError>(parseLocalAnnotationAnswer(
                  R"({"error":{"message":"boom","type":"server_error"}})")),
              (LocalModelError{"server_error", "boom"}));
}

TEST(LocalStructuredAnswers, FilterAndRoute) {
    const auto filter = parseLocalFilterAnswer(completion(
        R"({"shouldApply":true,"kind":"sharpen","strength":0.7,"summary":"Sharpened."})"));
    ASSERT_TRUE(std::holds_alternative<FilterDirectivePublic>(filter));
    EXPECT_EQ(std::get<FilterDirectivePublic>(filter).kind, QStringLiteral("sharpen"));
    EXPECT_DOUBLE_EQ(std::get<FilterDirectivePublic>(filter).strength, 0.7);

    EXPECT_TRUE(std::holds_alternative<LocalModelError>(parseLocalFilterAnswer(
        completion(R"({"shouldApply":true,"kind":"sharpen","strength":1.5,"summary":"x"})"))));
    EXPECT_TRUE(std::holds_alternative<LocalModelError>(parseLocalFilterAnswer(
        completion(R"({"shouldApply":true,"kind":"rotate","strength":0.5,"summary":"x"})"))));
    EXPECT_TRUE(std::holds_alternative<LocalModelError>(parseLocalFilterAnswer(completion(
        R"({"shouldApply":true,"kind":"blur","strength":0.5,"summary":"x","extra":1})"))));

    EXPECT_EQ(std::get<QueryRoute>(parseLocalRouteAnswer(completion(R"({"route":"imageEdit"})"))),
              QueryRoute::imageEdit);
    EXPECT_TRUE(std::holds_alternative<LocalModelError>(
        parseLocalRouteAnswer(completion(R"({"route":"edit"})"))));
}
