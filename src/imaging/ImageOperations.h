#pragma once

#include "canvas/AnnotationRenderer.h"
#include "model/Annotation.h"
#include "model/Color.h"

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>

#include <optional>

namespace vellumix::imageops {

/// An image and its annotations after an operation.
struct Edited {
    QImage image;
    AnnotationList annotations;
};

// Canvas coordinates throughout: the image lies at (20, 20, width, height). New bitmaps are
// Format_ARGB32_Premultiplied with device pixel ratio 1 and the source's dots per metre.

/// Width and height swapped; the picture turned 90° clockwise. Annotations turn with it about the
/// image (points and paths rotated; rectangles of shapes, overlays and text boxes: their rectangle
/// rotated, so a shape's width and height swap and an overlay's picture turns; a text box cannot
/// turn its text, so it keeps its size and its centre moves with the picture). None when the
/// image is empty.
std::optional<Edited> rotateRight(const QImage& image, const AnnotationList& annotations);

/// The picture mirrored: Qt::Horizontal = left↔right, Qt::Vertical = top↔bottom. Arrows mirror
/// their points, stroke paths mirror, rectangles mirror their position; an overlay's picture
/// mirrors with it, while text stays readable (not mirrored). None when the image is empty.
std::optional<Edited> flip(const QImage& image, const AnnotationList& annotations,
                           Qt::Orientation axis);

/// The crop rectangle carried along with the picture by rotate/flip (within the image rectangle).
QRectF rotateCropRight(const QRectF& crop, QSize oldImageSize);
QRectF flipCrop(const QRectF& crop, QSize imageSize, Qt::Orientation axis);

/// The crop's area as a new image: the image drawn offset by the crop's position relative to the
/// image rectangle, over `blank` (which shows where the crop reaches outside the image);
/// annotations moved by the same offset, (20 − crop.x, 20 − crop.y). The crop's edges are
/// rounded to the image's pixel grid. None for a crop of zero (or negative) width or height.
std::optional<Edited> crop(const QImage& image, const AnnotationList& annotations,
                           const QRectF& crop, const Color& blank);

/// The image drawn scaled into `size` (smooth); annotations mapped from the old image rectangle
/// to the new one. None for a size below 1×1 or an empty image.
std::optional<Edited> resize(const QImage& image, const AnnotationList& annotations, QSize size);
QRectF resizeCrop(const QRectF& crop, QSize oldSize, QSize newSize);

/// Replacing the image with one of another size (the assistant's edited image): annotations
/// mapped from the old image rectangle onto the new one.
AnnotationList mapToNewImage(const AnnotationList& annotations, QSize oldSize, QSize newSize);

/// The annotations with these IDs flattened into the image (exactly as render::renderFlattened
/// draws them with `only`), removed from the list. None when nothing matches.
std::optional<Edited> merge(const QImage& image, const AnnotationList& annotations,
                            const AnnotationIDSet& ids);

/// "Merge Annotation into Image" for one, "Merge N Annotations into Image" for more.
QString mergeActionName(int count);

/// The undo step of a filter the assistant applied: "Apply Sepia (AI)" for "sepia".
QString assistantFilterActionName(const QString& kind);

/// The assistant's edited picture (at device pixel ratio 1) with the annotations mapped onto it;
/// none for a null picture. The undo step is named `assistantImageActionName`.
std::optional<Edited> assistantImage(const QImage& image, const AnnotationList& annotations,
                                     QSize oldSize);
inline constexpr const char* assistantImageActionName = "Gemini Edit";

} // namespace vellumix::imageops
