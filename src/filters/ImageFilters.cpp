#include "filters/ImageFilters.h"

#include "filters/ImagingModule.h"
#include "process/Modules.h"

// The filters run in the imaging module, which brings OpenCV in the first time one is used.
namespace vellumix::filters {

namespace {

const ImagingModule* imaging() {
    return loadModule<ImagingModule>("imaging");
}

} // namespace

std::optional<QImage> applyFilter(const QImage& image, const QString& kind, double strength) {
    const ImagingModule* module = imaging();
    return module ? module->applyFilter(image, kind, strength) : std::nullopt;
}

std::optional<QImage> autoEnhance(const QImage& image) {
    const ImagingModule* module = imaging();
    return module ? module->autoEnhance(image) : std::nullopt;
}

std::optional<QImage> straightenDocument(const QImage& image) {
    const ImagingModule* module = imaging();
    return module ? module->straightenDocument(image) : std::nullopt;
}

std::optional<std::array<QPointF, 4>> findDocument(const QImage& image) {
    const ImagingModule* module = imaging();
    return module ? module->findDocument(image) : std::nullopt;
}

} // namespace vellumix::filters
