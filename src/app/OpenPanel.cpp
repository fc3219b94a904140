#include "OpenPanel.h"

#include "bundle/ProjectBundle.h"
#include "pdf/PdfDocument.h"

#include <QFileInfo>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QSpinBox>
#include <QStandardPaths>

namespace vellumix {

OpenPanel::OpenPanel(QWidget* parent) : QFileDialog(parent, QStringLiteral("Open")) {
    setOption(QFileDialog::DontUseNativeDialog);
    setAcceptMode(QFileDialog::AcceptOpen);
    setFileMode(QFileDialog::ExistingFile);
    setNameFilters(openPanelNameFilters());
    const QString pictures = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation);
    setDirectory(QFileInfo(pictures).isDir() ? pictures : QDir::homePath());

    m_pageRow = new QWidget(this);
    m_pageRow->setObjectName(QStringLiteral("pdfPageRow"));
    auto* row = new QHBoxLayout(m_pageRow);
    row->setContentsMargins(0, 0, 0, 0);
    auto* label = new QLabel(QStringLiteral("PDF page:"), m_pageRow);
    m_pageBox = new QSpinBox(m_pageRow);
    m_pageBox->setObjectName(QStringLiteral("pdfPage"));
    m_pageBox->setRange(1, 1);
    m_pageBox->setMinimumWidth(70);
    label->setBuddy(m_pageBox);
    m_pageCountLabel = new QLabel(m_pageRow);
    row->addWidget(label);
    row->addWidget(m_pageBox);
    row->addWidget(m_pageCountLabel);
    row->addStretch(1);
    m_pageRow->hide();
    // Qt's dialog lays itself out on a grid: the control takes a row of its own at the bottom.
    if (auto* grid = qobject_cast<QGridLayout*>(layout())) {
        grid->addWidget(m_pageRow, grid->rowCount(), 0, 1, grid->columnCount());
    }

    connect(this, &QFileDialog::currentChanged, this, &OpenPanel::selectionChanged);
    // A typed (or auto-completed) name selects without moving the list's current item, so
    // the name field is followed too.
    if (auto* name = findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))) {
        connect(name, &QLineEdit::textChanged, this, [this](const QString& text) {
            if (!text.isEmpty()) {
                selectionChanged(QDir(directory()).absoluteFilePath(text));
            }
        });
    }
}

void OpenPanel::selectionChanged(const QString& path) {
    const InputFile input = classifyInput(path);
    const std::unique_ptr<PdfDocument> document =
        input.kind == InputKind::pdf ? PdfDocument::open(input.path) : nullptr;
    if (!document) {
        m_pdfPath.clear();
        m_pageRow->hide();
        return;
    }
    m_pdfPath = input.path;
    m_pageBox->setRange(1, document->pageCount());
    m_pageBox->setValue(1);
    m_pageCountLabel->setText(QStringLiteral("of %1").arg(document->pageCount()));
    m_pageRow->show();
}

void OpenPanel::accept() {
    const QStringList files = selectedFiles();
    // A bundle is a folder: Qt's dialog would step into it instead of choosing it.
    if (files.size() == 1 && QFileInfo(files.front()).isDir() && bundle::isBundle(files.front())) {
        finish(files.front());
        QDialog::accept();
        return;
    }
    QFileDialog::accept();
    if (result() == QDialog::Accepted && !selectedFiles().isEmpty()) {
        finish(selectedFiles().front());
    }
}

void OpenPanel::finish(const QString& path) {
    OpenRequest request;
    request.path = QFileInfo(path).absoluteFilePath();
    if (!m_pdfPath.isEmpty() && m_pdfPath == request.path) {
        m_pageBox->interpretText();
        request.page = m_pageBox->value();
    }
    m_request = request;
}

std::optional<OpenRequest> runOpenPanel(QWidget* parent) {
    OpenPanel panel(parent);
    if (panel.exec() != QDialog::Accepted) {
        return std::nullopt;
    }
    return panel.request();
}

} // namespace vellumix
