#include "canvas/AnnotationCanvasView.h"

#include "model/AnnotationGeometry.h"

#include <QApplication>
#include <QClipboard>
#include <QTest>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

// The real widget driven by QTest mouse and key events. The canvas shows the image at (20, 20)
// at magnification 1, so widget and canvas points coincide.
class CanvasViewTest : public ::testing::Test {
protected:
    AnnotationCanvasView view;

    void SetUp() override {
        QImage image(400, 300, QImage::Format_RGB32);
        image.fill(Qt::white);
        view.document().setImage(image);
        view.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    }
    void drag(QPoint from, QPoint to, Qt::KeyboardModifiers m = Qt::NoModifier) {
        QTest::mousePress(&view, Qt::LeftButton, m, from);
        QTest::mouseMove(&view, (from + to) / 2);
        QTest::mouseMove(&view, to);
        QTest::mouseRelease(&view, Qt::LeftButton, m, to);
    }
    const AnnotationList& annotations() const { return view.document().annotations(); }
};

// QTest::mouseMove sends no buttons; drags need a real move event with the button held.
void moveWithButton(QWidget* widget, QPoint to, Qt::KeyboardModifiers m = Qt::NoModifier) {
    QMouseEvent move(QEvent::MouseMove, to, widget->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                     m);
    QApplication::sendEvent(widget, &move);
}

} // namespace

TEST_F(CanvasViewTest, DrawsEachKindWithItsTool) {
    const auto drawWith = [this](Tool tool, QPoint from, QPoint to) {
        view.document().setActiveTool(tool);
        QTest::mousePress(&view, Qt::LeftButton, {}, from);
        moveWithButton(&view, (from + to) / 2);
        moveWithButton(&view, to);
        QTest::mouseRelease(&view, Qt::LeftButton, {}, to);
    };
    drawWith(Tool::rect, {40, 40}, {120, 100});
    drawWith(Tool::oval, {150, 40}, {220, 100});
    drawWith(Tool::arrow, {40, 150}, {200, 160});
    drawWith(Tool::draw, {240, 150}, {300, 200});
    ASSERT_EQ(annotations().size(), 4u);
    EXPECT_EQ(kindOf(annotations()[0]), AnnotationKind::shape);
    EXPECT_EQ(geometry::bounds(annotations()[0]), QRectF(40, 40, 80, 60));
    EXPECT_EQ(std::get<ShapeAnnotation>(annotations()[1]).shape, ShapeAnnotation::Shape::oval);
    EXPECT_EQ(kindOf(annotations()[2]), AnnotationKind::arrow);
    EXPECT_EQ(kindOf(annotations()[3]), AnnotationKind::stroke);
    EXPECT_EQ(view.document().undoStack().undoText(), QStringLiteral("Draw Stroke"));

    view.document().setActiveTool(Tool::text);
    EXPECT_EQ(view.cursor().shape(), Qt::IBeamCursor);
    QTest::mousePress(&view, Qt::LeftButton, {}, {60, 220});
    moveWithButton(&view, {260, 280});
    EXPECT_EQ(view.cursor().shape(), Qt::CrossCursor);
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {260, 280});
    ASSERT_NE(view.textEditor(), nullptr);
    QTest::keyClicks(view.textEditor(), "Label");
    QTest::mouseClick(&view, Qt::LeftButton, {}, {380, 30}); // a click elsewhere commits
    ASSERT_EQ(annotations().size(), 5u);
    EXPECT_EQ(std::get<TextAnnotation>(annotations()[4]).text, QStringLiteral("Label"));
}

TEST_F(CanvasViewTest, ClickingAStackOfThreeCyclesThroughIt) {
    AnnotationList list;
    for (int i = 0; i < 3; ++i) {
        ShapeAnnotation s;
        s.rect = QRectF(100 + i * 10, 100 + i * 10, 100, 100);
        list.push_back(s);
    }
    view.document().setAnnotationsWithoutUndo(list);
    std::vector<int> picked;
    view.document().onSelectionChanged = [&](const std::vector<Annotation>& selection) {
        for (int i = 0; i < 3 && selection.size() == 1; ++i) {
            if (idOf(selection.front()) == idOf(list[size_t(i)])) {
                picked.push_back(i);
            }
        }
    };
    for (int i = 0; i < 4; ++i) {
        QTest::mouseClick(&view, Qt::LeftButton, {}, {150, 150});
    }
    EXPECT_EQ(picked, (std::vector<int>{2, 1, 0, 2}));
}

TEST_F(CanvasViewTest, NudgingOnlyLockedAnnotationsChangesNothing) {
    ShapeAnnotation locked;
    locked.rect = QRectF(50, 50, 40, 40);
    locked.isLocked = true;
    view.document().setAnnotationsWithoutUndo({locked});
    view.document().setSelection({0});
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_Right);
    QTest::keyClick(&view, Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(geometry::bounds(annotations()[0]), QRectF(50, 50, 40, 40));
    EXPECT_EQ(view.document().undoStack().count(), 0);
}

TEST_F(CanvasViewTest, PastingAClipboardImageAddsAnOverlay) {
    QImage picture(100, 50, QImage::Format_ARGB32);
    picture.fill(Qt::red);
    QApplication::clipboard()->setImage(picture);
    view.setFocus();
    QTest::keyClick(&view, Qt::Key_V, Qt::ControlModifier);
    ASSERT_EQ(annotations().size(), 1u);
    const auto& overlay = std::get<OverlayAnnotation>(annotations()[0]);
    EXPECT_EQ(overlay.rect.size(), QSizeF(100, 50));
    EXPECT_EQ(overlay.rect.center(), QPointF(220, 170)); // centred on the image
    QApplication::clipboard()->clear();
}

TEST_F(CanvasViewTest, EscapeCommitsTextAndReturnsToSelect) {
    std::vector<Tool> requested;
    view.document().onRequestTool = [&](Tool t) { requested.push_back(t); };
    view.document().setActiveTool(Tool::text);
    QTest::mousePress(&view, Qt::LeftButton, {}, {60, 60});
    moveWithButton(&view, {260, 140});
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {260, 140});
    ASSERT_NE(view.textEditor(), nullptr);
    QTest::keyClicks(view.textEditor(), "Two");
    QTest::keyClick(view.textEditor(), Qt::Key_Return);
    QTest::keyClicks(view.textEditor(), "lines");
    QTest::keyClick(view.textEditor(), Qt::Key_Escape);
    QApplication::processEvents();
    EXPECT_EQ(view.textEditor(), nullptr);
    ASSERT_EQ(annotations().size(), 1u);
    EXPECT_EQ(std::get<TextAnnotation>(annotations()[0]).text, QStringLiteral("Two\nlines"));
    EXPECT_EQ(requested, std::vector<Tool>{Tool::select});

    // An empty box is dropped by Escape and the tool stays.
    QTest::mousePress(&view, Qt::LeftButton, {}, {60, 200});
    moveWithButton(&view, {260, 280});
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {260, 280});
    ASSERT_NE(view.textEditor(), nullptr);
    QTest::keyClick(view.textEditor(), Qt::Key_Escape);
    EXPECT_EQ(annotations().size(), 1u);
    EXPECT_EQ(requested.size(), 1u);
}
