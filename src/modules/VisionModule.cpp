#include "platform/VisionModule.h"

#include "modules/ModuleExport.h"
#include "platform/VisionAnalyzer+Detail.h"

namespace {

const vellumix::VisionModule entryPoints{
    &vellumix::vision::detail::analyzeImage,
    &vellumix::vision::detail::prepareEngines,
};

} // namespace

VELLUMIX_MODULE_ENTRY(vision, entryPoints)
