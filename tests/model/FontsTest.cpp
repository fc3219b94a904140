#include "model/Fonts.h"

#include <QFontDatabase>
#include <QFontInfo>

#include <gtest/gtest.h>
#include <set>
#include <tuple>

using namespace vellumix;

namespace {

// Families with an explicit set of (bold, italic) members.
class FakeCatalogue final : public FontCatalogue {
public:
    std::set<std::tuple<QString, bool, bool>> members;
    QString system = QStringLiteral("UI Sans");

    QString systemFamily() const override { return system; }
    bool hasMember(const QString& family, bool bold, bool italic) const override {
        return members.count({family, bold, italic}) > 0;
    }
    QStringList families() const override { return {}; }
};

} // namespace

TEST(FontResolution, SystemFamilyTakesBoldThenItalicWhereAvailable) {
    FakeCatalogue fonts;
    fonts.members = {{"UI Sans", false, false}, {"UI Sans", true, false}, {"UI Sans", true, true}};
    EXPECT_EQ(resolveFont(fonts, "System", "Bold Italic", 16),
              (FontDescriptor{"UI Sans", true, true, 16}));
    // No upright-italic member: the italic conversion is impossible and the font stays upright.
    EXPECT_EQ(resolveFont(fonts, "System", "Italic", 12),
              (FontDescriptor{"UI Sans", false, false, 12}));
    EXPECT_EQ(resolveFont(fonts, "System", "Bold", 20),
              (FontDescriptor{"UI Sans", true, false, 20}));
}

TEST(FontResolution, StyleNamesAreMatchedExactly) {
    FakeCatalogue fonts;
    fonts.members = {{"Serifa", false, false}, {"Serifa", true, false}};
    EXPECT_EQ(resolveFont(fonts, "Serifa", "bold", 16),
              (FontDescriptor{"Serifa", false, false, 16}));
    EXPECT_EQ(resolveFont(fonts, "Serifa", "Heavy", 16),
              (FontDescriptor{"Serifa", false, false, 16}));
    EXPECT_EQ(resolveFont(fonts, "Serifa", "Bold", 16),
              (FontDescriptor{"Serifa", true, false, 16}));
}

TEST(FontResolution, MissingFamilyOrMemberFallsBackToTheRegularSystemFont) {
    FakeCatalogue fonts;
    fonts.members = {{"Serifa", false, false}};
    EXPECT_EQ(resolveFont(fonts, "Nonexistent", "Bold", 16),
              (FontDescriptor{"UI Sans", false, false, 16}));
    EXPECT_EQ(resolveFont(fonts, "Serifa", "Bold Italic", 9),
              (FontDescriptor{"UI Sans", false, false, 9}));
}

// Against the installed fonts (DejaVu is part of the setup).
TEST(FontResolution, RealCatalogueResolvesInstalledAndMissingFamilies) {
    QtFontCatalogue catalogue;
    ASSERT_TRUE(QFontDatabase::hasFamily(QStringLiteral("DejaVu Sans")));
    EXPECT_TRUE(catalogue.hasMember("DejaVu Sans", true, true));
    EXPECT_TRUE(catalogue.hasMember("DejaVu Sans", false, false));
    EXPECT_FALSE(catalogue.hasMember("No Such Family 9000", false, false));

    const QFont bold = resolveFont("DejaVu Sans", "Bold", 16);
    EXPECT_EQ(QFontInfo(bold).family(), QStringLiteral("DejaVu Sans"));
    EXPECT_TRUE(QFontInfo(bold).bold());
    EXPECT_DOUBLE_EQ(bold.pointSizeF(), 16);

    const QFont missing = resolveFont("No Such Family 9000", "Bold", 16);
    EXPECT_EQ(missing.family(), catalogue.systemFamily());
    EXPECT_FALSE(missing.bold());
    EXPECT_DOUBLE_EQ(missing.pointSizeF(), 16);

    const QFont system = resolveFont("System", "Bold Italic", 16);
    EXPECT_EQ(system.family(), catalogue.systemFamily());
    EXPECT_TRUE(system.bold());
}
