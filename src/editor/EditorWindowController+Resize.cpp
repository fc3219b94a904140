#include "EditorModel.h"
#include "EditorWindowController.h"
#include "ResizeImageDialog.h"
#include "canvas/AnnotationCanvasView.h"
#include "imaging/ImageOperations.h"

#include <QApplication>

namespace vellumix {

void EditorWindowController::presentResizeDialog() {
    if (m_resizeDialog) {
        m_resizeDialog->raise();
        m_resizeDialog->activateWindow();
        return;
    }
    m_resizeDialog = new ResizeImageDialog(currentImage().size(), this);
    m_resizeDialog->setAttribute(Qt::WA_DeleteOnClose);
    m_resizeDialog->onApply = [this](QSize size) { resizeImage(size); };
    m_resizeDialog->show();
}

void EditorWindowController::resizeImage(QSize size) {
    CanvasDocument& document = m_canvas->document();
    const QSize before = currentImage().size();
    const auto resized = imageops::resize(currentImage(), document.annotations(), size);
    if (!resized) {
        QApplication::beep();
        return;
    }
    const std::optional<QRectF> crop = document.cropRect;
    document.replaceImage(resized->image, resized->annotations, QStringLiteral("Resize Image"));
    if (crop) {
        document.cropRect = imageops::resizeCrop(*crop, before, size);
    }
}

} // namespace vellumix
