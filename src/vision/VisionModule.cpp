#include "vision/VisionModule.h"

#include "process/ModuleExport.h"
#include "vision/VisionAnalyzer+Detail.h"

namespace {

const vellumix::VisionModule entryPoints{
    &vellumix::vision::detail::analyzeImage,
    &vellumix::vision::detail::prepareEngines,
};

} // namespace

VELLUMIX_MODULE_ENTRY(vision, entryPoints)
