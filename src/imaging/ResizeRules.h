#pragma once

#include <QSize>
#include <QString>
#include <QStringView>

#include <optional>

namespace vellumix::resizerules {

/// The resize dialog's aspect lock: on or off, and the width ÷ height it keeps while on.
struct AspectLock {
    bool locked = true;
    double ratio = 1;

    /// Locked at the image's own ratio (1 for an image without height).
    static AspectLock forSize(QSize size);

    /// Flips the lock. Turning it on re-captures the ratio from the fields when both hold
    /// numbers and the height is above 0; otherwise the previous ratio stays.
    void toggle(std::optional<int> width, std::optional<int> height);

    /// The height that goes with a width just typed: round(width ÷ ratio). None (leave the
    /// other field alone) when unlocked, without a ratio or without a positive width.
    std::optional<int> heightForWidth(std::optional<int> width) const;
    /// The width that goes with a height just typed: round(ratio × height).
    std::optional<int> widthForHeight(std::optional<int> height) const;

    /// "Aspect ratio locked — click to unlock" or "Aspect ratio unlocked — click to lock".
    QString toolTip() const;
};

/// Width ÷ height, or 1 when the height is 0.
double initialRatio(QSize size);

/// A field's whole number, or none when it holds anything else (empty included).
std::optional<int> parseDimension(QStringView text);

/// "—" when either side is below 1 or missing; the sides reduced by their greatest common
/// divisor joined by " : " when both are at most 99 ("16 : 9"); else "%.1f : 1" ("2.3 : 1").
QString aspectRatioLabel(std::optional<int> width, std::optional<int> height);

} // namespace vellumix::resizerules
