#include "CanvasDocumentFixture.h"

TEST_F(CanvasDocumentTest, ShapesNeedMoreThanFourUnitsEachWay) {
    doc.setActiveTool(Tool::rect);
    drag({100, 100}, {104, 130});
    EXPECT_TRUE(doc.annotations().empty());
    EXPECT_EQ(doc.undoStack().count(), 0);
    drag({100, 100}, {105, 105});
    ASSERT_EQ(doc.annotations().size(), 1u);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Draw Rectangle"));
    EXPECT_EQ(doc.lastSelectedIndices(), std::set<int>{0});
    EXPECT_TRUE(doc.selectedIndices().empty()); // drawing does not select

    doc.setActiveTool(Tool::oval);
    drag({0, 0}, {30, -10}, shift);
    ASSERT_EQ(doc.annotations().size(), 2u);
    EXPECT_EQ(boundsAt(1), QRectF(0, -10, 10, 10));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Draw Oval"));
    doc.undoStack().undo();
    EXPECT_EQ(doc.annotations().size(), 1u);
}

TEST_F(CanvasDocumentTest, ArrowsNeedMoreThanTenUnitsAndSnapWithShift) {
    doc.setActiveTool(Tool::arrow);
    drag({100, 100}, {110, 100});
    EXPECT_TRUE(doc.annotations().empty());
    drag({100, 100}, {110.5, 100});
    ASSERT_EQ(doc.annotations().size(), 1u);
    drag({100, 100}, {200, 110}, shift);
    const auto& arrow = std::get<ArrowAnnotation>(doc.annotations().back());
    EXPECT_NEAR(arrow.end.y(), 100, 1e-9);
    EXPECT_EQ(arrow.controlPoint, (arrow.start + arrow.end) / 2);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Draw Arrow"));
}

TEST_F(CanvasDocumentTest, PenStrokesNeedMovementAndShiftDrawsStraightSegments) {
    doc.setActiveTool(Tool::draw);
    click({50, 50});
    EXPECT_TRUE(doc.annotations().empty());

    doc.mouseDown({50, 50}, none, 1);
    doc.mouseDragged({60, 52}, none);
    doc.mouseDragged({90, 80}, shift);  // anchor at (60, 52), previewing
    doc.mouseDragged({160, 58}, shift); // preview moves; nothing added yet
    doc.mouseUp({160, 58}, shift);      // the pending segment is committed, snapped to 0°
    ASSERT_EQ(doc.annotations().size(), 1u);
    const QPainterPath path = std::get<StrokeAnnotation>(doc.annotations()[0]).path;
    ASSERT_EQ(path.elementCount(), 3);
    EXPECT_NEAR(path.elementAt(2).y, 52, 1e-9);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Draw Stroke"));
}

TEST_F(CanvasDocumentTest, ClickingAStackCyclesAndShiftClickToggles) {
    addRect({100, 100, 100, 100});
    addRect({110, 110, 100, 100});
    addRect({120, 120, 100, 100});
    const QPointF stack(150, 150);
    std::vector<int> picked;
    for (int i = 0; i < 4; ++i) {
        click(stack);
        ASSERT_EQ(doc.selectedIndices().size(), 1u);
        picked.push_back(*doc.selectedIndices().begin());
    }
    EXPECT_EQ(picked, (std::vector<int>{2, 1, 0, 2}));

    doc.setSelection({});
    click(stack, shift);
    click(stack, shift);
    EXPECT_EQ(doc.selectedIndices(), (std::set<int>{1, 2}));
    click(stack, shift);
    click(stack, shift); // back to the top: toggled out again
    EXPECT_EQ(doc.selectedIndices(), (std::set<int>{0, 1}));
}

