#include "desktop/SecretServiceKeychain.h"
#include "support/Eventually.h"

#include <QProcess>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

// These run against a real Secret Service: the test command starts a private session bus with
// an unlocked throw-away gnome-keyring. Each test uses its own service name, so tests may run
// side by side.
class KeychainTest : public ::testing::Test {
protected:
    void SetUp() override {
        const QString keyring = qEnvironmentVariable("VELLUMIX_TEST_KEYRING");
        if (keyring.isEmpty()) {
            GTEST_SKIP() << "no test keyring; run through scripts/test.sh";
        }
        ASSERT_EQ(keyring, QStringLiteral("1")) << "the test keyring did not start";
    }
    static QString service(const char* name) {
        return QStringLiteral("vellumix.test.") + QLatin1String(name);
    }
    // What another Secret Service client sees.
    static QString lookup(const QString& service, const QString& account) {
        QProcess tool;
        tool.start("secret-tool", {"lookup", "server", service, "user", account});
        tool.waitForFinished(10000);
        return QString::fromUtf8(tool.readAllStandardOutput());
    }
};

} // namespace

TEST_F(KeychainTest, SaveReadReplaceAndDelete) {
    SecretServiceKeychain keychain(service("crud"));
    EXPECT_EQ(keychain.read("geminiAPIKey"), std::nullopt);
    EXPECT_TRUE(keychain.remove("geminiAPIKey")); // deleting nothing succeeds

    ASSERT_TRUE(keychain.save("first-key", "geminiAPIKey"));
    EXPECT_EQ(keychain.lastProblem(), QString());
    EXPECT_EQ(keychain.read("geminiAPIKey"), QStringLiteral("first-key"));
    EXPECT_EQ(lookup(service("crud"), "geminiAPIKey"), QStringLiteral("first-key"));
    ASSERT_TRUE(keychain.save("second-kéy", "geminiAPIKey"));
    EXPECT_EQ(keychain.read("geminiAPIKey"), QStringLiteral("second-kéy"));

    EXPECT_TRUE(keychain.remove("geminiAPIKey"));
    EXPECT_EQ(keychain.read("geminiAPIKey"), std::nullopt);
}

TEST_F(KeychainTest, ApiKeyFieldTrimsSavesAndDeletes) {
    SecretServiceKeychain keychain(service("field"));
    ApiKeyStore key(keychain);
    EXPECT_FALSE(key.hasKey());
    ASSERT_TRUE(key.setFromField("  AIza-example-key \n"));
    EXPECT_EQ(key.apiKey(), QStringLiteral("AIza-example-key"));
    ASSERT_TRUE(key.setFromField("    "));
    EXPECT_FALSE(key.hasKey());
    EXPECT_EQ(keychain.read(ApiKeyStore::account), std::nullopt);

    ASSERT_TRUE(keychain.save(QString(), ApiKeyStore::account));
    EXPECT_FALSE(key.hasKey()); // an empty stored value counts as none

    // A request's key: the environment's over the stored one, a blank variable as none.
    const auto keyWith = [&key](const char* variable) {
        const auto found = key.keyForRequest([variable](const char*) { return variable; });
        return found ? found->value + (found->stored ? "/stored" : "/env") : QStringLiteral("none");
    };
    EXPECT_EQ(keyWith(""), "none");
    ASSERT_TRUE(key.setFromField("AIza-stored"));
    EXPECT_EQ(keyWith(" AIza-env "), "AIza-env/env");
    EXPECT_EQ(keyWith(" "), "AIza-stored/stored");
}

// Whether a key is stored comes from the items' attributes, never by reading (and so unlocking)
// the item, and always after askStored has returned.
TEST_F(KeychainTest, AsksWhetherStoredWithoutReading) {
    SecretServiceKeychain keychain(service("ask"));
    const auto ask = [&keychain] {
        std::optional<std::optional<bool>> answer;
        keychain.askStored("geminiAPIKey", [&](std::optional<bool> stored) { answer = stored; });
        EXPECT_FALSE(answer.has_value()) << "answered before returning";
        EXPECT_TRUE(test::eventually([&] { return answer.has_value(); }));
        return answer.value_or(std::nullopt);
    };
    EXPECT_EQ(ask(), false);
    ASSERT_TRUE(keychain.save("a-key", "geminiAPIKey"));
    EXPECT_EQ(ask(), true);
    EXPECT_EQ(SecretServiceKeychain(service("other")).read("geminiAPIKey"), std::nullopt);
    ASSERT_TRUE(keychain.remove("geminiAPIKey"));
    EXPECT_EQ(ask(), false);
}

// Without any session bus the keychain answers "nothing" quickly instead of failing loudly; a
// Secret Service that never answers leaves the question open after the search's timeout.
TEST(KeychainWithoutService, FailuresAreValuesNotCrashes) {
    const QString probe = QStringLiteral(KEYCHAIN_PROBE_BINARY);
    const QString silent = QStringLiteral(SILENT_SECRET_SERVICE_BINARY);
    // The stand-in owns the name before the probe asks, and is stopped by its PID.
    const QString withSilentService =
        QStringLiteral("exec 3< <(exec \"$1\"); read -r ready <&3; \"$2\" ask; kill $!");
    const struct {
        QStringList command;
        bool bus;
        const char* printed;
    } cases[] = {
        {{probe},
         false,
         "read=none save=false\nNo keyring is running: start gnome-keyring or KWallet to store "
         "the key."},
        {{probe, "ask"}, false, "stored=no after-return=yes within-timeout=yes"},
        {{"dbus-run-session", "--", "bash", "-c", withSilentService, "-", silent, probe},
         true,
         "stored=unknown after-return=yes within-timeout=yes"},
    };
    for (const auto& c : cases) {
        QProcess process;
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.remove("DBUS_SESSION_BUS_ADDRESS");
        env.remove("DISPLAY");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        process.setProcessEnvironment(env);
        process.start(c.command.first(), c.command.mid(1));
        ASSERT_TRUE(process.waitForFinished(30000)) << c.printed;
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(QString::fromUtf8(process.readAllStandardOutput()).trimmed(),
                  QString::fromUtf8(c.printed));
    }
}
