#include "desktop/GioFolderIcon.h"

#include "desktop/GioModule.h"
#include "process/Modules.h"

namespace vellumix {

// GIO (with GObject and the mount libraries under it) loads with its module when the first
// bundle folder gets its icon, not with the program.
void setFolderIconWithGio(const QString& folderPath, const std::vector<QImage>& representations) {
    if (const GioModule* module = loadModule<GioModule>("gio")) {
        module->setFolderIcon(folderPath, representations);
    }
}

} // namespace vellumix
