#pragma once

#include <QFileDialog>

#include <functional>

namespace vellumix {

/// The save panel for projects. A project is a folder, but here it behaves as a file: choosing
/// an existing one (typed, selected or double-clicked) asks whether to replace it instead of
/// entering it, so a second save never nests a project inside the first. Qt's own panel, since
/// a desktop's native one would enter the folder.
class ProjectSaveDialog final : public QFileDialog {
    Q_OBJECT

public:
    explicit ProjectSaveDialog(QWidget* parent);

    /// Asked before an existing project is replaced; a question box unless set (tests).
    std::function<bool(const QString& path)> confirmReplace;

    void accept() override;

private:
    bool askToReplace(const QString& path);
};

/// Whether a path is a project folder (a directory with the project extension).
bool isProjectFolder(const QString& path);

} // namespace vellumix
