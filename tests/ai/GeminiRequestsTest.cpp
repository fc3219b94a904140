#include "ai/GeminiRequests.h"

#include <QRegularExpression>

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace vellumix;

TEST(GeminiRequests, UrlPathAndSendableKeys) {
    EXPECT_EQ(generateContentUrl("https://generativelanguage.googleapis.com", "gemini-3.5-flash")
                  .toString(),
              "https://generativelanguage.googleapis.com/v1beta/models/"
              "gemini-3.5-flash:generateContent");
    EXPECT_EQ(generateContentUrl(" http://127.0.0.1:9/proxy/ ", "gemini-3-pro-image").toString(),
              "http://127.0.0.1:9/proxy/v1beta/models/gemini-3-pro-image:generateContent");

    EXPECT_TRUE(isSendableApiKey("AIzaSyA-b_c 9"));
    EXPECT_FALSE(isSendableApiKey("key\r\nX-Injected: 1"));
    EXPECT_FALSE(isSendableApiKey("schlüssel"));
}

TEST(GeminiRequests, TheKeyTravelsOnlyOverHttpsOrToThisComputer) {
    const struct {
        const char* url;
        bool allowed;
    } cases[] = {
        {"https://generativelanguage.googleapis.com", true},
        {"HTTPS://proxy.example.org:8443/gemini/", true},
        {"http://127.0.0.1:9", true},
        {"http://127.45.0.3", true},
        {"http://localhost:8080", true},
        {"http://[::1]:9", true},
        {"http://generativelanguage.googleapis.com", false},
        {"http://192.168.1.5:8080", false},
        {"http://127.0.0.1.evil.example", false},
        {"http://127.0.0.1@evil.example", false}, // the loopback is only the user name
        {"ftp://127.0.0.1", false},
        {"127.0.0.1:9", false},
        {"", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(!insecureBaseUrlReason(c.url).has_value(), c.allowed) << c.url;
    }
    EXPECT_EQ(insecureBaseUrlReason("http://user:pw@proxy.example:80"),
              "The Gemini address must use https (plain http only to this computer), or the API "
              "key would travel in clear: http://proxy.example:80");
}

TEST(GeminiRequests, StatusTextsAndImageLogLine) {
    EXPECT_EQ(sendingStatus(1, 12288), "Sending image: ↑ 12 KB…");
    EXPECT_EQ(sendingStatus(2, 1536000), "Sending image & annotations: ↑ 1,500 KB…");
    EXPECT_EQ(sendingStatus(3, 300), "Sending image & annotations: ↑ 0 KB…");
    EXPECT_EQ(detectionSendingStatus(2048000), "Sending image: ↑ 2,000 KB…");
    EXPECT_EQ(encodedImageLogLine(0, QSize(640, 480), 1536),
              "[Gemini] image[0]: 640×480 px → PNG 1536 bytes (1.5 KB)");
    EXPECT_EQ(encodedImageLogLine(2, QSize(3000, 2000), 2621440),
              "[Gemini] image[2]: 3000×2000 px → PNG 2621440 bytes (2,560.0 KB)");
}

TEST(GeminiRequests, UploadTrackerFiresOnceAtTheFullCount) {
    int calls = 0;
    GeminiUploadCompletionTracker tracker;
    tracker.onUploadComplete = [&calls] { ++calls; };
    tracker.bytesSent(0, 0); // no expected total yet
    tracker.bytesSent(400, 1000);
    EXPECT_FALSE(tracker.fired);
    tracker.bytesSent(1000, 1000);
    tracker.bytesSent(1000, 1000); // the final count, reported again
    tracker.bytesSent(1200, 1000);
    EXPECT_TRUE(tracker.fired);
    EXPECT_EQ(calls, 1);
}

TEST(GeminiRequests, QuestionBodyLeavesOutAnEmptySystemInstruction) {
    // "PNG" and "x" stand in for image bytes: base64 "UE5H" and "eA==".
    EXPECT_EQ(questionRequestBody("Hi", {"PNG", "x"}, QString()),
              R"({"contents":[{"role":"user","parts":[{"text":"Hi"},)"
              R"({"inline_data":{"mime_type":"image/png","data":"UE5H"}},)"
              R"({"inline_data":{"mime_type":"image/png","data":"eA=="}}]}]})");
    EXPECT_EQ(imageEditRequestBody("Make it \"blue\"", {"PNG"}, QStringLiteral("Keep the size.")),
              R"({"contents":[{"role":"user","parts":[{"text":"Make it \"blue\""},)"
              R"({"inline_data":{"mime_type":"image/png","data":"UE5H"}}]}],)"
              R"("systemInstruction":{"parts":[{"text":"Keep the size."}]},)"
              R"("generationConfig":{"responseModalities":["IMAGE","TEXT"]}})");
}

// The answer's schema asks for every field it describes, so the model leaves none out.
TEST(GeminiRequests, DetectionSchemaRequiresEveryFieldItDescribes) {
    using nlohmann::json;
    const json body =
        json::parse(detectionRequestBody("box it", "PNG", QSize(30, 20)).toStdString());
    EXPECT_EQ(body["contents"][0]["parts"][0]["text"], "box it");
    const json& config = body["generationConfig"];
    EXPECT_EQ(config["responseMimeType"], "application/json");
    EXPECT_EQ(config["responseSchema"]["type"], "array");
    const json& item = config["responseSchema"]["items"];
    std::vector<std::string> described;
    for (const auto& [name, property] : item["properties"].items()) {
        described.push_back(name);
    }
    std::vector<std::string> required = item["required"];
    ASSERT_EQ(required.size(), 20u);
    std::sort(required.begin(), required.end());
    EXPECT_EQ(described, required); // properties iterate in key order
    EXPECT_EQ(item["properties"]["operation"]["enum"], json({"create", "delete", "update"}));
    EXPECT_EQ(item["properties"]["kind"]["enum"], json({"shape", "text"}));
}

TEST(GeminiRequests, DetectionInstructionNamesTheSizeAndGuidesEveryField) {
    const QString text = detectionInstruction(QSize(3000, 2000));
    EXPECT_TRUE(text.contains("The image is 3000 × 2000 pixels (origin at top-left, y grows "
                              "downward)."));
    const qsizetype textOnly =
        text.indexOf("\nTEXT-ONLY FIELDS (use empty/0 unless kind=\"text\"):\n");
    ASSERT_GT(textOnly, 0);
    const char* general[] = {"shouldDraw",   "operation", "targetId",  "kind",
                             "shape",        "x",         "y",         "width",
                             "height",       "color",     "fillColor", "lineWidth",
                             "cornerRadius", "opacity",   "lineStyle", "summary"};
    const char* textFields[] = {"text", "fontColor", "fontSize", "fontFamily"};
    const auto bullets = [&text](const char* field) {
        return text.count(QRegularExpression(QStringLiteral("(^|\\n)• %1:").arg(field)));
    };
    for (const char* field : general) {
        EXPECT_EQ(bullets(field), 1) << field;
        EXPECT_LT(text.indexOf(QStringLiteral("• %1:").arg(field)), textOnly) << field;
    }
    for (const char* field : textFields) {
        EXPECT_EQ(bullets(field), 1) << field;
        EXPECT_GT(text.indexOf(QStringLiteral("• %1:").arg(field)), textOnly) << field;
    }
    EXPECT_EQ(text.count("• "), 20);
}
