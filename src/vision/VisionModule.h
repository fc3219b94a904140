#pragma once

#include "ai/VisionAnalysis.h"

#include <QImage>

#include <atomic>

namespace vellumix {

/// The entry points of the vision module (Tesseract, OpenCV): see VisionAnalyzer.h.
struct VisionModule {
    VisionAnalysis (*analyze)(const QImage& image, const std::atomic<bool>* cancelled);
    void (*prepare)();
};

} // namespace vellumix
