#include "AnalysisCache.h"
#include "EditorModel.h"
#include "EditorWindowController.h"
#include "RedactionMarks.h"
#include "canvas/AnnotationCanvasView.h"
#include "filters/ImageFilters.h"
#include "imaging/ImageOperations.h"
#include "imaging/Redaction.h"
#include "library/BundleAutosave.h"
#include "library/Settings.h"
#include "model/AnnotationGeometry.h"

#include <QApplication>

#include <cstdio>

namespace vellumix {

namespace {

void beep() {
    QApplication::beep();
}

} // namespace

void EditorWindowController::imageDidChange(const QImage&) {
    // Every image change passes here (operations, assistant edits, undo): the analysis is stale.
    m_visionAnalysis->invalidate();
    // The bundle follows every applied change of the picture, undo and redo included; inside
    // an image-edit session it keeps the picture from before the session.
    if (m_autosave) {
        m_autosave->changed();
    }
}

void EditorWindowController::replaceInSession(
    const imageops::Edited& edited, std::optional<QRectF> crop,
    const std::function<QRectF(const QRectF&)>& carryMarks) {
    CanvasDocument& document = m_canvas->document();
    // The crop first: the read-outs refresh with the new image and show the crop's size.
    document.cropRect = crop;
    document.setImageAndAnnotations(edited.image, edited.annotations);
    // Marks turn and mirror with the picture; where the picture changes otherwise (a
    // straightened page) they no longer say what to hide and start over.
    if (redactionMarks().isActive()) {
        if (carryMarks) {
            redactionMarks().mapMarks(carryMarks);
        } else {
            redactionMarks().clear();
        }
        followSessionImage();
    }
    m_model->setEditImageSessionMutated(true);
    m_canvas->update();
}

void EditorWindowController::rotateRight() {
    CanvasDocument& document = m_canvas->document();
    const QSize before = currentImage().size();
    const auto rotated = imageops::rotateRight(currentImage(), document.annotations());
    if (!rotated) {
        beep();
        return;
    }
    const auto turn = [before](const QRectF& rect) {
        return imageops::rotateCropRight(rect, before);
    };
    std::optional<QRectF> crop = document.cropRect;
    if (crop) {
        crop = turn(*crop);
    }
    replaceInSession(*rotated, crop, turn);
}

void EditorWindowController::flip(Qt::Orientation axis) {
    CanvasDocument& document = m_canvas->document();
    const auto flipped = imageops::flip(currentImage(), document.annotations(), axis);
    if (!flipped) {
        beep();
        return;
    }
    const auto mirror = [size = currentImage().size(), axis](const QRectF& rect) {
        return imageops::flipCrop(rect, size, axis);
    };
    std::optional<QRectF> crop = document.cropRect;
    if (crop) {
        crop = mirror(*crop);
    }
    replaceInSession(*flipped, crop, mirror);
}

void EditorWindowController::autoEnhanceImage() {
    const auto enhanced = filters::autoEnhance(currentImage());
    if (!enhanced) {
        beep();
        return;
    }
    replaceInSession({*enhanced, m_canvas->document().annotations()}, m_canvas->document().cropRect,
                     [](const QRectF& rect) { return rect; });
}

void EditorWindowController::straightenDocument() {
    const auto straightened = filters::straightenDocument(currentImage());
    if (!straightened) {
        beep();
        return;
    }
    // The page becomes the whole picture: the crop starts over on it, the annotations stay.
    CanvasDocument& document = m_canvas->document();
    replaceInSession({*straightened, document.annotations()},
                     geometry::imageOnCanvas(straightened->size()));
}

void EditorWindowController::applyImageEdit() {
    CanvasDocument& document = m_canvas->document();
    if (!document.cropRect) {
        beep();
        return;
    }
    // The marks are redacted first, in the picture they were drawn on, then the crop is taken.
    const std::optional<QImage> redacted = redactedSessionImage();
    const QImage& source = redacted ? *redacted : currentImage();
    const Color blank = m_services.settings.blankCanvasColor();
    const auto cropped = imageops::crop(source, document.annotations(), *document.cropRect, blank);
    if (!cropped) {
        beep();
        return;
    }
    // One step undoes the whole session: the image and annotations from before it began. A
    // session that only redacted is named after that.
    QString name = QStringLiteral("Edit Image");
    const bool cropsAway = *document.cropRect != document.imageRect();
    if (redacted && !m_model->editImageSessionMutated() && !cropsAway) {
        name = imageops::redactionActionName(redactionMarks().enabledCount());
    }
    document.replaceImage(cropped->image, cropped->annotations, name,
                          m_model->editImageEntrySnapshot(), m_model->editImageEntryAnnotations());
    selectTool(Tool::select);
}

void EditorWindowController::cancelImageEdit() {
    const auto& snapshot = m_model->editImageEntrySnapshot();
    if (m_model->editImageSessionMutated() && snapshot) {
        m_canvas->document().setImageAndAnnotations(
            *snapshot,
            m_model->editImageEntryAnnotations().value_or(m_canvas->document().annotations()));
    }
    selectTool(Tool::select);
}

void EditorWindowController::mergeIntoImage(const AnnotationIDSet& ids) {
    CanvasDocument& document = m_canvas->document();
    document.commitTextEditing(false);
    const auto merged = imageops::merge(currentImage(), document.annotations(), ids);
    if (!merged) {
        beep();
        return;
    }
    const int count = int(document.annotations().size() - merged->annotations.size());
    document.replaceImage(merged->image, merged->annotations, imageops::mergeActionName(count));
    document.setSelection({});
}

} // namespace vellumix
