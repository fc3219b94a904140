#include "library/StyleLibrary.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vellumix;
using nlohmann::json;

namespace {

class StyleLibraryTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QDateTime now = QDateTime(QDate(2025, 3, 7), QTime(14, 25, 1), Qt::UTC);
    StyleLibrary library{dir.path(), [this] { return now; }};

    nlohmann::ordered_json file(const QString& name) const {
        QFile f(QDir(dir.path()).filePath(name));
        f.open(QIODevice::ReadOnly);
        return nlohmann::ordered_json::parse(f.readAll().toStdString());
    }
    void writeFile(const QString& name, const QByteArray& text) const {
        QFile f(QDir(dir.path()).filePath(name));
        f.open(QIODevice::WriteOnly);
        f.write(text);
    }
};

AnnotationStyle styleWithWidth(double width) {
    AnnotationStyle style;
    style.lineWidth = width;
    return style;
}

} // namespace

TEST_F(StyleLibraryTest, StylesRoundTripWithoutAlphaOrLineStyle) {
    AnnotationStyle text;
    text.fillColor = Color::clear();
    text.fontColor = Color::clear();
    text.strokeColor = Color::rgb(0.25, 0.5, 0.75, 0.4);
    text.lineStyle = LineStyle::dashed;
    text.alignment = TextAlignment::center;
    text.opacity = 0.4;
    library.saveStyles({{Tool::text, text}, {Tool::arrow, AnnotationStyle()}});

    const auto stored = file("styles.json");
    EXPECT_FALSE(stored["text"].contains("fillColor"));
    EXPECT_EQ(stored["text"]["alignment"], 1);
    EXPECT_EQ(stored["text"].begin().key(), "strokeColor"); // keys in field order

    const ToolStyles loaded = library.loadStyles();
    ASSERT_EQ(loaded.size(), 2u);
    const AnnotationStyle& back = loaded.at(Tool::text);
    EXPECT_EQ(back.strokeColor, Color::rgb(0.25, 0.5, 0.75));
    EXPECT_EQ(back.fillColor, Color::clear());
    EXPECT_EQ(back.fontColor, SystemColors::red); // a clear font colour comes back red
    EXPECT_EQ(back.lineStyle, LineStyle::solid);
    EXPECT_EQ(back.opacity, 0.4);
    EXPECT_EQ(back.alignment, TextAlignment::center);
}

TEST_F(StyleLibraryTest, UnknownToolsAreIgnoredAndBadFilesReadEmpty) {
    writeFile(
        "styles.json",
        R"({"rect":{"lineWidth":3,"cornerRadius":0,"opacity":1,"fontFamily":"System",)"
        R"("fontStyle":"Regular","fontSize":16,"alignment":0,"textPadding":6,)"
        R"("strokeColor":[1,0]},"laser":{"lineWidth":3,"cornerRadius":0,"opacity":1,)"
        R"("fontFamily":"System","fontStyle":"Regular","fontSize":16,"alignment":0,"textPadding":6}})");
    const ToolStyles styles = library.loadStyles();
    ASSERT_EQ(styles.size(), 1u);
    EXPECT_EQ(styles.at(Tool::rect).strokeColor, SystemColors::red); // wrong component count

    writeFile("styles.json", R"({"rect":{"lineWidth":3}})"); // required keys missing
    EXPECT_TRUE(library.loadStyles().empty());
    writeFile("presets.json", "not json");
    EXPECT_TRUE(library.loadPresets().empty());
}

TEST_F(StyleLibraryTest, PresetsKeepTheNewestFivePerTool) {
    library.addPreset(styleWithWidth(99), Tool::arrow);
    for (int i = 1; i <= 6; ++i) {
        now = now.addSecs(60);
        library.addPreset(styleWithWidth(i), Tool::rect);
    }
    const ToolPresets presets = library.loadPresets();
    const auto& rect = presets.at(Tool::rect);
    ASSERT_EQ(rect.size(), 5u);
    EXPECT_EQ(rect.front().style.lineWidth, 6);
    EXPECT_EQ(rect.back().style.lineWidth, 2);
    EXPECT_EQ(rect.front().savedAt, now);
    EXPECT_EQ(rect.front().id.size(), 36);
    EXPECT_EQ(rect.front().id, rect.front().id.toUpper());
    EXPECT_EQ(presets.at(Tool::arrow).size(), 1u);

    // Dates are seconds since 2001-01-01 UTC: 2025-03-07 14:31:01 is 763050661.
    EXPECT_DOUBLE_EQ(file("presets.json")["rect"][0]["savedAt"].get<double>(), 763050661.0);
}

TEST_F(StyleLibraryTest, DeletingRemovesByIdAndKeepsTheToolKey) {
    library.addPreset(styleWithWidth(1), Tool::oval);
    const QString id = library.loadPresets().at(Tool::oval).front().id;
    library.deletePreset(id, Tool::oval);
    library.deletePreset(id, Tool::oval); // already gone: the file is just rewritten
    const ToolPresets presets = library.loadPresets();
    ASSERT_EQ(presets.count(Tool::oval), 1u);
    EXPECT_TRUE(presets.at(Tool::oval).empty());
}
