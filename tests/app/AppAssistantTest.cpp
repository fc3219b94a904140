#include "app/AppAssistant.h"

#include "ai/AssistantModule.h"
#include "app/DocumentOpener.h"
#include "library/Keychain.h"
#include "library/Settings.h"
#include "process/Modules.h"

#include <QTemporaryDir>
#include <QTest>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

// Answers whether a key is stored only when the test says so; counts reads, which may unlock
// the keyring and so must not happen for the prompt field.
class DeferredKeychain final : public Keychain {
public:
    mutable std::vector<std::function<void(std::optional<bool>)>> questions;
    mutable int reads = 0;

    std::optional<QString> read(const QString&) const override {
        ++reads;
        return QStringLiteral("a-key");
    }
    bool save(const QString&, const QString&) override { return true; }
    bool remove(const QString&) override { return true; }
    void askStored(const QString&, std::function<void(std::optional<bool>)> done) const override {
        questions.push_back(std::move(done));
    }
};

} // namespace

TEST(AppAssistant, PromptFieldFollowsTheKeyringsAnswerWithoutReadingTheKey) {
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    settings.setAIProvider(AIProvider::googleGeminiFlash);
    DocumentOpener opener(settings);
    DeferredKeychain keychain;
    AppAssistant assistant(opener, settings, keychain);
    const auto enabled = [&] { return opener.promptFieldState().enabled; };

    EXPECT_FALSE(enabled()); // no answer yet: no key
    EXPECT_FALSE(enabled());
    ASSERT_EQ(keychain.questions.size(), 1u); // one question at a time
    keychain.questions[0](true);
    EXPECT_TRUE(enabled());

    assistant.apiKeyChanged(); // asks again; the earlier question's late answer is ignored
    ASSERT_EQ(keychain.questions.size(), 2u);
    keychain.questions[0](true);
    EXPECT_FALSE(enabled());
    keychain.questions[1](false);
    EXPECT_FALSE(enabled());

    // A keyring that cannot tell leaves the field usable (the key is read when sent) and is
    // asked again by the next window.
    assistant.apiKeyChanged();
    keychain.questions.back()(std::nullopt);
    const size_t asked = keychain.questions.size();
    EXPECT_TRUE(enabled());
    EXPECT_EQ(keychain.questions.size(), asked + 1);
    EXPECT_TRUE(enabled()); // still usable while the new question is out
    EXPECT_EQ(keychain.reads, 0);
}

// The program reaches the model clients only through the assistant module: it loads, and its
// local client answers (here: nothing listens on the address).
TEST(AppAssistant, ModelClientsComeFromTheAssistantModule) {
    const auto* module = loadModule<AssistantModule>("assistant");
    ASSERT_NE(module, nullptr);
    EXPECT_NE(module->cloudClient({}), nullptr);
    LocalClientOptions options;
    options.baseUrls = {QStringLiteral("http://127.0.0.1:9")};
    options.log = [](const QString&) {};
    const auto local = module->localClient(options);
    ASSERT_NE(local, nullptr);
    std::optional<LocalModelStatus> status;
    const auto call = local->checkAvailability([&](LocalModelStatus s) { status = s; });
    ASSERT_TRUE(QTest::qWaitFor([&] { return status.has_value(); }, 5000));
    EXPECT_EQ(status->availability, LocalModelAvailability::serverNotRunning);
}
