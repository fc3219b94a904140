#include "canvas/AnnotationCanvasView.h"

#include "model/AnnotationGeometry.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>
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

TEST_F(CanvasViewTest, DragsAndTypingDrawThroughTheWidget) {
    const auto drawWith = [this](Tool tool, QPoint from, QPoint to) {
        view.document().setActiveTool(tool);
        QTest::mousePress(&view, Qt::LeftButton, {}, from);
        moveWithButton(&view, (from + to) / 2);
        moveWithButton(&view, to);
        QTest::mouseRelease(&view, Qt::LeftButton, {}, to);
    };
    // What each tool makes is the document's (CanvasDocumentTest); here the widget's drags
    // reach it at the right canvas points.
    drawWith(Tool::rect, {40, 40}, {120, 100});
    drawWith(Tool::draw, {240, 150}, {300, 200});
    ASSERT_EQ(annotations().size(), 2u);
    EXPECT_EQ(geometry::bounds(annotations()[0]), QRectF(40, 40, 80, 60));
    EXPECT_EQ(kindOf(annotations()[1]), AnnotationKind::stroke);

    view.document().setActiveTool(Tool::text);
    EXPECT_EQ(view.cursor().shape(), Qt::IBeamCursor);
    QTest::mousePress(&view, Qt::LeftButton, {}, {60, 220});
    moveWithButton(&view, {260, 280});
    EXPECT_EQ(view.cursor().shape(), Qt::CrossCursor);
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {260, 280});
    ASSERT_NE(view.textEditor(), nullptr);
    QTest::keyClicks(view.textEditor(), "Label");
    QTest::mouseClick(&view, Qt::LeftButton, {}, {380, 30}); // a click elsewhere commits
    ASSERT_EQ(annotations().size(), 3u);
    EXPECT_EQ(std::get<TextAnnotation>(annotations()[2]).text, QStringLiteral("Label"));
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
    const Subscription s =
        view.document().onRequestTool.subscribe([&](Tool t) { requested.push_back(t); });
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

namespace {

TextAnnotation textAt(const QRectF& rect, const QString& words) {
    return makeText(rect, words, AnnotationStyle());
}

ShapeAnnotation rectAt(const QRectF& rect) {
    ShapeAnnotation shape;
    shape.rect = rect;
    return shape;
}

int countOfKind(const AnnotationList& list, AnnotationKind kind) {
    return int(std::count_if(list.begin(), list.end(),
                             [kind](const Annotation& a) { return kindOf(a) == kind; }));
}

} // namespace

TEST_F(CanvasViewTest, ListChangesDuringAnEditKeepTheEditedBox) {
    struct Change {
        const char* name;
        std::function<void(AnnotationCanvasView&)> apply;
        int shapesAfter; // rectangles left once the change is made
        int textsAfter;  // text boxes after the commit
    };
    const auto menuAction = [](AnnotationCanvasView& v, QPoint at, const QString& title) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, v.mapToGlobal(at));
        QApplication::sendEvent(&v, &event);
        ASSERT_NE(v.lastContextMenu(), nullptr);
        for (QAction* action : v.lastContextMenu()->actions()) {
            if (action->text() == title) {
                action->trigger();
                v.lastContextMenu()->close();
                return;
            }
        }
        FAIL() << "no menu item " << title.toStdString();
    };
    const std::vector<Change> changes{
        {"bring to front from the menu",
         [&](AnnotationCanvasView& v) {
             menuAction(v, {80, 80}, QStringLiteral("Bring to front"));
         },
         1, 1},
        {"lock from the menu",
         [&](AnnotationCanvasView& v) {
             menuAction(v, {80, 80}, QStringLiteral("Lock"));
         },
         1, 1},
        {"delete the rectangle",
         [](AnnotationCanvasView& v) {
             v.document().setSelection({0});
             v.document().deleteSelection();
         },
         0, 1},
        {"paste an overlay",
         [](AnnotationCanvasView& v) {
             QImage picture(40, 40, QImage::Format_ARGB32);
             picture.fill(Qt::green);
             v.document().addOverlay(picture, QPointF(300, 250));
         },
         1, 1},
        {"undo the box's earlier move",
         [](AnnotationCanvasView& v) { v.document().undoStack().undo(); }, 1, 1},
        {"send the box to the back",
         [](AnnotationCanvasView& v) {
             v.document().setSelection({1});
             v.document().sendToBack();
         },
         1, 1},
    };
    for (const Change& change : changes) {
        SCOPED_TRACE(change.name);
        // Rectangle under the text; the text's move is one undo step away.
        view.document().undoStack().clear();
        view.document().setActiveTool(Tool::select);
        const ShapeAnnotation under = rectAt({60, 60, 200, 120});
        const TextAnnotation text = textAt({100, 100, 160, 40}, QStringLiteral("Before"));
        TextAnnotation earlier = text;
        earlier.rect.translate(-10, 0);
        view.document().setAnnotationsWithoutUndo({under, earlier});
        view.document().replaceAnnotations({under, text}, QStringLiteral("Move Annotation"));
        QTest::mouseDClick(&view, Qt::LeftButton, {}, {120, 115});
        ASSERT_NE(view.textEditor(), nullptr);
        QTest::keyClicks(view.textEditor(), "New");
        change.apply(view);
        EXPECT_EQ(countOfKind(annotations(), AnnotationKind::shape), change.shapesAfter);
        QTest::keyClick(view.textEditor(), Qt::Key_Escape);
        QApplication::processEvents();
        ASSERT_EQ(view.textEditor(), nullptr);
        EXPECT_EQ(countOfKind(annotations(), AnnotationKind::shape), change.shapesAfter);
        EXPECT_EQ(countOfKind(annotations(), AnnotationKind::text), change.textsAfter);
        for (const Annotation& a : annotations()) {
            if (const auto* text = std::get_if<TextAnnotation>(&a)) {
                EXPECT_EQ(text->text, QStringLiteral("New"));
            }
        }
    }
}

