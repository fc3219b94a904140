#pragma once

#include "canvas/CanvasDocument.h"
#include "model/AnnotationGeometry.h"

#include <gtest/gtest.h>

namespace vellumix::canvas_test {

constexpr Qt::KeyboardModifiers none = Qt::NoModifier;
constexpr Qt::KeyboardModifiers shift = Qt::ShiftModifier;
constexpr Qt::KeyboardModifiers ctrl = Qt::ControlModifier;

/// A document over a white 1000 × 800 image, driven the way the canvas widget drives it.
class CanvasDocumentTest : public ::testing::Test {
protected:
    CanvasDocument doc;
    std::vector<Tool> requestedTools;
    Subscription toolRequests;

    void SetUp() override {
        QImage image(1000, 800, QImage::Format_RGB32);
        image.fill(Qt::white);
        doc.setImage(image);
        toolRequests = doc.onRequestTool.subscribe([this](Tool t) { requestedTools.push_back(t); });
    }
    void drag(QPointF from, QPointF to, Qt::KeyboardModifiers m = none) {
        doc.mouseDown(from, m, 1);
        doc.mouseDragged((from + to) / 2, m);
        doc.mouseDragged(to, m);
        doc.mouseUp(to, m);
    }
    void click(QPointF at, Qt::KeyboardModifiers m = none) {
        doc.mouseDown(at, m, 1);
        doc.mouseUp(at, m);
    }
    int addRect(const QRectF& rect, bool locked = false) {
        ShapeAnnotation s;
        s.rect = rect;
        s.isLocked = locked;
        return add(s);
    }
    int add(const Annotation& annotation) {
        AnnotationList list = doc.annotations();
        list.push_back(annotation);
        doc.setAnnotationsWithoutUndo(list);
        return static_cast<int>(list.size()) - 1;
    }
    QRectF boundsAt(int i) const { return geometry::bounds(doc.annotations()[size_t(i)]); }
    QString lastUndoName() { return doc.undoStack().undoText(); }
    /// The IDs of the list, bottom to top, to compare orders.
    std::vector<AnnotationID> order() const {
        std::vector<AnnotationID> ids;
        for (const Annotation& a : doc.annotations()) {
            ids.push_back(idOf(a));
        }
        return ids;
    }
};

} // namespace vellumix::canvas_test

using namespace vellumix;
using namespace vellumix::canvas_test;