TEST_F(CanvasDocumentTest, DragsRecomputeFromTheOriginalAndRegisterOneNamedStep) {
    const int a = addRect({100, 100, 50, 50});
    click({120, 120});
    doc.mouseDown({120, 120}, none, 1);
    for (int x = 121; x <= 170; ++x) {
        doc.mouseDragged({double(x), 125}, shift); // dominant axis: no vertical move
    }
    doc.mouseUp({170, 125}, shift);
    EXPECT_EQ(boundsAt(a), QRectF(150, 100, 50, 50));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Move Annotation"));
    EXPECT_EQ(doc.undoStack().count(), 1);

    // Resize by the bottom-right handle.
    drag({200, 150}, {230, 170});
    EXPECT_EQ(boundsAt(a), QRectF(150, 100, 80, 70));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Resize Annotation"));
    doc.undoStack().undo();
    doc.undoStack().undo();
    EXPECT_EQ(boundsAt(a), QRectF(100, 100, 50, 50));
}

TEST_F(CanvasDocumentTest, GroupMovesLeaveLockedAnnotationsInPlace) {
    const int free = addRect({100, 100, 40, 40});
    const int locked = addRect({300, 100, 40, 40}, true);
    doc.setSelection({free, locked});
    drag({120, 120}, {130, 140});
    EXPECT_EQ(boundsAt(free), QRectF(110, 120, 40, 40));
    EXPECT_EQ(boundsAt(locked), QRectF(300, 100, 40, 40));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Move Annotations"));

    // A locked single selection shows no handles to grab: the drag moves nothing.
    doc.setSelection({locked});
    drag({340, 140}, {380, 180});
    EXPECT_EQ(boundsAt(locked), QRectF(300, 100, 40, 40));
}

TEST_F(CanvasDocumentTest, RubberBandSelectsWhatItTouches) {
    addRect({100, 100, 40, 40});
    addRect({300, 300, 40, 40});
    add(makeArrow({500, 500}, {600, 500}, {550, 500}, AnnotationStyle(), ArrowEndCap::line));
    drag({50, 50}, {150, 120});
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{0});
    drag({480, 400}, {700, 500}); // touches the zero-height arrow's bounds
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{2});
    drag({800, 50}, {802, 52}); // too small: nothing selected
    EXPECT_TRUE(doc.selectedIndices().empty());
}

TEST_F(CanvasDocumentTest, KeyboardNudgeDeleteCopyPasteAndTools) {
    const int a = addRect({100, 100, 40, 40});
    const int b = addRect({200, 100, 40, 40}, true);
    addRect({300, 100, 40, 40});
    doc.setSelection({b});
    EXPECT_TRUE(doc.keyPress(Qt::Key_Left, none, {}));
    EXPECT_EQ(doc.undoStack().count(), 0); // only locked selected: nothing happens

    doc.setSelection({a, b});
    doc.keyPress(Qt::Key_Down, shift, {});
    EXPECT_EQ(boundsAt(a), QRectF(100, 110, 40, 40));
    EXPECT_EQ(boundsAt(b), QRectF(200, 100, 40, 40));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Nudge"));

    doc.setSelection({a});
    doc.keyPress(Qt::Key_C, ctrl, {});
    doc.keyPress(Qt::Key_V, ctrl, {});
    ASSERT_EQ(doc.annotations().size(), 4u);
    EXPECT_EQ(boundsAt(3), QRectF(120, 90, 40, 40));
    EXPECT_NE(idOf(doc.annotations()[3]), idOf(doc.annotations()[size_t(a)]));
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{3});
    EXPECT_EQ(lastUndoName(), QStringLiteral("Paste Annotation"));

    doc.setSelection({0, 1, 2});
    doc.keyPress(Qt::Key_Backspace, none, {});
    EXPECT_EQ(doc.annotations().size(), 1u);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Delete Annotations"));
    doc.keyPress(Qt::Key_Z, ctrl, {});
    EXPECT_EQ(doc.annotations().size(), 4u);
    doc.keyPress(Qt::Key_Z, ctrl | shift, {});
    EXPECT_EQ(doc.annotations().size(), 1u);

    doc.keyPress(Qt::Key_T, none, QStringLiteral("t"));
    doc.keyPress(Qt::Key_E, shift, QStringLiteral("E")); // Shift held: not a tool key
    EXPECT_EQ(requestedTools, std::vector<Tool>{Tool::text});
}

