#include "library/Settings.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vellumix;
using nlohmann::json;

namespace {

class SettingsTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path() const { return dir.filePath("Vellumix/defaults.json"); }
    Settings settings{DefaultsStore(path())};

    void writeRaw(const QByteArray& text) {
        QDir().mkpath(dir.filePath("Vellumix"));
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
    }
    QByteArray readRaw(const QString& name) const {
        QFile file(name);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
};

} // namespace

TEST_F(SettingsTest, EmptyStoreGivesEveryDefault) {
    EXPECT_FALSE(settings.overrideNativeCapture());
    EXPECT_EQ(settings.captureKeyCode(), 22u);
    EXPECT_EQ(settings.captureModifierFlags(), 768u);
    EXPECT_TRUE(settings.showCursorCoords());
    EXPECT_TRUE(settings.closeAfterSave());
    EXPECT_FALSE(settings.retainLastStylePerType());
    EXPECT_EQ(settings.blankCanvasColor(), Color::black());
    EXPECT_EQ(settings.saveMode(), SaveMode::toDesktop);
    EXPECT_EQ(settings.aiProvider(), AIProvider::localModel);
    EXPECT_EQ(settings.localModelURL(), QStringLiteral("http://127.0.0.1:8080"));
    EXPECT_TRUE(settings.promptHistory().isEmpty());
    EXPECT_TRUE(settings.externalBundles().isEmpty());
    EXPECT_FALSE(QFile::exists(path())); // reading writes nothing
}

TEST_F(SettingsTest, ValuesKeepTheirJsonTypesAndRoundTrip) {
    settings.setShowCursorCoords(false);
    settings.setSaveMode(SaveMode::saveProject);
    settings.setAIProvider(AIProvider::googleGeminiPro);
    settings.setBlankCanvasColor(Color::rgb(0.1, 0.2, 0.3, 0.5));
    settings.chooseCustomShortcut(0x12, 0x1100);
    EXPECT_FALSE(settings.showCursorCoords());
    EXPECT_EQ(settings.saveMode(), SaveMode::saveProject);
    EXPECT_EQ(settings.aiProvider(), AIProvider::googleGeminiPro);
    EXPECT_EQ(settings.blankCanvasColor(), Color::rgb(0.1, 0.2, 0.3));
    EXPECT_EQ(settings.captureKeyCode(), 0x12u);

    const json file = json::parse(readRaw(path()).toStdString());
    EXPECT_TRUE(file["showCursorCoords"].is_boolean());
    EXPECT_EQ(file["saveMode"], "saveProject");
    EXPECT_EQ(file["blankCanvasColorRGB"], json::array({0.1, 0.2, 0.3}));
    EXPECT_TRUE(file["captureModifierFlags"].is_number_integer());

    settings.chooseNativeCaptureOverride();
    EXPECT_TRUE(settings.overrideNativeCapture());
    EXPECT_EQ(settings.captureKeyCode(), 0u);
    EXPECT_EQ(settings.captureModifierFlags(), 0u);
}

// A hand-edited file: each wrong value reads as its own default, the rest stays readable.
TEST_F(SettingsTest, WrongTypesReadAsDefaultsKeyByKey) {
    writeRaw(
        R"({"showCursorCoords":"no","closeAfterSave":false,"retainLastStylePerType":1,)"
        R"("blankCanvasColorRGB":[1,0,0,1],"saveMode":"SaveAs","aiProvider":"googleGeminiFlash",)"
        R"("captureKeyCode":4294967296,"captureModifierFlags":-1,"aiPromptHistory":"hi"})");
    EXPECT_TRUE(settings.showCursorCoords());
    EXPECT_FALSE(settings.closeAfterSave());
    EXPECT_FALSE(settings.retainLastStylePerType());
    EXPECT_EQ(settings.blankCanvasColor(), Color::black());
    EXPECT_EQ(settings.saveMode(), SaveMode::toDesktop);
    EXPECT_EQ(settings.aiProvider(), AIProvider::googleGeminiFlash);
    EXPECT_EQ(settings.captureKeyCode(), 22u);
    EXPECT_EQ(settings.captureModifierFlags(), 768u);
    EXPECT_TRUE(settings.promptHistory().isEmpty());

    writeRaw(
        R"({"blankCanvasColorRGB":[1,"0",0],"captureKeyCode":12.5,"captureModifierFlags":4294967295})");
    EXPECT_EQ(settings.blankCanvasColor(), Color::black());
    EXPECT_EQ(settings.captureKeyCode(), 22u);
    EXPECT_EQ(settings.captureModifierFlags(), 4294967295u);
}

TEST_F(SettingsTest, NonJsonFileReadsAsDefaultsAndIsKeptAsideOnWrite) {
    writeRaw("this is { not json");
    EXPECT_EQ(settings.saveMode(), SaveMode::toDesktop);
    EXPECT_TRUE(settings.closeAfterSave());
    EXPECT_EQ(readRaw(path()), QByteArray("this is { not json")); // reading touches nothing

    settings.setCloseAfterSave(false);
    EXPECT_FALSE(settings.closeAfterSave());
    EXPECT_EQ(readRaw(path() + ".corrupt"), QByteArray("this is { not json"));
    EXPECT_NO_THROW(json::parse(readRaw(path()).toStdString()));

    writeRaw("[1,2,3]"); // JSON, but not an object
    EXPECT_TRUE(settings.closeAfterSave());
}

TEST_F(SettingsTest, PromptHistorySkipsRepeatsAndKeepsTheNewestFifty) {
    settings.appendPrompt("  circle the button \n");
    settings.appendPrompt("circle the button");
    settings.appendPrompt("   ");
    EXPECT_EQ(settings.promptHistory(), QStringList{"circle the button"});
    settings.appendPrompt("B");
    settings.appendPrompt("circle the button");
    EXPECT_EQ(settings.promptHistory().size(), 3);
    for (int i = 0; i < 50; ++i) {
        settings.appendPrompt(QStringLiteral("prompt %1").arg(i));
    }
    const QStringList history = settings.promptHistory();
    ASSERT_EQ(history.size(), 50);
    EXPECT_EQ(history.front(), QStringLiteral("prompt 0"));
    EXPECT_EQ(history.back(), QStringLiteral("prompt 49"));
}

TEST_F(SettingsTest, LocalProviderAndServerAddress) {
    // A choice stored by an earlier build keeps meaning the local model.
    writeRaw(R"({"aiProvider":"appleIntelligence","localModelURL":"  http://10.0.0.2:9931 "})");
    EXPECT_EQ(settings.aiProvider(), AIProvider::localModel);
    EXPECT_EQ(settings.localModelURL(), QStringLiteral("http://10.0.0.2:9931"));

    settings.setAIProvider(AIProvider::localModel);
    settings.setLocalModelURL(QString());
    const json file = json::parse(readRaw(path()).toStdString());
    EXPECT_EQ(file["aiProvider"], "localModel");
    EXPECT_EQ(file["localModelURL"], "");
    EXPECT_EQ(settings.localModelURL(), QString()); // empty: the user turned it off

    writeRaw(R"({"localModelURL":8080})");
    EXPECT_EQ(settings.localModelURL(), QStringLiteral("http://127.0.0.1:8080"));
}
