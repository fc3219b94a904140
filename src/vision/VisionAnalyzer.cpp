#include "VisionAnalyzer.h"

#include "process/Modules.h"
#include "vision/VisionModule.h"

#include <thread>

namespace vellumix::VisionAnalyzer {

VisionAnalysis analyze(const QImage& image, const std::atomic<bool>* cancelled) {
    const auto* module = loadModule<VisionModule>("vision");
    return module ? module->analyze(image, cancelled) : VisionAnalysis{};
}

void prepare() {
    // Loading the module maps Tesseract and OpenCV: off the calling thread too.
    std::thread([] {
        if (const auto* module = loadModule<VisionModule>("vision")) {
            module->prepare();
        }
    }).detach();
}

} // namespace vellumix::VisionAnalyzer
