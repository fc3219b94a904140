#include "EditorModel.h"
#include "canvas/CanvasDocument.h"
#include "model/AnnotationGeometry.h"

#include <cmath>

namespace vellumix {

namespace {

QString rounded(double value) {
    return QString::number(std::llround(value));
}

// "W × H px" with a multiplication sign.
QString sizeText(double width, double height) {
    return rounded(width) + QStringLiteral(" \u00D7 ") + rounded(height) + QStringLiteral(" px");
}

} // namespace

double EditorModel::canvasScale() const {
    // Read-outs speak in the window's image pixels. The window takes every image the canvas
    // gets, so the two match and this is 1; it stays for a canvas that would show a
    // higher-resolution copy.
    if (m_image.width() <= 0 || m_document.image().width() <= 0) {
        return 1;
    }
    return double(m_document.image().width()) / m_image.width();
}

void EditorModel::fillReadouts(EditorControls& c) const {
    const double r = canvasScale();
    const auto& crop = m_document.cropRect;
    if (m_activeTool == Tool::editImage && crop) {
        c.imageSizeText = sizeText(crop->width() / r, crop->height() / r);
    } else {
        c.imageSizeText = sizeText(m_image.width(), m_image.height());
    }

    c.zoomText = rounded(m_magnification * 100) + QLatin1Char('%');
    c.zoomInEnabled = m_magnification < m_geometry.maximumMagnification;
    c.zoomOutEnabled = m_magnification > m_geometry.minimumMagnification;

    // A shape being drawn is what the user looks at, ahead of the selection.
    const auto rect = m_inProgressRect ? m_inProgressRect : m_selectionRect;
    c.selectionGroupVisible = rect.has_value();
    if (rect) {
        const QPointF position = geometry::toImage(rect->topLeft()) / r;
        c.selectedPositionText = QStringLiteral("x: ") + rounded(position.x()) +
                                 QStringLiteral(", y: ") + rounded(position.y());
        c.selectedSizeText = sizeText(rect->width() / r, rect->height() / r);
    }
}

} // namespace vellumix
