#include "platform/CodecsModule.h"

#include "modules/ModuleExport.h"
#include "platform/CodecLibraries.h"

namespace {

const vellumix::CodecsModule entryPoints{
    &vellumix::codecs::heicEncoderAvailable,
    &vellumix::codecs::encodeHeic,
    &vellumix::codecs::decodeHeic,
    &vellumix::codecs::encodeWebp,
};

} // namespace

VELLUMIX_MODULE_ENTRY(codecs, entryPoints)
