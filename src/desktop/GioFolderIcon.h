#pragma once

#include <QImage>
#include <QString>

#include <vector>

namespace vellumix {

/// Sets a folder's custom icon through GVfs's "metadata::custom-icon", which file managers of
/// GNOME and its relatives show. Where no metadata service runs (no GVfs, no session bus) or
/// GLib's `gio` tool is missing, the folder is left as it is, silently.
void setFolderIconWithGio(const QString& folderPath, const std::vector<QImage>& representations);

/// Name of the icon file kept inside the folder for the metadata to point at.
inline const QString folderIconFileName = QStringLiteral(".icon.png");

} // namespace vellumix
