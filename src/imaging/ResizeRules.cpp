#include "ResizeRules.h"

#include <cmath>
#include <limits>
#include <numeric>

namespace vellumix::resizerules {

namespace {

// Reduced sides up to this are shown as a ratio of whole numbers.
constexpr int largestReducedSide = 99;

std::optional<int> roundedSide(double value) {
    if (!std::isfinite(value) || std::abs(value) > std::numeric_limits<int>::max()) {
        return std::nullopt;
    }
    return static_cast<int>(std::lround(value));
}

} // namespace

AspectLock AspectLock::forSize(QSize size) {
    return {true, initialRatio(size)};
}

void AspectLock::toggle(std::optional<int> width, std::optional<int> height) {
    locked = !locked;
    if (locked && width && height && *height > 0) {
        ratio = double(*width) / *height;
    }
}

std::optional<int> AspectLock::heightForWidth(std::optional<int> width) const {
    if (!locked || !(ratio > 0) || !width || *width <= 0) {
        return std::nullopt;
    }
    return roundedSide(*width / ratio);
}

std::optional<int> AspectLock::widthForHeight(std::optional<int> height) const {
    if (!locked || !(ratio > 0) || !height || *height <= 0) {
        return std::nullopt;
    }
    return roundedSide(ratio * *height);
}

QString AspectLock::toolTip() const {
    return locked ? QStringLiteral("Aspect ratio locked — click to unlock")
                  : QStringLiteral("Aspect ratio unlocked — click to lock");
}

double initialRatio(QSize size) {
    return size.height() == 0 ? 1 : double(size.width()) / size.height();
}

std::optional<int> parseDimension(QStringView text) {
    bool ok = false;
    const int value = text.trimmed().toInt(&ok);
    return ok ? std::optional<int>(value) : std::nullopt;
}

QString aspectRatioLabel(std::optional<int> width, std::optional<int> height) {
    if (!width || !height || *width < 1 || *height < 1) {
        return QStringLiteral("—");
    }
    const int divisor = std::gcd(*width, *height);
    const int w = *width / divisor;
    const int h = *height / divisor;
    if (w <= largestReducedSide && h <= largestReducedSide) {
        return QStringLiteral("%1 : %2").arg(w).arg(h);
    }
    return QString::asprintf("%.1f : 1", double(*width) / *height);
}

} // namespace vellumix::resizerules
