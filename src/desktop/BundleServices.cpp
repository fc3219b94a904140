#include "BundleServices.h"

#include "GioFolderIcon.h"
#include "codecs/FastPngEncoder.h"

namespace vellumix {

BundleServices platformBundleServices() {
    return {encodePngFast, setFolderIconWithGio};
}

} // namespace vellumix
