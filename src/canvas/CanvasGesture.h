#pragma once

#include "CanvasDocument.h"

#include <QPainterPath>

#include <optional>
#include <variant>

namespace vellumix {

/// One tool's press-drag-release on the canvas, holding only its own state, in canvas
/// coordinates. The shape of `CanvasGestureLayer`, with the modifiers and click count a tool
/// needs. A gesture that changes the list pushes one named undo step through the document when
/// it ends.
class CanvasGesture {
public:
    explicit CanvasGesture(CanvasDocument& document) : m_doc(document) {}
    virtual ~CanvasGesture() = default;
    CanvasGesture(const CanvasGesture&) = delete;
    CanvasGesture& operator=(const CanvasGesture&) = delete;

    virtual void mouseDown(QPointF point, Qt::KeyboardModifiers modifiers, int clickCount) = 0;
    virtual void mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) = 0;
    virtual void mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) = 0;
    virtual bool isDragging() const = 0;
    /// Drawing gestures want the crosshair while they draw.
    virtual bool wantsCrosshair() const { return false; }
    /// Puts the preview of a gesture under way into the snapshot.
    virtual void describe(CanvasSnapshot&) const {}

protected:
    // The document's insides a gesture works on (only the base class is its friend).
    AnnotationList& annotations() { return m_doc.m_annotations; }
    std::set<int>& selected() { return m_doc.m_selected; }
    void redisplay(std::optional<QRectF> area = std::nullopt) { m_doc.redisplay(area); }
    /// Reports the rectangle a drawing gesture covers so far, and repaints.
    void showProgress(std::optional<QRectF> rect) {
        m_doc.onInProgressGeometryChanged.notify(rect);
        m_doc.redisplay();
    }
    void finishCreation(Annotation annotation, const QString& actionName) {
        m_doc.finishCreation(std::move(annotation), actionName);
    }
    std::optional<int> topmostTextAt(QPointF point) const { return m_doc.topmostTextAt(point); }
    void selectionDidChange() { m_doc.selectionDidChange(); }
    void reportSelectionGeometry() { m_doc.reportSelectionGeometry(); }
    void updateCanvasSize() { m_doc.updateCanvasSize(); }
    std::optional<QRectF> selectionBounds() const { return m_doc.selectionBounds(); }
    bool validIndex(int index) const { return m_doc.validIndex(index); }

    CanvasDocument& m_doc;
};

/// A drawing tool's gesture: idle, or a drag holding `Drag`. Drawing wants the crosshair.
template <class Drag> class DrawingGesture : public CanvasGesture {
public:
    using CanvasGesture::CanvasGesture;
    bool isDragging() const override { return m_drag.has_value(); }
    bool wantsCrosshair() const override { return isDragging(); }

protected:
    std::optional<Drag> m_drag;
};

/// A drag spanning a box from where it started.
struct BoxDrag {
    QPointF start;
    std::optional<QRectF> rect;
};

/// Rectangles and ovals: a drag spans the box (Shift makes it square).
class ShapeGesture final : public DrawingGesture<BoxDrag> {
public:
    using DrawingGesture::DrawingGesture;
    void mouseDown(QPointF point, Qt::KeyboardModifiers, int) override;
    void mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void describe(CanvasSnapshot& s) const override;
};

struct ArrowDrag {
    QPointF start;
    std::optional<QPointF> previewEnd;
};

/// Arrows: a drag from tail to head (Shift snaps the angle).
class ArrowGesture final : public DrawingGesture<ArrowDrag> {
public:
    using DrawingGesture::DrawingGesture;
    void mouseDown(QPointF point, Qt::KeyboardModifiers, int) override;
    void mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void describe(CanvasSnapshot& s) const override;
};

/// A free-hand stroke; `straight` is the piece drawn straight while Shift is held.
struct StrokeDrag {
    struct Straight {
        QPointF anchor;
        std::optional<QPointF> preview;
    };
    QPainterPath path;
    QPointF lastPoint;
    std::optional<Straight> straight;
};

/// Free-hand strokes; while Shift is held the stroke runs straight from where it was.
class PenGesture final : public DrawingGesture<StrokeDrag> {
public:
    using DrawingGesture::DrawingGesture;
    void mouseDown(QPointF point, Qt::KeyboardModifiers, int) override;
    void mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void describe(CanvasSnapshot& s) const override;
};

/// Text: a click on a box edits it; a drag spans a new box, edited when released.
class TextGesture final : public DrawingGesture<BoxDrag> {
public:
    using DrawingGesture::DrawingGesture;
    void mouseDown(QPointF point, Qt::KeyboardModifiers, int) override;
    void mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void describe(CanvasSnapshot& s) const override;
};

/// Numbered steps: each click places the next one.
class StepGesture final : public CanvasGesture {
public:
    using CanvasGesture::CanvasGesture;
    void mouseDown(QPointF point, Qt::KeyboardModifiers, int) override { m_doc.placeStep(point); }
    void mouseDragged(QPointF, Qt::KeyboardModifiers) override {}
    void mouseUp(QPointF, Qt::KeyboardModifiers) override {}
    bool isDragging() const override { return false; }
};

/// The image-edit tool: the session's gesture layer while it is active, else the crop
/// rectangle (a drag spans or reshapes it, a double click takes the whole image).
class CropGesture final : public CanvasGesture {
public:
    using CanvasGesture::CanvasGesture;
    void mouseDown(QPointF point, Qt::KeyboardModifiers, int clickCount) override;
    void mouseDragged(QPointF point, Qt::KeyboardModifiers) override;
    void mouseUp(QPointF point, Qt::KeyboardModifiers) override;
    bool isDragging() const override { return m_drag.has_value(); }

private:
    CanvasGestureLayer* activeLayer() const;
    struct Drag {
        CropHandle handle;
        QPointF last;
    };
    std::optional<Drag> m_drag;
};

/// The select tool: click, Shift-click and band selection; moving, resizing and arrow
/// adjusting, each one undo step.
class SelectGesture final : public CanvasGesture {
public:
    using CanvasGesture::CanvasGesture;
    void mouseDown(QPointF point, Qt::KeyboardModifiers modifiers, int clickCount) override;
    void mouseDragged(QPointF point, Qt::KeyboardModifiers modifiers) override;
    void mouseUp(QPointF point, Qt::KeyboardModifiers modifiers) override;
    bool isDragging() const override { return !std::holds_alternative<Idle>(m_state); }
    void describe(CanvasSnapshot& s) const override;

private:
    struct Idle {};
    /// A band from an empty spot; it selects what it meets when released.
    struct Band {
        QPointF start;
        std::optional<QRectF> rect;
    };
    /// A move, resize or anchor drag; `before` is the list the undo step restores.
    struct Reshape {
        SelectDragOp op;
        AnnotationList before;
        bool changed = false;
    };

    void shiftClick(const std::vector<int>& hits);
    std::optional<SelectDragOp> reshapeAt(QPointF point, const std::vector<int>& hits);
    void selectInBand(const QRectF& band);

    std::variant<Idle, Band, Reshape> m_state;
    // Shift-clicking the same stack again moves on to the next annotation in it.
    std::optional<int> m_shiftCycleTarget;
};

} // namespace vellumix
