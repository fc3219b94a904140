#pragma once

#include <QRectF>
#include <QSizeF>

#include <optional>

namespace vellumix {

/// The editor window's fixed measures and the geometry it opens with, in logical
/// (device-independent) pixels.
namespace editorLayout {

inline constexpr double toolbarHeight = 44;
inline constexpr double subToolbarHeight = 36;
inline constexpr double footerHeight = 56;
/// Height of everything around the canvas area.
inline constexpr double chromeHeight = toolbarHeight + subToolbarHeight + footerHeight;
/// The canvas area keeps this margin around the image.
inline constexpr double imageMargin = 40;
/// Part of the visible screen frame a new window may take.
inline constexpr double screenShare = 0.85;
/// The canvas area's smallest opening size.
inline constexpr QSizeF minimumCanvasArea{800, 400};
/// The space for the image when there is no screen to measure.
inline constexpr QSizeF availableWithoutScreen{1184, 589};
inline constexpr QSizeF minimumContentSize{600, 236};
inline constexpr double minimumMagnification = 0.25;
inline constexpr double maximumMagnification = 4;

/// Where the image may go on a screen whose visible frame (without panels) is given.
QSizeF availableSize(const std::optional<QRectF>& visibleFrame);

/// Scale that shows the whole image in the available space, never enlarging it.
double fitScale(QSizeF imageSize, const std::optional<QRectF>& visibleFrame);

/// The window's opening geometry for an image.
struct OpeningGeometry {
    double fitScale = 1;
    /// The window's content size (toolbars, canvas area and footer).
    QSizeF contentSize;
    double minimumMagnification = editorLayout::minimumMagnification;
    double maximumMagnification = editorLayout::maximumMagnification;
};

/// The fit scale, the content size around the scaled image, and the scroll view's
/// magnification limits (the minimum drops to the fit scale when that is smaller).
OpeningGeometry openingGeometry(QSizeF imageSize, const std::optional<QRectF>& visibleFrame);

} // namespace editorLayout

} // namespace vellumix
