#include "CanvasDocumentFixture.h"
#include "canvas/AnnotationRenderer.h"

namespace {

ArrowAnnotation arrowFrom(QPointF start, QPointF end, ArrowEndCap cap = ArrowEndCap::triangle) {
    return makeArrow(start, end, (start + end) / 2, AnnotationStyle(), cap);
}

} // namespace

TEST_F(CanvasDocumentTest, LayeringMovesASelectedBlockAsOne) {
    // Bring forward: [A*, B*, C] with C over both gives C A B.
    const int a = addRect({100, 100, 50, 50});
    const int b = addRect({110, 110, 50, 50});
    const int c = addRect({120, 120, 50, 50});
    auto ids = order();
    doc.setSelection({a, b});
    doc.bringForward();
    EXPECT_EQ(order(), (std::vector{ids[2], ids[0], ids[1]}));
    EXPECT_EQ(doc.selectedIndices(), (std::set<int>{1, 2}));

    // Send backward: [A, B*, C*] with A under both gives B C A.
    doc.setAnnotationsWithoutUndo({});
    addRect({100, 100, 50, 50});
    addRect({110, 110, 50, 50});
    addRect({120, 120, 50, 50});
    ids = order();
    doc.setSelection({b, c});
    doc.sendBackward();
    EXPECT_EQ(order(), (std::vector{ids[1], ids[2], ids[0]}));
    EXPECT_EQ(doc.selectedIndices(), (std::set<int>{0, 1}));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Send Backward"));

    // A gap in the selection: [A*, X, B*, C] forward past C keeps A below B.
    doc.setAnnotationsWithoutUndo({});
    addRect({100, 100, 50, 50});
    addRect({600, 600, 10, 10});
    addRect({110, 110, 50, 50});
    addRect({120, 120, 50, 50});
    ids = order();
    doc.setSelection({0, 2});
    doc.bringForward();
    EXPECT_EQ(order(), (std::vector{ids[1], ids[0], ids[3], ids[2]}));
}

TEST_F(CanvasDocumentTest, KeyboardLockAndLayering) {
    addRect({100, 100, 50, 50});
    addRect({110, 110, 50, 50});
    addRect({120, 120, 50, 50});
    const auto ids = order();
    doc.setSelection({0});
    EXPECT_TRUE(doc.keyPress(Qt::Key_Up, ctrl, {}));
    EXPECT_EQ(order(), (std::vector{ids[1], ids[0], ids[2]}));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Bring Forward"));
    doc.keyPress(Qt::Key_Up, ctrl | shift, {});
    EXPECT_EQ(order(), (std::vector{ids[1], ids[2], ids[0]}));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Bring to Front"));
    doc.keyPress(Qt::Key_Down, ctrl, {});
    EXPECT_EQ(order(), (std::vector{ids[1], ids[0], ids[2]}));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Send Backward"));
    doc.keyPress(Qt::Key_Down, ctrl | shift, {});
    EXPECT_EQ(order(), (std::vector{ids[0], ids[1], ids[2]}));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Send to Back"));
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{0});

    EXPECT_TRUE(doc.keyPress(Qt::Key_L, ctrl, {}));
    EXPECT_TRUE(isLocked(doc.annotations()[0]));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Lock Annotation"));
    // A locked annotation still changes layers but no longer moves.
    doc.keyPress(Qt::Key_Right, none, {});
    EXPECT_EQ(boundsAt(0), QRectF(100, 100, 50, 50));
    doc.keyPress(Qt::Key_L, ctrl, {});
    EXPECT_FALSE(isLocked(doc.annotations()[0]));

    // In another tool, or with nothing selected, the keys do nothing.
    const int steps = doc.undoStack().count();
    doc.setActiveTool(Tool::rect);
    EXPECT_FALSE(doc.keyPress(Qt::Key_L, ctrl, {}));
    doc.setActiveTool(Tool::select);
    doc.setSelection({});
    EXPECT_FALSE(doc.keyPress(Qt::Key_Up, ctrl, {}));
    EXPECT_EQ(doc.undoStack().count(), steps);
}

TEST_F(CanvasDocumentTest, DraggingAnArrowAnchorAdjustsTheArrow) {
    add(arrowFrom({100, 100}, {300, 100}));
    doc.setSelection({0});
    drag({300, 100}, {320, 160});
    auto arrow = std::get<ArrowAnnotation>(doc.annotations()[0]);
    EXPECT_EQ(arrow.start, QPointF(100, 100));
    EXPECT_EQ(arrow.end, QPointF(320, 160));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Adjust Arrow"));
    EXPECT_EQ(doc.undoStack().count(), 1);

    // The control point bends the shaft; the ends stay.
    drag({200, 100}, {200, 40});
    arrow = std::get<ArrowAnnotation>(doc.annotations()[0]);
    EXPECT_EQ(arrow.controlPoint, QPointF(200, 40));
    EXPECT_EQ(arrow.end, QPointF(320, 160));

    // A locked arrow is moved by nothing: the drag on its end does not adjust it.
    doc.keyPress(Qt::Key_L, ctrl, {});
    const int steps = doc.undoStack().count();
    drag({320, 160}, {400, 300});
    EXPECT_EQ(std::get<ArrowAnnotation>(doc.annotations()[0]).end, QPointF(320, 160));
    EXPECT_EQ(doc.undoStack().count(), steps);
}