TEST_F(CanvasDocumentTest, PastingAnImageBeatsCopiedAnnotations) {
    addRect({100, 100, 40, 40});
    doc.setSelection({0});
    doc.keyPress(Qt::Key_C, ctrl, {});
    QImage photo(4000, 3000, QImage::Format_RGB32);
    photo.fill(Qt::blue);
    doc.clipboardImage = [&photo] { return photo; };
    doc.keyPress(Qt::Key_V, ctrl, {});
    ASSERT_EQ(doc.annotations().size(), 2u);
    const auto& overlay = std::get<OverlayAnnotation>(doc.annotations()[1]);
    // A quarter of 1000 × 800 at most: scale 0.125, centred on the image at (20, 20).
    EXPECT_EQ(overlay.rect, QRectF(270, 232.5, 500, 375));
    EXPECT_EQ(overlay.overlayRef->size(), 36);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Paste Overlay"));
}

TEST_F(CanvasDocumentTest, ZOrderNeedsAnOverlapAndKeepsTheSelection) {
    addRect({100, 100, 50, 50}); // 0
    addRect({400, 400, 50, 50}); // 1: above 0 but far away
    addRect({120, 120, 50, 50}); // 2: above 0, overlapping
    addRect({600, 600, 10, 10}); // 3
    doc.setSelection({1});
    EXPECT_FALSE(doc.canBringForward());
    doc.setSelection({0});
    ASSERT_TRUE(doc.canBringForward());
    doc.bringForward();
    // 0 steps past 1 and then past 2, its nearest overlapping annotation.
    EXPECT_EQ(boundsAt(2), QRectF(100, 100, 50, 50));
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{2});
    EXPECT_EQ(lastUndoName(), QStringLiteral("Bring Forward"));
    doc.sendToBack();
    EXPECT_EQ(boundsAt(0), QRectF(100, 100, 50, 50));
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{0});
    EXPECT_EQ(lastUndoName(), QStringLiteral("Send to Back"));
}

TEST_F(CanvasDocumentTest, LockTogglesTheWholeSelectionWithPluralNames) {
    addRect({100, 100, 50, 50}, true);
    addRect({200, 100, 50, 50});
    doc.setSelection({0, 1});
    doc.toggleLock();
    EXPECT_TRUE(isLocked(doc.annotations()[1]));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Lock Annotations"));
    doc.toggleLock();
    EXPECT_FALSE(isLocked(doc.annotations()[0]));
    EXPECT_EQ(lastUndoName(), QStringLiteral("Unlock Annotations"));
}

TEST_F(CanvasDocumentTest, RestyleKeepsOpacityUnlessOpacityIsGiven) {
    ShapeAnnotation shape;
    shape.rect = {100, 100, 50, 50};
    shape.strokeColor = Color::rgb(1, 0, 0, 0.5);
    shape.fillColor = Color::clear();
    TextAnnotation text =
        makeText({300, 100, 120, 30}, QStringLiteral("Some words that wrap"), AnnotationStyle());
    doc.setAnnotationsWithoutUndo({shape, text});
    doc.setSelection({0, 1});
    StyleChange change;
    change.strokeColor = Color::rgb(0, 0, 1, 1);
    change.fillColor = Color::rgb(0, 1, 0, 0.8);
    doc.restyleSelection(change);
    const auto& restyled = std::get<ShapeAnnotation>(doc.annotations()[0]);
    EXPECT_EQ(restyled.strokeColor, Color::rgb(0, 0, 1, 0.5)); // new RGB, old alpha
    EXPECT_EQ(restyled.fillColor, Color::rgb(0, 1, 0, 0.8));   // was clear: taken whole
    EXPECT_EQ(lastUndoName(), QStringLiteral("Restyle Annotations"));

    StyleChange clearAndFade;
    clearAndFade.strokeColor = Color::clear();
    clearAndFade.opacity = 0.3;
    doc.setSelection({0});
    doc.restyleSelection(clearAndFade);
    const auto& faded = std::get<ShapeAnnotation>(doc.annotations()[0]);
    EXPECT_EQ(faded.strokeColor, Color::rgb(0, 0, 1, 0));
    EXPECT_EQ(faded.fillColor.alpha, 0.3);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Restyle Annotation"));

    // A larger font refits the text box's height; width and origin stay.
    StyleChange bigger;
    bigger.fontSize = 40;
    doc.setSelection({1});
    doc.restyleSelection(bigger);
    const QRectF box = std::get<TextAnnotation>(doc.annotations()[1]).rect;
    EXPECT_EQ(box.topLeft(), QPointF(300, 100));
    EXPECT_EQ(box.width(), 120);
    EXPECT_GT(box.height(), 80); // several lines of 40-unit text
}

