#pragma once

#include <QImage>
#include <QPointF>
#include <QString>

#include <array>
#include <optional>

namespace vellumix {

/// The entry points of the imaging module (OpenCV): see ImageFilters.h for what each does.
struct ImagingModule {
    std::optional<QImage> (*applyFilter)(const QImage& image, const QString& kind, double strength);
    std::optional<QImage> (*autoEnhance)(const QImage& image);
    std::optional<QImage> (*straightenDocument)(const QImage& image);
    std::optional<std::array<QPointF, 4>> (*findDocument)(const QImage& image);
};

} // namespace vellumix
