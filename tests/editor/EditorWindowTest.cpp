#include "EditorWindowFixture.h"

#include <QMenu>
#include <QTimer>

TEST_F(EditorWindowTest, OpensTitledAtItsFitWithTheReadOuts) {
    openImage(400, 300);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Vellumix"));
    EXPECT_EQ(window->minimumSize(), QSize(600, 236));
    // A small image opens at 100 % in the smallest opening area: 800 × (400 + 136).
    EXPECT_EQ(window->size(), QSize(800, 536));
    EXPECT_EQ(imageDims(), QStringLiteral("400 × 300 px"));
    EXPECT_EQ(zoomText(), QStringLiteral("100%"));
    EXPECT_FALSE(selectionShown());
    // The rect tool is active; the text controls are not shown for it.
    EXPECT_TRUE(tool(Tool::rect)->isChecked());
    EXPECT_EQ(doc().activeTool(), Tool::rect);
    EXPECT_FALSE(textControls()->isVisible());
    // The canvas sits centred in the larger view.
    const QRect inView(canvas()->mapTo(window->scrollView()->viewport(), QPoint(0, 0)),
                       canvas()->size());
    const QRect view = window->scrollView()->viewport()->rect();
    EXPECT_NEAR(inView.center().x(), view.center().x(), 1);
    EXPECT_NEAR(inView.center().y(), view.center().y(), 1);
}

TEST_F(EditorWindowTest, ToolLettersAndButtonsSwitchTools) {
    openImage();
    canvas()->setFocus();
    QTest::keyClick(canvas(), Qt::Key_O);
    EXPECT_TRUE(tool(Tool::oval)->isChecked());
    EXPECT_FALSE(tool(Tool::rect)->isChecked());
    EXPECT_EQ(doc().activeTool(), Tool::oval);
    QTest::keyClick(canvas(), Qt::Key_T);
    EXPECT_TRUE(textControls()->isVisible());
    QTest::mouseClick(tool(Tool::arrow), Qt::LeftButton);
    EXPECT_EQ(doc().activeTool(), Tool::arrow);
    EXPECT_FALSE(textControls()->isVisible());
    QTest::mouseClick(tool(Tool::select), Qt::LeftButton);
    EXPECT_EQ(doc().activeTool(), Tool::select);
}

// The steps and limits are the model's; here the buttons and Ctrl+wheel reach it and the canvas
// follows.
TEST_F(EditorWindowTest, ZoomButtonsAndTheWheelResizeTheCanvas) {
    openImage(400, 300);
    QTest::mouseClick(zoomInButton(), Qt::LeftButton);
    EXPECT_EQ(zoomText(), QStringLiteral("125%"));
    // The canvas grows with the magnification: 440 × 340 units at 1.25.
    EXPECT_EQ(canvas()->size(), QSize(550, 425));
    QTest::mouseClick(zoomOutButton(), Qt::LeftButton);
    QTest::mouseClick(zoomOutButton(), Qt::LeftButton);
    EXPECT_EQ(zoomText(), QStringLiteral("80%"));
    // Ctrl+wheel steps too, one notch a step.
    QWheelEvent wheel(QPointF(50, 50), window->scrollView()->mapToGlobal(QPoint(50, 50)), {},
                      QPoint(0, 120), Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(window->scrollView()->viewport(), &wheel);
    EXPECT_EQ(zoomText(), QStringLiteral("100%"));
}

TEST_F(EditorWindowTest, SelectionReadOutsFollowTheSelection) {
    openImage(400, 300, {rectAt({40.4, 60, 80.6, 50})});
    QTest::mouseClick(tool(Tool::select), Qt::LeftButton);
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, at({80, 85}));
    ASSERT_TRUE(selectionShown());
    EXPECT_FALSE(imageGroupShown()); // the selection's read-out takes the image's place
    EXPECT_EQ(selectedPos(), QStringLiteral("x: 20, y: 40"));
    EXPECT_EQ(selectedSize(), QStringLiteral("81 × 50 px"));
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, at({380, 280}));
    EXPECT_FALSE(selectionShown());
    EXPECT_TRUE(imageGroupShown());
}

