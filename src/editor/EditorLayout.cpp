#include "EditorLayout.h"

#include <algorithm>

namespace vellumix::editorLayout {

QSizeF availableSize(const std::optional<QRectF>& visibleFrame) {
    if (!visibleFrame) {
        return availableWithoutScreen;
    }
    // A screen too small for the window's chrome still leaves a positive scale.
    return {std::max(visibleFrame->width() * screenShare - imageMargin, 1.0),
            std::max(visibleFrame->height() * screenShare - chromeHeight - imageMargin, 1.0)};
}

double fitScale(QSizeF imageSize, const std::optional<QRectF>& visibleFrame) {
    const QSizeF available = availableSize(visibleFrame);
    double scale = 1;
    // An empty side puts no limit on the scale rather than dividing by zero.
    if (imageSize.width() > 0) {
        scale = std::min(scale, available.width() / imageSize.width());
    }
    if (imageSize.height() > 0) {
        scale = std::min(scale, available.height() / imageSize.height());
    }
    return scale;
}

OpeningGeometry openingGeometry(QSizeF imageSize, const std::optional<QRectF>& visibleFrame) {
    OpeningGeometry g;
    g.fitScale = fitScale(imageSize, visibleFrame);
    const double width =
        std::max(imageSize.width() * g.fitScale + imageMargin, minimumCanvasArea.width());
    const double height =
        std::max(imageSize.height() * g.fitScale + imageMargin, minimumCanvasArea.height());
    g.contentSize = QSizeF(width, height + chromeHeight);
    g.minimumMagnification = std::min(minimumMagnification, g.fitScale);
    g.maximumMagnification = maximumMagnification;
    return g;
}

} // namespace vellumix::editorLayout
