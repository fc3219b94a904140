// GLib's headers use "signals" as an identifier, so this file is built with QT_NO_KEYWORDS.
#include "desktop/GioModule.h"

#include "desktop/GioFolderIcon.h"
#include "process/ModuleExport.h"

#include <QDir>
#include <QSaveFile>
#include <QUrl>

#include <gio/gio.h>

namespace vellumix {

namespace {

bool metadataWritable(GFile* file) {
    GError* error = nullptr;
    GFileAttributeInfoList* namespaces = g_file_query_writable_namespaces(file, nullptr, &error);
    if (!namespaces) {
        g_clear_error(&error);
        return false;
    }
    const bool writable = g_file_attribute_info_list_lookup(namespaces, "metadata") != nullptr;
    g_file_attribute_info_list_unref(namespaces);
    return writable;
}

void setFolderIcon(const QString& folderPath, const std::vector<QImage>& representations) {
    if (representations.empty()) {
        return;
    }
    const QByteArray path = QFile::encodeName(folderPath);
    GFile* folder = g_file_new_for_path(path.constData());
    if (!metadataWritable(folder)) {
        g_object_unref(folder);
        return;
    }
    const QString iconPath = QDir(folderPath).filePath(folderIconFileName);
    QSaveFile iconFile(iconPath);
    if (iconFile.open(QIODevice::WriteOnly) && representations.back().save(&iconFile, "png") &&
        iconFile.commit()) {
        const QByteArray uri = QUrl::fromLocalFile(iconPath).toEncoded();
        GError* error = nullptr;
        g_file_set_attribute_string(folder, "metadata::custom-icon", uri.constData(),
                                    G_FILE_QUERY_INFO_NONE, nullptr, &error);
        g_clear_error(&error);
    }
    g_object_unref(folder);
}

const GioModule entryPoints{&setFolderIcon};

} // namespace

} // namespace vellumix

VELLUMIX_MODULE_ENTRY(gio, vellumix::entryPoints)
