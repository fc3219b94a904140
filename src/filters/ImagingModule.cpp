#include "filters/ImagingModule.h"

#include "filters/ImageFilters+Support.h"
#include "process/ModuleExport.h"

namespace {

const vellumix::ImagingModule entryPoints{
    &vellumix::filters::opencv::applyFilter,
    &vellumix::filters::opencv::autoEnhance,
    &vellumix::filters::opencv::straightenDocument,
    &vellumix::filters::opencv::findDocument,
};

} // namespace

VELLUMIX_MODULE_ENTRY(imaging, entryPoints)
