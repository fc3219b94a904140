#include "EditorModel.h"

#include <algorithm>
#include <cmath>

namespace vellumix {

namespace {

constexpr double zoomBase = 1.25;
// Keeps a magnification that already is a power of 1.25 from counting as just below it.
constexpr double stepTolerance = 0.000001;

double zoomExponent(double magnification) {
    return std::log(magnification) / std::log(zoomBase);
}

} // namespace

double zoomInStep(double magnification) {
    return std::pow(zoomBase, std::floor(zoomExponent(magnification) + stepTolerance) + 1);
}

double zoomOutStep(double magnification) {
    return std::pow(zoomBase, std::ceil(zoomExponent(magnification) - stepTolerance) - 1);
}

double EditorModel::zoomIn() {
    Batch batch(*this);
    m_magnification = std::clamp(zoomInStep(m_magnification), m_geometry.minimumMagnification,
                                 m_geometry.maximumMagnification);
    return m_magnification;
}

double EditorModel::zoomOut() {
    Batch batch(*this);
    m_magnification = std::clamp(zoomOutStep(m_magnification), m_geometry.minimumMagnification,
                                 m_geometry.maximumMagnification);
    return m_magnification;
}

void EditorModel::magnificationDidEnd(double magnification) {
    if (!std::isfinite(magnification) || magnification <= 0) {
        return;
    }
    Batch batch(*this);
    m_magnification =
        std::clamp(magnification, m_geometry.minimumMagnification, m_geometry.maximumMagnification);
}

} // namespace vellumix