TEST_F(CanvasDocumentTest, TextBoxesCommitOnlyRealText) {
    doc.setActiveTool(Tool::text);
    drag({100, 100}, {300, 200});
    ASSERT_TRUE(doc.isEditingText());
    doc.textDidChange(QStringLiteral("  \n "));
    doc.commitTextEditing(false);
    EXPECT_TRUE(doc.annotations().empty());
    EXPECT_EQ(doc.undoStack().count(), 0);

    drag({100, 100}, {300, 200});
    doc.textDidChange(QStringLiteral("Hello"));
    doc.escapeFromTextEditor();
    ASSERT_EQ(doc.annotations().size(), 1u);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Add Text"));
    EXPECT_EQ(requestedTools.back(), Tool::select);
    const QRectF box = std::get<TextAnnotation>(doc.annotations()[0]).rect;
    EXPECT_EQ(box.width(), 200);
    EXPECT_GT(box.height(), 12 + 14); // one line of 16-unit text plus padding 6 on each side
    EXPECT_LT(box.height(), 12 + 24);

    // Editing a locked box stores it unlocked under a new ID.
    doc.setAnnotationsWithoutUndo({withLocked(doc.annotations()[0], true)});
    const AnnotationID before = idOf(doc.annotations()[0]);
    doc.mouseDown(box.center(), none, 1);
    ASSERT_TRUE(doc.isEditingText());
    doc.textDidChange(QStringLiteral("Changed"));
    doc.mouseDown({900, 700}, none, 1); // a click elsewhere commits
    EXPECT_FALSE(doc.isEditingText());
    const auto& edited = std::get<TextAnnotation>(doc.annotations()[0]);
    EXPECT_EQ(edited.text, QStringLiteral("Changed"));
    EXPECT_FALSE(edited.isLocked);
    EXPECT_NE(edited.id, before);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Edit Text"));
}

TEST_F(CanvasDocumentTest, TextBoxesGrowWhileTypingButNeverShrink) {
    doc.setActiveTool(Tool::text);
    drag({100, 100}, {200, 140});
    const double start = doc.session()->editorFrame.height();
    const auto grown = doc.textDidChange(QStringLiteral("one\ntwo\nthree\nfour"));
    ASSERT_TRUE(grown);
    EXPECT_GT(*grown, start);
    EXPECT_EQ(doc.snapshot().activeTextOuterRect->height(), *grown + 12);
    EXPECT_FALSE(doc.textDidChange(QStringLiteral("one")));
    EXPECT_EQ(doc.snapshot().activeTextOuterRect->height(), *grown + 12);
}