TEST_F(EditorWindowTest, HidingAnnotationsDisablesToolsAndDrawing) {
    // Which controls go dim is the model's; here the widgets follow and the canvas stops drawing.
    openImage();
    dragOnCanvas({60, 60}, {160, 140});
    ASSERT_EQ(doc().annotations().size(), 1u);
    QTest::mouseClick(visibilityToggle(), Qt::LeftButton);
    EXPECT_FALSE(doc().showsAnnotations());
    EXPECT_FALSE(tool(Tool::oval)->isEnabled());
    EXPECT_FALSE(lineWidthPopUp()->isEnabled());
    dragOnCanvas({200, 60}, {300, 140});
    EXPECT_EQ(doc().annotations().size(), 1u); // the canvas ignores the mouse
    QTest::mouseClick(visibilityToggle(), Qt::LeftButton);
    EXPECT_TRUE(tool(Tool::oval)->isEnabled());
    dragOnCanvas({200, 60}, {300, 140});
    EXPECT_EQ(doc().annotations().size(), 2u);
}

TEST_F(EditorWindowTest, ClosingSavesIntoTheBundleAndDiscardDeletesIt) {
    const auto bundle = history.createBundle(whiteImage(400, 300), {});
    ASSERT_TRUE(bundle);
    EditorDocument document;
    document.image = whiteImage(400, 300);
    document.bundlePath = *bundle;
    window = open(std::move(document));
    int closed = 0;
    window->onClose = [&] { ++closed; };
    dragOnCanvas({60, 60}, {160, 140});
    // On disk soon after, with the window still open.
    EXPECT_TRUE(test::eventually([&] { return bundle::loadAnnotations(*bundle).size() == 1; }));
    // A text still being typed is kept too.
    canvas()->setFocus();
    QTest::keyClick(canvas(), Qt::Key_T);
    dragOnCanvas({200, 60}, {380, 120});
    ASSERT_NE(canvas()->textEditor(), nullptr);
    QTest::keyClicks(canvas()->textEditor(), "Typed");
    QTest::keyClick(window.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_EQ(closed, 1);
    const AnnotationList saved = bundle::loadAnnotations(*bundle);
    ASSERT_EQ(saved.size(), 2u);
    EXPECT_EQ(kindOf(saved[0]), AnnotationKind::shape);
    EXPECT_EQ(std::get<TextAnnotation>(saved[1]).text, QStringLiteral("Typed"));
    window.reset();

    // Reopened with its annotations, then discarded: the bundle is gone.
    document = EditorDocument{whiteImage(400, 300), *bundle, QStringLiteral("png"), saved};
    window = open(std::move(document));
    EXPECT_EQ(doc().annotations().size(), 2u);
    QTest::mouseClick(discardButton(), Qt::LeftButton);
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(QDir(*bundle).exists());
}

// Closing inside an image-edit session keeps nothing of the session: the bundle gets the picture
// and the annotations from before it, as Cancel would.
TEST_F(EditorWindowTest, AnUnappliedImageEditIsNotSavedOnClose) {
    const AnnotationList before{rectAt(QRectF(70, 70, 100, 70))};
    const auto bundle = history.createBundle(whiteImage(400, 300), before);
    ASSERT_TRUE(bundle);
    window = open(EditorDocument{whiteImage(400, 300), *bundle, QStringLiteral("png"), before});
    window->selectTool(Tool::editImage);
    window->rotateRight();
    ASSERT_EQ(std::get<ShapeAnnotation>(doc().annotations()[0]).rect, QRectF(200, 70, 70, 100));
    QTest::qWait(BundleAutosave::annotationsDelayMs + 300); // the autosave has run meanwhile
    QTest::keyClick(window.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_EQ(bundle::readImage(*bundle).size(), QSize(400, 300));
    const AnnotationList saved = bundle::loadAnnotations(*bundle);
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(std::get<ShapeAnnotation>(saved[0]).rect, QRectF(70, 70, 100, 70));
}

TEST_F(EditorWindowTest, RetainedStylesCarryAcrossWindows) {
    settings.setRetainLastStylePerType(true);
    openImage();
    // Rect tool: "L" width.
    lineWidthPopUp()->setFocus();
    QTest::keyClick(lineWidthPopUp(), Qt::Key_Down);
    QTest::keyClick(lineWidthPopUp(), Qt::Key_Down);
    EXPECT_EQ(lineWidthPopUp()->currentText(), QStringLiteral("L"));
    // The oval keeps its own style.
    QTest::mouseClick(tool(Tool::oval), Qt::LeftButton);
    EXPECT_EQ(lineWidthPopUp()->currentText(), QStringLiteral("S"));
    window->close();
    window.reset();

    openImage();
    EXPECT_EQ(lineWidthPopUp()->currentText(), QStringLiteral("L")); // rect, remembered
    dragOnCanvas({60, 60}, {160, 140});
    EXPECT_EQ(std::get<ShapeAnnotation>(doc().annotations()[0]).lineWidth, 8);
}

TEST_F(EditorWindowTest, AModeChosenInOneWindowRetitlesEveryWindow) {
    openImage();
    EditorDocument other;
    other.image = whiteImage(200, 100);
    const auto second = open(std::move(other));
    EXPECT_EQ(saveButton(*second)->title(), QStringLiteral("Export to Desktop"));

    // "Export as…" from the first window's chevron menu: its dialog opens at once (and is
    // cancelled here).
    SaveSplitButton* button = saveButton(*window);
    QTest::mouseClick(button, Qt::LeftButton, {}, button->chevronRect().center());
    QAction* exportAs = nullptr;
    for (QMenu* menu : window->findChildren<QMenu*>()) {
        for (QAction* item : menu->actions()) {
            if (item->text() == QStringLiteral("Export as…")) {
                exportAs = item;
            }
        }
    }
    ASSERT_NE(exportAs, nullptr);
    bool dialogShown = false;
    QTimer cancel;
    QObject::connect(&cancel, &QTimer::timeout, [&] {
        if (auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) {
            dialogShown = true;
            dialog->reject();
        }
    });
    cancel.start(10);
    exportAs->trigger();
    EXPECT_TRUE(dialogShown);
    EXPECT_EQ(button->title(), QStringLiteral("Export as…"));
    EXPECT_EQ(saveButton(*second)->title(), QStringLiteral("Export as…"));
}

TEST_F(EditorWindowTest, ThePanelColoursTheTextBeingEdited) {
    openImage();
    canvas()->setFocus();
    QTest::keyClick(canvas(), Qt::Key_T);
    dragOnCanvas({60, 60}, {300, 120});
    ASSERT_NE(canvas()->textEditor(), nullptr);
    QTest::keyClicks(canvas()->textEditor(), "Blue");
    // The stroke well opens the shared panel; a colour picked there goes to the text.
    QTest::mouseClick(strokeWell()->swatchButton(), Qt::LeftButton);
    SharedColorPanel& panel = SharedColorPanel::instance();
    ASSERT_TRUE(panel.isVisible());
    panel.dialog()->setCurrentColor(QColor(0, 0, 255));
    ASSERT_NE(canvas()->textEditor(), nullptr); // the panel does not end the edit
    EXPECT_EQ(canvas()->textEditor()->currentCharFormat().foreground().color(), QColor(0, 0, 255));
    // A press on the canvas closes the panel and commits the text in its new colour.
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, at({380, 280}));
    EXPECT_FALSE(panel.isVisible());
    ASSERT_EQ(doc().annotations().size(), 1u);
    const auto& text = std::get<TextAnnotation>(doc().annotations()[0]);
    EXPECT_EQ(text.text, QStringLiteral("Blue"));
    EXPECT_EQ(text.color.toQColor().rgb(), QColor(0, 0, 255).rgb());
    EXPECT_NE(text.strokeColor.toQColor().rgb(), QColor(0, 0, 255).rgb()); // not the border
}
