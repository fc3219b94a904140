#include "EditorModel.h"
#include "EditorWindowController.h"
#include "ProjectSaveDialog.h"
#include "SplitButtons.h"
#include "ai/ConsoleText.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationCanvasView.h"
#include "codecs/ImageExport.h"
#include "desktop/BundleServices.h"
#include "imaging/ExportFormats.h"
#include "library/HistoryStore.h"
#include "library/Settings.h"

#include <QApplication>
#include <QClipboard>
#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMimeData>
#include <QStandardPaths>

namespace vellumix {

namespace {

void report(const QString& line) {
    console::print(line);
}

} // namespace

QString saveModeTitle(SaveMode mode) {
    switch (mode) {
    case SaveMode::toDesktop:
        return QStringLiteral("Export to Desktop");
    case SaveMode::saveAs:
        return QStringLiteral("Export as…");
    case SaveMode::saveProject:
        return QStringLiteral("Save Project…");
    }
    return {};
}

std::optional<QImage> EditorWindowController::flattenedPicture() {
    CanvasDocument& document = m_canvas->document();
    // With the annotations hidden, what is saved is the plain image.
    return document.flatten(
        render::FlattenOptions(QSizeF(currentImage().size()), false, document.showsAnnotations()));
}

void EditorWindowController::performSelectedSave() {
    switch (m_services.settings.saveMode()) {
    case SaveMode::toDesktop:
        exportToDesktop();
        break;
    case SaveMode::saveAs:
        exportAs();
        break;
    case SaveMode::saveProject:
        saveProject();
        break;
    }
}

void EditorWindowController::showSaveModeMenu() {
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const SaveMode current = m_services.settings.saveMode();
    for (SaveMode mode : {SaveMode::toDesktop, SaveMode::saveAs, SaveMode::saveProject}) {
        QAction* item = menu->addAction(saveModeTitle(mode));
        item->setCheckable(true);
        item->setChecked(mode == current);
        connect(item, &QAction::triggered, this, [this, mode] { pickSaveMode(mode); });
    }
    menu->addSeparator();
    QAction* copyTextItem = menu->addAction(QStringLiteral("Copy Text"));
    connect(copyTextItem, &QAction::triggered, this, &EditorWindowController::copyText);
    menu->popup(m_saveButton->mapToGlobal(QPoint(0, m_saveButton->height() + 2)));
}

void EditorWindowController::pickSaveMode(SaveMode mode) {
    m_services.settings.setSaveMode(mode);
    // The mode is shared: every open window's button now names what its click runs.
    for (QWidget* window : QApplication::topLevelWidgets()) {
        auto* editor = qobject_cast<EditorWindowController*>(window);
        if (editor && &editor->m_services.settings == &m_services.settings) {
            editor->m_saveButton->setTitle(saveModeTitle(mode));
        }
    }
    performSelectedSave();
}

bool EditorWindowController::exportPicture(ExportFormat format, const QString& path) {
    const auto picture = flattenedPicture();
    if (!picture) {
        return false;
    }
    if (const Status status = exportImage(*picture, format, path); !status) {
        report(console::saveFailedLine(status.error().message));
        return false;
    }
    report(console::appLine(QStringLiteral("Exported %1")).arg(path));
    if (m_services.settings.closeAfterSave()) {
        close();
    }
    return true;
}

void EditorWindowController::exportToDesktop() {
    QString folder = QStandardPaths::writableLocation(QStandardPaths::DesktopLocation);
    if (folder.isEmpty() || !QFileInfo(folder).isDir()) {
        // Many Linux desktops have no desktop folder at all; home is where files land then.
        const QString home = QDir::homePath();
        report(console::appLine(QStringLiteral("No desktop folder (%1); exporting to %2 instead"))
                   .arg(folder.isEmpty() ? QStringLiteral("none configured") : folder, home));
        folder = home;
    }
    const QString name = suggestedBaseName(QDateTime::currentDateTime()) + QStringLiteral(".png");
    exportPicture(ExportFormat::png, QDir(folder).filePath(name));
}

void EditorWindowController::exportAs() {
    QFileDialog dialog(this);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setWindowTitle(saveModeTitle(SaveMode::saveAs));
    std::vector<ExportFormat> offered;
    QStringList filters;
    for (ExportFormat format :
         {ExportFormat::png, ExportFormat::jpeg, ExportFormat::heic, ExportFormat::tiff,
          ExportFormat::gif, ExportFormat::bmp, ExportFormat::webp}) {
        if (canExport(format)) {
            offered.push_back(format);
            filters << nameFilter(format);
        }
    }
    dialog.setNameFilters(filters);
    ExportFormat chosen = preselectedFormat(m_sourceFormat);
    if (!canExport(chosen)) {
        chosen = ExportFormat::png;
    }
    dialog.selectNameFilter(nameFilter(chosen));
    dialog.setDefaultSuffix(fileExtensions(chosen).front());
    // Choosing another type changes the extension added to a name typed without one.
    connect(&dialog, &QFileDialog::filterSelected, &dialog, [&](const QString& filter) {
        const auto index = filters.indexOf(filter);
        if (index >= 0) {
            dialog.setDefaultSuffix(fileExtensions(offered[size_t(index)]).front());
        }
    });
    dialog.selectFile(suggestedBaseName(QDateTime::currentDateTime()));
    QApplication::setActiveWindow(this);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return;
    }
    const QString path = dialog.selectedFiles().constFirst();
    // The written format follows the name's extension, not the list alone.
    exportPicture(formatForPath(path), path);
}

void EditorWindowController::saveProject() {
    ProjectSaveDialog dialog(this);
    dialog.setWindowTitle(saveModeTitle(SaveMode::saveProject));
    dialog.selectFile(suggestedBaseName(QDateTime::currentDateTime()));
    QApplication::setActiveWindow(this);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) {
        return;
    }
    writeProject(dialog.selectedFiles().constFirst());
}

bool EditorWindowController::writeProject(const QString& path) {
    CanvasDocument& document = m_canvas->document();
    document.commitTextEditing(false);
    const Status written = bundle::replaceProject(currentImage(), document.annotations(), path,
                                                  platformBundleServices());
    if (!written) {
        QApplication::beep();
        report(QStringLiteral("Save Project failed: ") + written.error().message);
        return false;
    }
    if (m_services.history) {
        m_services.history->recordExternal(QFileInfo(path).absoluteFilePath());
    }
    report(console::appLine(QStringLiteral("Saved project %1")).arg(path));
    if (m_services.settings.closeAfterSave()) {
        close();
    }
    return true;
}

void EditorWindowController::copyImage() {
    const auto picture = flattenedPicture();
    if (!picture) {
        return;
    }
    // The application owns the clipboard from here on, also after this window closes; Qt
    // offers the picture as PNG and every other image type it can write.
    auto* data = new QMimeData;
    data->setImageData(*picture);
    QGuiApplication::clipboard()->setMimeData(data, QClipboard::Clipboard);
    if (m_services.settings.closeAfterSave()) {
        close();
    }
}

} // namespace vellumix