TEST_F(CanvasDocumentTest, ContextMenuDependsOnWhatWasClicked) {
    std::optional<QPointF> overlayPoint;
    const Subscription s =
        doc.onRequestAddOverlay.subscribe([&](std::optional<QPointF> p) { overlayPoint = p; });
    auto menu = doc.contextMenu({500, 500});
    ASSERT_EQ(menu.size(), 1u);
    EXPECT_EQ(menu[0].title, QStringLiteral("Add image overlay…"));
    doc.triggerMenuItem(menu[0]);
    EXPECT_EQ(overlayPoint, QPointF(500, 500));

    addRect({100, 100, 50, 50});
    add(makeArrow({300, 300}, {400, 300}, {350, 300}, AnnotationStyle(), ArrowEndCap::dotBoth));
    doc.setSelection({0});
    menu = doc.contextMenu({350, 300}); // an unselected arrow: it becomes the selection
    EXPECT_EQ(doc.selectedIndices(), std::set<int>{1});
    const auto style = std::find_if(menu.begin(), menu.end(), [](const CanvasMenuItem& i) {
        return i.title == u"Arrow style";
    });
    ASSERT_NE(style, menu.end());
    ASSERT_EQ(style->submenu.size(), 5u);
    EXPECT_TRUE(style->submenu[3].checked);
    EXPECT_FALSE(style->submenu[3].enabled);
    EXPECT_EQ(style->submenu[3].toolTip, QStringLiteral("Dot (both ends)"));
    doc.triggerMenuItem(style->submenu[4]);
    EXPECT_EQ(std::get<ArrowAnnotation>(doc.annotations()[1]).endCap, ArrowEndCap::line);
    EXPECT_EQ(lastUndoName(), QStringLiteral("Change Arrow Style"));
    EXPECT_EQ(menu.back().title, QStringLiteral("Merge into image"));
}

TEST_F(CanvasDocumentTest, CropDoubleClickTakesTheWholeImage) {
    std::optional<QRectF> reported;
    const Subscription s =
        doc.onCropRectChanged.subscribe([&](std::optional<QRectF> r) { reported = r; });
    doc.setActiveTool(Tool::editImage);
    doc.mouseDown({500, 400}, none, 2);
    EXPECT_EQ(reported, QRectF(20, 20, 1000, 800));
    // Inside, away from the handles: the whole rectangle moves, held inside the canvas.
    drag({100, 100}, {300, 250});
    EXPECT_EQ(doc.cropRect, QRectF(40, 40, 1000, 800));
    doc.cropRect.reset();
    drag({100, 100}, {300, 250});
    EXPECT_EQ(doc.cropRect, QRectF(100, 100, 200, 150));
}

// Mid-drag, each tool's preview is in the snapshot the canvas paints; the release clears it.
TEST_F(CanvasDocumentTest, TheSnapshotShowsEachGestureUnderWay) {
    const QRectF box(100, 100, 100, 50);
    struct Row {
        Tool tool;
        std::function<bool(const CanvasSnapshot&)> shows;
    };
    const std::vector<Row> rows{
        {Tool::select, [&](const CanvasSnapshot& s) { return s.selectionDragRect == box; }},
        {Tool::rect, [&](const CanvasSnapshot& s) { return s.dragRect == box; }},
        {Tool::oval, [&](const CanvasSnapshot& s) { return s.dragRect == box; }},
        {Tool::arrow,
         [&](const CanvasSnapshot& s) {
             return s.dragStart == box.topLeft() && s.arrowPreviewEnd == box.bottomRight();
         }},
        {Tool::draw,
         [&](const CanvasSnapshot& s) {
             return s.activePath && s.activePath->currentPosition() == box.bottomRight();
         }},
        {Tool::text, [&](const CanvasSnapshot& s) { return s.textDragRect == box; }},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.tool));
        doc.setActiveTool(row.tool);
        doc.mouseDown(box.topLeft(), none, 1);
        doc.mouseDragged(box.bottomRight(), none);
        EXPECT_TRUE(row.shows(doc.snapshot()));
        EXPECT_EQ(doc.wantsCrosshair(), row.tool != Tool::select);
        doc.mouseUp(box.bottomRight(), none);
        EXPECT_FALSE(row.shows(doc.snapshot()));
        EXPECT_FALSE(doc.isDragging());
        doc.commitTextEditing(true);
    }
}
