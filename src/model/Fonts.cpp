#include "Fonts.h"

#include <QFontDatabase>
#include <QFontInfo>

namespace vellumix {

namespace {

bool wantsBold(const QString& style) {
    return style == FontStyleNames::bold || style == FontStyleNames::boldItalic;
}

bool wantsItalic(const QString& style) {
    return style == FontStyleNames::italic || style == FontStyleNames::boldItalic;
}

} // namespace

QString QtFontCatalogue::systemFamily() const {
    // The configured name may be an alias ("Sans Serif"); the matched family is what has members.
    return QFontInfo(QFontDatabase::systemFont(QFontDatabase::GeneralFont)).family();
}

bool QtFontCatalogue::hasMember(const QString& family, bool bold, bool italic) const {
    if (!QFontDatabase::hasFamily(family)) {
        return false;
    }
    const QStringList styles = QFontDatabase::styles(family);
    for (const QString& style : styles) {
        // Oblique members count as italic: both are the slanted trait.
        const bool styleItalic =
            QFontDatabase::font(family, style, 12).style() != QFont::StyleNormal;
        const int weight = QFontDatabase::weight(family, style);
        const bool styleBold = weight >= QFont::DemiBold;
        // Only the normal and bold weights count; light, medium and black members do not.
        const bool normalWeight = weight == QFont::Normal;
        if (styleItalic == italic &&
            (bold ? styleBold && weight <= QFont::ExtraBold : normalWeight)) {
            return true;
        }
    }
    return false;
}

QStringList QtFontCatalogue::families() const {
    QStringList list = QFontDatabase::families();
    list.sort(Qt::CaseInsensitive);
    return list;
}

QFont FontDescriptor::toQFont() const {
    QFont font(family);
    font.setPointSizeF(pointSize > 0 ? pointSize : 1);
    font.setWeight(bold ? QFont::Bold : QFont::Normal);
    font.setItalic(italic);
    return font;
}

FontDescriptor resolveFont(const FontCatalogue& catalogue, const QString& family,
                           const QString& style, double size) {
    const bool bold = wantsBold(style);
    const bool italic = wantsItalic(style);
    const QString systemFamily = catalogue.systemFamily();

    if (family == systemFontFamily) {
        FontDescriptor font{systemFamily, bold, false, size};
        // The italic trait is added only where the system family has such a member; otherwise
        // the font stays upright.
        if (italic && catalogue.hasMember(systemFamily, bold, true)) {
            font.italic = true;
        }
        return font;
    }
    if (catalogue.hasMember(family, bold, italic)) {
        return {family, bold, italic, size};
    }
    return {systemFamily, false, false, size};
}

QFont resolveFont(const QString& family, const QString& style, double size) {
    static const QtFontCatalogue catalogue;
    return resolveFont(catalogue, family, style, size).toQFont();
}

} // namespace vellumix
