#include "AnalysisCache.h"
#include "CenteringClipView.h"
#include "EditorWindowController.h"
#include "StatusToast.h"
#include "ai/RecognisedText.h"
#include "canvas/AnnotationCanvasView.h"
#include "model/AnnotationGeometry.h"

#include <QClipboard>
#include <QGuiApplication>

namespace vellumix {

void EditorWindowController::copyText() {
    if (!m_statusToast) {
        m_statusToast = new StatusToast(m_scrollView);
    }
    // The selected annotations stand for the area whose text is wanted.
    std::optional<QRectF> area;
    for (const Annotation& annotation : m_canvas->document().selectedAnnotations()) {
        const QRectF bounds = geometry::bounds(annotation);
        area = area ? geometry::unite(*area, bounds) : bounds;
    }
    if (area) {
        area = geometry::toImage(*area);
    }
    if (!m_visionAnalysis->cached()) {
        m_statusToast->showMessage(QStringLiteral("Reading text…"), 0);
    }
    // The cache goes with the window and then calls nobody, so `this` is alive when called.
    m_visionAnalysis->request([this, area](const VisionAnalysis& analysis) {
        const CopiedText copied = copiedText(analysis, area);
        if (copied.lineCount > 0) {
            if (QClipboard* clipboard = QGuiApplication::clipboard()) {
                clipboard->setText(copied.text);
            }
        }
        m_statusToast->showMessage(copyTextStatus(copied.lineCount));
    });
}

} // namespace vellumix