TEST_F(CanvasDocumentTest, ToolStateFollowsSelectionAndKeys) {
    // A single selected arrow lends its cap to the next arrow drawn.
    add(arrowFrom({100, 100}, {300, 100}, ArrowEndCap::dotBoth));
    addRect({500, 500, 40, 40});
    EXPECT_EQ(doc.currentArrowEndCap, ArrowEndCap::triangle);
    doc.setSelection({1});
    EXPECT_EQ(doc.currentArrowEndCap, ArrowEndCap::triangle);
    doc.setSelection({0, 1});
    EXPECT_EQ(doc.currentArrowEndCap, ArrowEndCap::triangle);
    doc.setSelection({0});
    EXPECT_EQ(doc.currentArrowEndCap, ArrowEndCap::dotBoth);

    // Select-all from a drawing tool asks for the select tool and selects everything.
    doc.setSelection({});
    doc.setActiveTool(Tool::oval);
    EXPECT_TRUE(doc.keyPress(Qt::Key_A, ctrl, {}));
    EXPECT_EQ(requestedTools, std::vector<Tool>{Tool::select});
    EXPECT_EQ(doc.selectedIndices(), (std::set<int>{0, 1}));
    // With no annotations there is nothing to select and no tool change.
    requestedTools.clear();
    doc.setAnnotationsWithoutUndo({});
    doc.selectAll();
    EXPECT_TRUE(requestedTools.empty());

    // Escape in the image-edit tool cancels the session; elsewhere it is not taken.
    int cancelled = 0;
    const Subscription s = doc.onEditImageCancelled.subscribe([&] { ++cancelled; });
    doc.setActiveTool(Tool::editImage);
    EXPECT_TRUE(doc.keyPress(Qt::Key_Escape, none, {}));
    doc.setActiveTool(Tool::select);
    EXPECT_FALSE(doc.keyPress(Qt::Key_Escape, none, {}));
    EXPECT_EQ(cancelled, 1);
}

TEST_F(CanvasDocumentTest, PastingSeveralAnnotationsSelectsTheCopies) {
    addRect({100, 100, 40, 40});
    add(arrowFrom({300, 300}, {400, 350}));
    doc.setSelection({0, 1});
    doc.keyPress(Qt::Key_C, ctrl, {});
    doc.keyPress(Qt::Key_V, ctrl, {});
    ASSERT_EQ(doc.annotations().size(), 4u);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Paste Annotations"));
    EXPECT_EQ(doc.selectedIndices(), (std::set<int>{2, 3}));
    EXPECT_EQ(boundsAt(2), QRectF(120, 80, 40, 40));
    const auto& copy = std::get<ArrowAnnotation>(doc.annotations()[3]);
    EXPECT_EQ(copy.start, QPointF(320, 280));
    EXPECT_EQ(copy.end, QPointF(420, 330));
    EXPECT_NE(copy.id, idOf(doc.annotations()[1]));
    doc.undoStack().undo();
    EXPECT_EQ(doc.annotations().size(), 2u);
}

TEST_F(CanvasDocumentTest, APressThatEndsAnEditDoesNothingElse) {
    doc.setActiveTool(Tool::text);
    drag({100, 100}, {300, 160});
    doc.textDidChange(QStringLiteral("First"));
    // The press commits; its drag and release start no second box.
    drag({400, 400}, {600, 500});
    EXPECT_FALSE(doc.isEditingText());
    EXPECT_EQ(doc.annotations().size(), 1u);
    // The next press works normally again.
    drag({400, 400}, {600, 500});
    EXPECT_TRUE(doc.isEditingText());
    // With the select tool, the click that commits selects nothing; the next one does.
    const int rect = addRect({700, 100, 100, 100});
    doc.setActiveTool(Tool::select);
    click({750, 150});
    EXPECT_FALSE(doc.isEditingText());
    EXPECT_TRUE(doc.selectedIndices().empty());
    click({750, 150});
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{rect});
}

TEST_F(CanvasDocumentTest, FlatteningCommitsTheOpenEditAndKeepsTheSelection) {
    addRect({600, 600, 40, 40});
    doc.setSelection({0});
    AnnotationStyle black;
    black.fontColor = Color::black();
    black.fontSize = 48;
    doc.setStyle(black);
    doc.setActiveTool(Tool::text);
    drag({40, 40}, {400, 140});
    doc.textDidChange(QStringLiteral("WWWW"));
    doc.setActiveTool(Tool::select);

    const auto image = doc.flatten({QSizeF(1000, 800)});
    ASSERT_TRUE(image);
    EXPECT_FALSE(doc.isEditingText());
    ASSERT_EQ(doc.annotations().size(), 2u);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Add Text"));
    // The committed text is in the picture, drawn from image pixel (26, 26) onward.
    int dark = 0;
    for (int y = 20; y < 100; ++y) {
        for (int x = 20; x < 380; ++x) {
            dark += qGray(image->pixel(x, y)) < 100;
        }
    }
    EXPECT_GT(dark, 500);
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{0});
}
