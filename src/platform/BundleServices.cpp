#include "BundleServices.h"

#include "FastPngEncoder.h"
#include "GioFolderIcon.h"

namespace vellumix {

BundleServices platformBundleServices() {
    return {encodePngFast, setFolderIconWithGio};
}

} // namespace vellumix
