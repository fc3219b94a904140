#pragma once

#include <QString>

namespace vellumix {

/// Shows a file selected in the desktop's file manager (org.freedesktop.FileManager1), or opens
/// its folder where no file manager offers that.
void revealInFileManager(const QString& filePath);

} // namespace vellumix