TEST_F(CanvasViewTest, StyleSettersReachTheOpenEditor) {
    view.document().setActiveTool(Tool::text);
    QTest::mousePress(&view, Qt::LeftButton, {}, {40, 40});
    moveWithButton(&view, {240, 140});
    QTest::mouseRelease(&view, Qt::LeftButton, {}, {240, 140});
    QTextEdit* editor = view.textEditor();
    ASSERT_NE(editor, nullptr);
    QTest::keyClicks(editor, "Styled");
    const double smallSize = editor->currentCharFormat().font().pointSizeF();
    const QRect inset = editor->geometry();
    EXPECT_EQ(inset.topLeft(), QPoint(46, 46)); // the default padding of 6

    view.document().setFontSize(32);
    EXPECT_NEAR(editor->currentCharFormat().font().pointSizeF(), smallSize * 2, 0.01);
    view.document().setFontColor(Color::rgb(0, 0, 1));
    EXPECT_EQ(editor->palette().color(QPalette::Text), QColor(0, 0, 255));
    EXPECT_EQ(editor->currentCharFormat().foreground().color(), QColor(0, 0, 255));
    view.document().setAlignment(TextAlignment::right);
    EXPECT_EQ(editor->alignment() & Qt::AlignHorizontal_Mask, Qt::AlignRight);
    view.document().setTextPadding(20);
    EXPECT_EQ(editor->geometry().topLeft(), QPoint(60, 60));
    EXPECT_EQ(editor->geometry().width(), inset.width() - 28);
    // What was typed keeps the new style when committed.
    QTest::keyClick(editor, Qt::Key_Escape);
    ASSERT_EQ(annotations().size(), 1u);
    const auto& text = std::get<TextAnnotation>(annotations()[0]);
    EXPECT_EQ(text.fontSize, 32);
    EXPECT_EQ(text.padding, 20);
    EXPECT_EQ(text.alignment, TextAlignment::right);
}

