#include "ProjectSaveDialog.h"

#include "bundle/ProjectBundle.h"
#include "library/HistoryStore.h"

#include <QFileInfo>
#include <QMessageBox>

namespace vellumix {

bool isProjectFolder(const QString& path) {
    const QFileInfo info(path);
    return info.isDir() && info.suffix() == bundle::extension;
}

ProjectSaveDialog::ProjectSaveDialog(QWidget* parent) : QFileDialog(parent) {
    setOption(QFileDialog::DontUseNativeDialog);
    setAcceptMode(QFileDialog::AcceptSave);
    setFileMode(QFileDialog::AnyFile);
    setNameFilter(QStringLiteral("Vellumix project (*.vellumix)"));
    setDefaultSuffix(bundle::extension);
    // A double click enters a folder before accept() is asked: step back out and take it.
    connect(this, &QFileDialog::directoryEntered, this, [this](const QString& folder) {
        if (!isProjectFolder(folder)) {
            return;
        }
        const QFileInfo project(folder);
        setDirectory(project.absolutePath());
        selectFile(project.fileName());
        QMetaObject::invokeMethod(this, &ProjectSaveDialog::accept, Qt::QueuedConnection);
    });
}

void ProjectSaveDialog::accept() {
    const QStringList files = selectedFiles();
    if (files.size() == 1 && isProjectFolder(files.front())) {
        if (askToReplace(files.front())) {
            QDialog::accept();
        }
        return;
    }
    QFileDialog::accept();
}

bool ProjectSaveDialog::askToReplace(const QString& path) {
    if (confirmReplace) {
        return confirmReplace(path);
    }
    const QString text =
        tr("%1 already exists.\nDo you want to replace it?").arg(QFileInfo(path).fileName());
    return QMessageBox::warning(this, windowTitle(), text, QMessageBox::Yes | QMessageBox::No,
                                QMessageBox::No) == QMessageBox::Yes;
}

} // namespace vellumix
