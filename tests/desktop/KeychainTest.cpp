#include "desktop/SecretServiceKeychain.h"

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
}

// Without any session bus the keychain answers "nothing" quickly instead of failing loudly.
TEST(KeychainWithoutService, FailuresAreValuesNotCrashes) {
    const QString program = QStringLiteral(KEYCHAIN_PROBE_BINARY);
    QProcess probe;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.remove("DBUS_SESSION_BUS_ADDRESS");
    env.remove("DISPLAY");
    env.insert("QT_QPA_PLATFORM", "offscreen");
    probe.setProcessEnvironment(env);
    probe.start(program, {});
    ASSERT_TRUE(probe.waitForFinished(30000));
    EXPECT_EQ(probe.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(QString::fromUtf8(probe.readAllStandardOutput()).trimmed(),
              QStringLiteral("read=none save=false\nNo keyring is running: start gnome-keyring or "
                             "KWallet to store the key."));
}
