#pragma once

#include <QImage>
#include <QString>

#include <vector>

namespace vellumix {

/// The entry points of the GIO module: see GioFolderIcon.h.
struct GioModule {
    void (*setFolderIcon)(const QString& folderPath, const std::vector<QImage>& representations);
};

} // namespace vellumix
