#include "capture/CaptureGeometry.h"

#include <algorithm>
#include <cmath>

namespace vellumix::capture {

namespace {

// Products such as 0.1 × 1.1 land a hair off the whole number they stand for; without this
// slack a selection ending exactly on a pixel boundary would grow by one pixel.
constexpr double boundarySlack = 1e-6;

constexpr double labelOffsetBelowCursor = 14.0;
constexpr double labelEdgeMargin = 4.0;

} // namespace

QRectF selectionFromDrag(QPointF start, QPointF end, const QRectF& bounds) {
    const auto clampX = [&](double x) { return std::clamp(x, bounds.left(), bounds.right()); };
    const auto clampY = [&](double y) { return std::clamp(y, bounds.top(), bounds.bottom()); };
    const double left = clampX(std::min(start.x(), end.x()));
    const double right = clampX(std::max(start.x(), end.x()));
    const double top = clampY(std::min(start.y(), end.y()));
    const double bottom = clampY(std::max(start.y(), end.y()));
    return QRectF(QPointF(left, top), QPointF(right, bottom));
}

bool isSelectionTooSmall(const QRectF& selection) {
    return selection.width() <= minimumSelectionExtent ||
           selection.height() <= minimumSelectionExtent;
}

QRect deviceCropRect(const QRectF& logicalSelection, const QRect& screenGeometry,
                     double devicePixelRatio, QSize grabSize) {
    if (devicePixelRatio <= 0 || grabSize.isEmpty()) {
        return {};
    }
    const QRectF local = logicalSelection.normalized().translated(-screenGeometry.topLeft());
    const auto first = [&](double logical) {
        return static_cast<long long>(std::floor(logical * devicePixelRatio + boundarySlack));
    };
    const auto pastLast = [&](double logical) {
        return static_cast<long long>(std::ceil(logical * devicePixelRatio - boundarySlack));
    };
    const long long left = std::clamp<long long>(first(local.left()), 0, grabSize.width());
    const long long top = std::clamp<long long>(first(local.top()), 0, grabSize.height());
    const long long right = std::clamp<long long>(pastLast(local.right()), 0, grabSize.width());
    const long long bottom = std::clamp<long long>(pastLast(local.bottom()), 0, grabSize.height());
    if (right <= left || bottom <= top) {
        return {};
    }
    return QRect(static_cast<int>(left), static_cast<int>(top), static_cast<int>(right - left),
                 static_cast<int>(bottom - top));
}

QString sizeLabelText(QSize pixelSize) {
    return QStringLiteral("%1 × %2 px").arg(pixelSize.width()).arg(pixelSize.height());
}

QRectF sizeLabelBox(QPointF cursor, QSizeF textSize, const QRectF& bounds) {
    const QSizeF box(textSize.width() + 2 * sizeLabelPadding,
                     textSize.height() + 2 * sizeLabelPadding);
    double x = cursor.x() - box.width() / 2;
    double y = cursor.y() + labelOffsetBelowCursor;
    // max after min: on a screen narrower than the box the left and top margins are kept.
    x = std::max(std::min(x, bounds.right() - labelEdgeMargin - box.width()),
                 bounds.left() + labelEdgeMargin);
    y = std::max(std::min(y, bounds.bottom() - labelEdgeMargin - box.height()),
                 bounds.top() + labelEdgeMargin);
    return QRectF(QPointF(x, y), box);
}

} // namespace vellumix::capture
