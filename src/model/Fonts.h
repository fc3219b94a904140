#pragma once

#include <QFont>
#include <QString>
#include <QStringList>

namespace vellumix {

/// Font style names as stored in annotations and styles; matched exactly, case included.
namespace FontStyleNames {
inline const QString regular = QStringLiteral("Regular");
inline const QString bold = QStringLiteral("Bold");
inline const QString italic = QStringLiteral("Italic");
inline const QString boldItalic = QStringLiteral("Bold Italic");
} // namespace FontStyleNames

/// The family name that stands for the desktop's user-interface font.
inline const QString systemFontFamily = QStringLiteral("System");

/// The installed fonts, as far as font resolution needs them.
class FontCatalogue {
public:
    virtual ~FontCatalogue() = default;

    /// The family of the desktop's default user-interface font.
    virtual QString systemFamily() const = 0;
    /// Whether `family` has a member with exactly these traits at the normal or bold weight.
    virtual bool hasMember(const QString& family, bool bold, bool italic) const = 0;
    /// Installed family names, sorted.
    virtual QStringList families() const = 0;
};

/// The fonts Qt knows about (fontconfig on Linux).
class QtFontCatalogue final : public FontCatalogue {
public:
    QString systemFamily() const override;
    bool hasMember(const QString& family, bool bold, bool italic) const override;
    QStringList families() const override;
};

/// A resolved font as plain values, convertible to a QFont.
struct FontDescriptor {
    QString family;
    bool bold = false;
    bool italic = false;
    double pointSize = 16;

    QFont toQFont() const;
    friend bool operator==(const FontDescriptor&, const FontDescriptor&) = default;
};

/// Resolves a (family, style, size) triple. "System" is the desktop font made bold and then
/// italic where the style asks and the family allows; any other family must have a member with
/// the asked traits, else the regular system font of that size is used.
FontDescriptor resolveFont(const FontCatalogue& catalogue, const QString& family,
                           const QString& style, double size);

/// Resolution against the installed fonts.
QFont resolveFont(const QString& family, const QString& style, double size);

} // namespace vellumix
