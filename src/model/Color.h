#pragma once

#include <QColor>

#include <optional>

namespace vellumix {

/// An RGBA colour in sRGB with four double components in 0...1. Opacity lives in the alpha;
/// a colour with alpha 0 is clear and is never drawn. Kept as doubles (not QColor) so that
/// comparisons and file round trips are exact.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    static constexpr Color rgb(double r, double g, double b, double a = 1) { return {r, g, b, a}; }
    static constexpr Color clear() { return {0, 0, 0, 0}; }
    static constexpr Color white() { return {1, 1, 1, 1}; }
    static constexpr Color black() { return {0, 0, 0, 1}; }

    bool isClear() const { return alpha <= 0; }

    /// The same colour with alpha 1, or clear when this colour is clear.
    Color opaque() const;

    /// The one conversion used for alpha changes: RGB from `rgbSource` (or this colour), alpha
    /// from `newAlpha` (or this colour's alpha).
    Color converted(const std::optional<Color>& rgbSource, std::optional<double> newAlpha) const;
    Color withAlpha(double newAlpha) const { return converted(std::nullopt, newAlpha); }

    /// For painting; QColor's 16-bit channels are precise enough for display.
    QColor toQColor() const;
    static Color fromQColor(const QColor& color);

    friend bool operator==(const Color&, const Color&) = default;
};

/// The desktop's named accent colours. Components have three decimals so that they survive the
/// three-decimal rounding of saved files unchanged.
namespace SystemColors {
inline constexpr Color red = Color::rgb(0.878, 0.106, 0.141);  // #E01B24
inline constexpr Color blue = Color::rgb(0.208, 0.518, 0.894); // #3584E4
inline constexpr Color orange = Color::rgb(1.0, 0.471, 0.0);   // #FF7800
inline constexpr Color green = Color::rgb(0.2, 0.82, 0.478);   // #33D17A
} // namespace SystemColors

} // namespace vellumix
