#include "Color.h"

#include <algorithm>

namespace vellumix {

namespace {
double clampUnit(double v) {
    return std::clamp(v, 0.0, 1.0);
}
} // namespace

Color Color::opaque() const {
    if (isClear()) {
        return clear();
    }
    return {red, green, blue, 1};
}

Color Color::converted(const std::optional<Color>& rgbSource,
                       std::optional<double> newAlpha) const {
    // Colours are stored in sRGB already, so the conversion to sRGB cannot fail and is the
    // identity; only the component selection remains.
    const Color& rgbFrom = rgbSource ? *rgbSource : *this;
    return {rgbFrom.red, rgbFrom.green, rgbFrom.blue, newAlpha ? *newAlpha : alpha};
}

QColor Color::toQColor() const {
    return QColor::fromRgbF(
        static_cast<float>(clampUnit(red)), static_cast<float>(clampUnit(green)),
        static_cast<float>(clampUnit(blue)), static_cast<float>(clampUnit(alpha)));
}

Color Color::fromQColor(const QColor& color) {
    const QColor srgb = color.spec() == QColor::Rgb ? color : color.toRgb();
    return {srgb.redF(), srgb.greenF(), srgb.blueF(), srgb.alphaF()};
}

} // namespace vellumix
