#include "codecs/CodecsModule.h"

#include "codecs/CodecLibraries.h"
#include "process/ModuleExport.h"

namespace {

const vellumix::CodecsModule entryPoints{
    &vellumix::codecs::heicEncoderAvailable,
    &vellumix::codecs::encodeHeic,
    &vellumix::codecs::decodeHeic,
    &vellumix::codecs::encodeWebp,
};

} // namespace

VELLUMIX_MODULE_ENTRY(codecs, entryPoints)