TEST_F(CanvasViewTest, ContextMenuThroughTheWidget) {
    const auto openMenu = [this](QPoint at) {
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, view.mapToGlobal(at));
        QApplication::sendEvent(&view, &event);
        QMenu* menu = view.lastContextMenu();
        EXPECT_NE(menu, nullptr);
        menu->close();
        return menu;
    };
    // Items in order; separators as "-".
    const auto titles = [](QMenu* menu) {
        QStringList list;
        for (QAction* a : menu->actions()) {
            list << (a->isSeparator() ? QStringLiteral("-") : a->text());
        }
        return list;
    };
    const auto item = [](QMenu* menu, const QString& title) -> QAction* {
        for (QAction* a : menu->actions()) {
            if (a->text() == title) {
                return a;
            }
        }
        return nullptr;
    };

    const ArrowAnnotation arrow =
        makeArrow({60, 200}, {200, 200}, {130, 200}, AnnotationStyle(), ArrowEndCap::dotBoth);
    ShapeAnnotation far = rectAt({300, 40, 60, 40});
    far.isLocked = true;
    view.document().setAnnotationsWithoutUndo({rectAt({40, 180, 200, 60}), arrow, far});
    AnnotationStyle thick;
    thick.lineWidth = 8;
    thick.strokeColor = Color::rgb(0, 0.5, 1);
    std::vector<Tool> presetTools;
    view.document().presetsForTool = [&](Tool tool) {
        presetTools.push_back(tool);
        return std::vector<PresetEntry>{
            {QStringLiteral("A"), QDateTime(QDate(2026, 3, 4), QTime(15, 7)), thick},
            {QStringLiteral("B"), QDateTime(QDate(2026, 11, 23), QTime(9, 30)), AnnotationStyle()}};
    };

    // The arrow in the rectangle tool: "Select" first, layering, caps, lock, presets, merge.
    view.document().setActiveTool(Tool::rect);
    QMenu* menu = openMenu({130, 200});
    EXPECT_EQ(titles(menu),
              (QStringList{"Select", "-", "Bring to front", "Bring forward", "Send backward",
                           "Send to back", "-", "Arrow style", "-", "Lock", "-",
                           "Save style preset", "Apply style preset", "-", "Merge into image"}));
    EXPECT_FALSE(item(menu, "Bring to front")->isEnabled()); // nothing above overlaps it
    EXPECT_FALSE(item(menu, "Bring forward")->isEnabled());
    EXPECT_TRUE(item(menu, "Send backward")->isEnabled());
    EXPECT_TRUE(item(menu, "Send to back")->isEnabled());
    EXPECT_TRUE(item(menu, "Save style preset")->isEnabled());
    EXPECT_TRUE(item(menu, "Merge into image")->isEnabled());
    for (QAction* a : menu->actions()) {
        EXPECT_TRUE(a->shortcut().isEmpty()) << a->text().toStdString();
    }

    // End caps: icon only, named for screen readers by their label, the current one checked.
    QMenu* caps = item(menu, "Arrow style")->menu();
    ASSERT_NE(caps, nullptr);
    caps->show();
    QAccessibleInterface* capsAccessible = QAccessible::queryAccessibleInterface(caps);
    ASSERT_NE(capsAccessible, nullptr);
    ASSERT_EQ(capsAccessible->childCount(), 5);
    const QStringList labels{"Triangle", "Triangle (both ends)", "Dot", "Dot (both ends)",
                             "Line (no caps)"};
    for (int i = 0; i < 5; ++i) {
        QAction* cap = caps->actions()[i];
        EXPECT_TRUE(cap->text().isEmpty());
        EXPECT_FALSE(cap->icon().isNull());
        EXPECT_EQ(cap->toolTip(), labels[i]);
        QAccessibleInterface* child = capsAccessible->child(i);
        ASSERT_NE(child, nullptr);
        EXPECT_EQ(child->text(QAccessible::Name), labels[i]);
        EXPECT_EQ(child->role(), QAccessible::MenuItem);
        EXPECT_EQ(child->state().checked, i == 3);
        EXPECT_EQ(cap->isEnabled(), i != 3);
    }
    caps->close();
    // Choosing a cap through accessibility changes the arrow.
    capsAccessible->child(4)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
    EXPECT_EQ(std::get<ArrowAnnotation>(annotations()[1]).endCap, ArrowEndCap::line);

    // Presets of the arrow's tool, titled by their time, each with a 14-high swatch.
    QMenu* presets = item(menu, "Apply style preset")->menu();
    ASSERT_NE(presets, nullptr);
    EXPECT_EQ(presetTools.back(), Tool::arrow);
    ASSERT_EQ(presets->actions().size(), 2);
    EXPECT_EQ(presets->actions()[0]->text(), QStringLiteral("3/4, 3:07 PM"));
    EXPECT_EQ(presets->actions()[1]->text(), QStringLiteral("11/23, 9:30 AM"));
    for (QAction* preset : presets->actions()) {
        ASSERT_FALSE(preset->icon().isNull());
        EXPECT_EQ(preset->icon().availableSizes().front().height(), 14);
    }
    // The arrow already has the default style: its preset has no action.
    EXPECT_TRUE(presets->actions()[0]->isEnabled());
    EXPECT_FALSE(presets->actions()[1]->isEnabled());

    // The locked rectangle in the select tool: no "Select", "Unlock", no caps.
    view.document().setActiveTool(Tool::select);
    menu = openMenu({330, 60});
    EXPECT_EQ(titles(menu).mid(0, 6),
              (QStringList{"Bring to front", "Bring forward", "Send backward", "Send to back", "-",
                           "Unlock"}));
    EXPECT_FALSE(item(menu, "Send backward")->isEnabled());
    EXPECT_FALSE(item(menu, "Arrow style"));

    // Two selected, right-click inside their union but on neither: the selection menu.
    view.document().setSelection({0, 2});
    menu = openMenu({280, 120});
    EXPECT_TRUE(item(menu, "Lock"));
    EXPECT_FALSE(item(menu, "Save style preset")->isEnabled());
    EXPECT_FALSE(item(menu, "Apply style preset"));
}
