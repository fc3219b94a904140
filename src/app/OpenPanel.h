#pragma once

#include "imaging/OpeningRules.h"

#include <QFileDialog>

#include <optional>

class QLabel;
class QSpinBox;

namespace vellumix {

/// The open panel: Qt's own file dialog (a native dialog cannot carry the page control),
/// one existing file at a time, offering images, PDFs and project bundles. While a PDF with
/// pages is selected, a "PDF page:" spin box (1 … page count) shows below the file list. A
/// project bundle, being a folder, is chosen by selecting it and pressing Open.
class OpenPanel final : public QFileDialog {
public:
    explicit OpenPanel(QWidget* parent = nullptr);

    /// The chosen file and page; none until the panel was accepted.
    std::optional<OpenRequest> request() const { return m_request; }

protected:
    void accept() override;

private:
    void selectionChanged(const QString& path);
    void finish(const QString& path);

    QWidget* m_pageRow = nullptr;
    QSpinBox* m_pageBox = nullptr;
    QLabel* m_pageCountLabel = nullptr;
    QString m_pdfPath; // the PDF the page control currently describes
    std::optional<OpenRequest> m_request;
};

/// Runs the open panel modally; none when cancelled.
std::optional<OpenRequest> runOpenPanel(QWidget* parent = nullptr);

} // namespace vellumix
