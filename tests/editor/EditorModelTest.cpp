#include "editor/EditorModel.h"

#include "canvas/CanvasDocument.h"
#include "library/Settings.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <memory>

using namespace vellumix;

namespace {

constexpr Qt::KeyboardModifiers none = Qt::NoModifier;
const Color blue = Color::rgb(0.2, 0.4, 0.6);

class EditorModelTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    StyleLibrary library{dir.path()};
    CanvasDocument doc;
    std::unique_ptr<EditorModel> model;
    std::vector<EditorControls> reports;

    void SetUp() override { open(QSize(1000, 800)); }

    void open(QSize imageSize, std::optional<QRectF> frame = QRectF(0, 0, 1440, 900)) {
        model.reset();
        QImage image(imageSize, QImage::Format_RGB32);
        image.fill(Qt::white);
        model = std::make_unique<EditorModel>(doc, settings, library, image, frame);
        model->onControlsChanged = [this](const EditorControls& c) { reports.push_back(c); };
    }
    int add(const Annotation& annotation) {
        AnnotationList list = doc.annotations();
        list.push_back(annotation);
        doc.setAnnotationsWithoutUndo(list);
        return static_cast<int>(list.size()) - 1;
    }
    static ShapeAnnotation rect(const QRectF& r, Color stroke = SystemColors::red) {
        ShapeAnnotation s;
        s.rect = r;
        s.strokeColor = stroke;
        return s;
    }
    static ArrowAnnotation arrow(QPointF start, QPointF end, Color color, double width) {
        ArrowAnnotation a;
        a.start = start;
        a.end = end;
        a.controlPoint = (start + end) / 2;
        a.color = color;
        a.lineWidth = width;
        return a;
    }
    template <class T> const T& at(int index) const {
        return std::get<T>(doc.annotations()[static_cast<size_t>(index)]);
    }
    EditorControls controls() const { return model->controls(); }
};

} // namespace

// --- Opening -------------------------------------------------------------------------------------

TEST_F(EditorModelTest, ImagesOpenAtTheFitScaleInTheRectTool) {
    open(QSize(4000, 3000));
    EXPECT_NEAR(model->magnification(), 0.196333, 1e-6); // the layout's fit (EditorLayout)
    EXPECT_EQ(model->activeTool(), Tool::rect);
    EXPECT_EQ(doc.activeTool(), Tool::rect);
    EXPECT_EQ(doc.image().size(), QSize(4000, 3000));

    const EditorControls c = controls();
    EXPECT_EQ(c.zoomText, QStringLiteral("20%"));
    EXPECT_EQ(c.imageSizeText, QString::fromUtf8("4000 \u00D7 3000 px"));
    EXPECT_FALSE(c.zoomOutEnabled);           // already at the lowered minimum
    EXPECT_EQ(c.opacityIndex, 3);             // the default style's 100%
    EXPECT_EQ(c.fontSizeIndex, 2);            // 16
    EXPECT_FALSE(c.visibilityToggle.enabled); // no annotations yet
    EXPECT_EQ(c.visibilityToggleTint, ToggleTint::quaternaryLabel);
    EXPECT_FALSE(c.selectionGroupVisible);
    EXPECT_EQ(doc.style(), AnnotationStyle::defaultStyle());

    open(QSize(100, 50)); // a small image opens at full size
    EXPECT_EQ(model->magnification(), 1);
    EXPECT_EQ(controls().zoomText, QStringLiteral("100%"));
    EXPECT_EQ(controls().imageSizeText, QString::fromUtf8("100 \u00D7 50 px"));
}

// --- Loading a style and changing controls ----------------------------------------------------

TEST_F(EditorModelTest, LoadingAStyleSelectsTheNearestEntries) {
    AnnotationStyle s;
    s.opacity = 0.6;
    s.lineWidth = 5;     // M (4) is nearer than L (8)
    s.cornerRadius = 20; // ⌀ M (16) is nearer than ⌀ L (26)
    s.fontSize = 13;     // 12 and 14 tie: the earlier
    s.textPadding = 9;   // None… S (6) and M (12) tie: S
    s.lineStyle = LineStyle::dotted;
    s.fontFamily = QStringLiteral("Futura");
    s.fontStyle = QStringLiteral("Bold Italic");
    s.alignment = TextAlignment::right;
    s.fillColor = Color::rgb(0.1, 0.2, 0.3, 0.6);
    model->loadStyle(s);

    const EditorControls c = controls();
    EXPECT_EQ(c.opacityIndex, 1);
    EXPECT_EQ(c.lineWidthIndex, 1);
    EXPECT_EQ(c.cornerRadiusIndex, 2);
    EXPECT_EQ(c.fontSizeIndex, 0);
    EXPECT_EQ(c.textPaddingIndex, 1);
    EXPECT_EQ(c.linePatternIndex, 1);
    EXPECT_EQ(c.fontFamilyIndex, 5);
    EXPECT_TRUE(c.boldSegment);
    EXPECT_TRUE(c.italicSegment);
    EXPECT_EQ(c.alignmentIndex, 2);
    EXPECT_EQ(c.fillColor, Color::rgb(0.1, 0.2, 0.3, 1)); // the well shows the opaque colour

    // The fields keep the style's own values, not the entries'.
    EXPECT_EQ(model->currentStyle().opacity, 0.6);
    EXPECT_EQ(model->currentStyle().lineWidth, 5);
    // The canvas draws with the opacity in the colours' alpha.
    EXPECT_EQ(doc.style().strokeColor, SystemColors::red.withAlpha(0.6));
    EXPECT_EQ(doc.style().fillColor, Color::rgb(0.1, 0.2, 0.3, 0.6));
    EXPECT_EQ(doc.style().lineWidth, 5);
    EXPECT_EQ(doc.style().fontStyle, QStringLiteral("Bold Italic"));

    s.fontFamily = QStringLiteral("DejaVu Sans");
    s.fontStyle = QStringLiteral("Italic");
    model->loadStyle(s);
    EXPECT_EQ(controls().fontFamilyIndex, -1);
    EXPECT_FALSE(controls().boldSegment);
    EXPECT_TRUE(controls().italicSegment);
}

TEST_F(EditorModelTest, ControlChangesReachTheCanvasAndTheActiveToolsStyle) {
    model->lineWidthChanged(3); // XL
    EXPECT_EQ(doc.style().lineWidth, 16);
    EXPECT_EQ(model->toolStyles().at(Tool::rect).lineWidth, 16);
    EXPECT_EQ(model->toolStyles().at(Tool::oval).lineWidth, 2);

    model->opacityChanged(0); // 25%
    EXPECT_EQ(doc.style().strokeColor, SystemColors::red.withAlpha(0.25));
    EXPECT_EQ(doc.style().fillColor, Color::clear()); // clear stays clear
    EXPECT_EQ(doc.style().fontColor, SystemColors::red.withAlpha(0.25));

    model->fillColorChanged(Color::rgb(0, 0.5, 1, 0.8)); // the well's own alpha is not used
    EXPECT_EQ(doc.style().fillColor, Color::rgb(0, 0.5, 1, 0.25));
    EXPECT_EQ(controls().fillColor, Color::rgb(0, 0.5, 1, 1));
    model->clearStrokeColor();
    EXPECT_EQ(doc.style().strokeColor, Color::clear());
    EXPECT_EQ(model->toolStyles().at(Tool::rect).strokeColor, Color::clear());

    model->fontStyleChanged(true, false);
    EXPECT_EQ(doc.style().fontStyle, QStringLiteral("Bold"));
    model->fontStyleChanged(false, false);
    EXPECT_EQ(doc.style().fontStyle, QStringLiteral("Regular"));
    model->fontFamilyChanged(9);
    model->fontSizeChanged(6);
    model->alignmentChanged(1);
    model->textPaddingChanged(0);
    model->cornerRadiusChanged(3);
    model->lineStyleChanged(3);
    EXPECT_EQ(doc.style().fontFamily, QStringLiteral("Menlo"));
    EXPECT_EQ(doc.style().fontSize, 48);
    EXPECT_EQ(doc.style().alignment, TextAlignment::center);
    EXPECT_EQ(doc.style().textPadding, 0);
    EXPECT_EQ(doc.style().cornerRadius, 26);
    EXPECT_EQ(doc.style().lineStyle, LineStyle::dashDot);
    EXPECT_EQ(model->toolStyles().at(Tool::rect), model->currentStyle());
}

TEST_F(EditorModelTest, OutOfRangeIndicesChangeNothing) {
    const AnnotationStyle before = model->currentStyle();
    const size_t reported = reports.size();
    model->opacityChanged(4);
    model->lineWidthChanged(-1);
    model->lineStyleChanged(9);
    model->cornerRadiusChanged(4);
    model->fontFamilyChanged(12);
    model->fontSizeChanged(7);
    model->textPaddingChanged(-3);
    model->alignmentChanged(3);
    EXPECT_EQ(model->currentStyle(), before);
    EXPECT_EQ(doc.style(), AnnotationStyle::defaultStyle());
    EXPECT_EQ(reports.size(), reported);
}

// --- The selection
// --------------------------------------------------------------------------------

TEST_F(EditorModelTest, ChangeWithTwoSelectedRestylesBothAsOneStepAndSavesNoToolStyle) {
    add(rect(QRectF(100, 100, 50, 50)));
    add(arrow({300, 300}, {400, 300}, blue, 2));
    model->selectTool(Tool::select);
    doc.setSelection({0, 1});
    const ToolStyles before = model->toolStyles();
    const int steps = doc.undoStack().count();

    model->lineWidthChanged(2); // L
    EXPECT_EQ(at<ShapeAnnotation>(0).lineWidth, 8);
    EXPECT_EQ(at<ArrowAnnotation>(1).lineWidth, 8);
    EXPECT_EQ(doc.undoStack().count(), steps + 1);
    EXPECT_EQ(doc.undoStack().undoText(), QStringLiteral("Restyle Annotations"));
    EXPECT_EQ(model->toolStyles(), before);

    doc.undoStack().undo();
    EXPECT_EQ(at<ShapeAnnotation>(0).lineWidth, 2);
    EXPECT_EQ(at<ArrowAnnotation>(1).lineWidth, 2);
}

TEST_F(EditorModelTest, OneSelectedArrowLoadsItsStyleAndBecomesTheArrowStyle) {
    add(rect(QRectF(100, 100, 50, 50)));
    add(arrow({300, 300}, {400, 300}, blue.withAlpha(0.5), 8));
    model->selectTool(Tool::select);
    doc.setSelection({1});

    const EditorControls c = controls();
    EXPECT_EQ(c.strokeColor, blue);
    EXPECT_EQ(c.opacityIndex, 1);   // 50%
    EXPECT_EQ(c.lineWidthIndex, 2); // L
    const AnnotationStyle& arrowStyle = model->toolStyles().at(Tool::arrow);
    EXPECT_EQ(arrowStyle.strokeColor, blue);
    EXPECT_EQ(arrowStyle.opacity, 0.5);
    EXPECT_EQ(arrowStyle.lineWidth, 8);
    EXPECT_EQ(arrowStyle.fillColor, Color::clear()); // an arrow has no fill: the entry's own
    EXPECT_EQ(doc.style().strokeColor, blue.withAlpha(0.5));

    // A change now restyles that arrow only in the changed attribute and updates its tool.
    model->strokeColorChanged(Color::rgb(1, 0, 0));
    EXPECT_EQ(at<ArrowAnnotation>(1).color, Color::rgb(1, 0, 0, 0.5));
    EXPECT_EQ(at<ArrowAnnotation>(1).lineWidth, 8);
    EXPECT_EQ(doc.undoStack().undoText(), QStringLiteral("Restyle Annotation"));
    EXPECT_EQ(model->toolStyles().at(Tool::arrow).strokeColor, Color::rgb(1, 0, 0));
    EXPECT_EQ(model->toolStyles().at(Tool::rect), AnnotationStyle::defaultStyle());
    EXPECT_EQ(at<ShapeAnnotation>(0).strokeColor, SystemColors::red);
}

TEST_F(EditorModelTest, SelectionOutsideTheSelectToolDoesNotLoad) {
    add(arrow({300, 300}, {400, 300}, blue, 16));
    doc.setSelection({0}); // e.g. a right click in the rect tool
    EXPECT_EQ(controls().lineWidthIndex, 0);
    EXPECT_EQ(model->toolStyles().at(Tool::arrow).lineWidth, 2);
}

TEST_F(EditorModelTest, AnEmptySelectionRemembersTheToolStylesWhateverTheSetting) {
    model->lineWidthChanged(4);
    EXPECT_TRUE(library.loadStyles().empty());
    doc.setSelection({});
    const ToolStyles saved = library.loadStyles();
    ASSERT_EQ(saved.size(), 6u); // every style-carrying tool, the step tool too
    EXPECT_EQ(saved.at(Tool::rect).lineWidth, 24);
    EXPECT_EQ(saved.at(Tool::text).lineWidth, 2);
}

TEST_F(EditorModelTest, PresetsFromTheContextMenuRestyleAndBecomeTheToolStyle) {
    AnnotationStyle preset;
    preset.strokeColor = blue;
    preset.fillColor = Color::rgb(1, 1, 0);
    preset.lineWidth = 4;
    preset.opacity = 0.75;
    library.addPreset(preset, Tool::rect);
    add(rect(QRectF(100, 100, 50, 50)));
    model->selectTool(Tool::select);
    doc.setSelection({0});

    const auto menu = doc.contextMenu(QPointF(125, 125));
    const CanvasMenuItem* apply = nullptr;
    for (const auto& item : menu) {
        if (item.title == QStringLiteral("Apply style preset")) {
            apply = &item;
        }
    }
    ASSERT_NE(apply, nullptr); // the model supplied the tool's presets
    ASSERT_EQ(apply->submenu.size(), 1u);
    doc.triggerMenuItem(apply->submenu.front());

    const auto& shape = at<ShapeAnnotation>(0);
    EXPECT_EQ(shape.strokeColor, blue.withAlpha(0.75));
    EXPECT_EQ(shape.fillColor, Color::rgb(1, 1, 0, 0.75));
    EXPECT_EQ(shape.lineWidth, 4);
    EXPECT_EQ(doc.undoStack().undoText(), QStringLiteral("Restyle Annotation"));
    EXPECT_EQ(model->toolStyles().at(Tool::rect).lineWidth, 4);
    EXPECT_EQ(controls().opacityIndex, 2);
    EXPECT_EQ(controls().strokeColor, blue);
}

TEST_F(EditorModelTest, SavingAPresetStoresTheAnnotationsStyleUnderItsTool) {
    add(arrow({300, 300}, {400, 300}, blue.withAlpha(0.25), 4));
    model->selectTool(Tool::select);
    doc.setSelection({0});
    for (const auto& item : doc.contextMenu(QPointF(350, 300))) {
        if (item.action == CanvasMenuItem::Action::saveStyleAsPreset) {
            doc.triggerMenuItem(item);
        }
    }
    const ToolPresets presets = library.loadPresets();
    ASSERT_EQ(presets.count(Tool::arrow), 1u);
    ASSERT_EQ(presets.at(Tool::arrow).size(), 1u);
    const AnnotationStyle& saved = presets.at(Tool::arrow).front().style;
    EXPECT_EQ(saved.strokeColor, blue);
    EXPECT_EQ(saved.opacity, 0.25);
    EXPECT_EQ(saved.lineWidth, 4);
}

TEST_F(EditorModelTest, StyleOfAnAnnotationMatchesIt) {
    ShapeAnnotation shape = rect(QRectF(0, 0, 10, 10), blue.withAlpha(0.4));
    shape.fillColor = Color::rgb(1, 1, 1, 0.4);
    shape.cornerRadius = 6;
    const AnnotationStyle s = styleOf(shape, AnnotationStyle::defaultStyle());
    EXPECT_EQ(s.opacity, 0.4);
    EXPECT_EQ(s.fillColor, Color::white());
    EXPECT_TRUE(matchesStyle(shape, s));

    TextAnnotation text;
    text.color = Color::clear();
    text.fontFamily = QStringLiteral("Menlo");
    text.padding = 12;
    const AnnotationStyle t = styleOf(text, AnnotationStyle::defaultStyle());
    EXPECT_EQ(t.opacity, 1); // all colours clear
    EXPECT_EQ(t.textPadding, 12);
    EXPECT_EQ(t.fontColor, Color::clear());
    EXPECT_TRUE(matchesStyle(text, t));

    AnnotationStyle base;
    base.opacity = 0.3;
    OverlayAnnotation overlay;
    overlay.opacity = 0.5;
    EXPECT_EQ(styleOf(overlay, base), base);
}

// --- Tools
// ------------------------------------------------------------------------------------------

TEST_F(EditorModelTest, WithoutRetainedStylesTheStyleCarriesOverToTheNextTool) {
    model->lineWidthChanged(3); // XL in rect
    model->selectTool(Tool::arrow);
    EXPECT_EQ(controls().lineWidthIndex, 3);
    EXPECT_EQ(doc.style().lineWidth, 16);
    EXPECT_EQ(doc.activeTool(), Tool::arrow);
    model->lineWidthChanged(0);
    model->selectTool(Tool::rect);
    EXPECT_EQ(doc.style().lineWidth, 2); // still the arrow's last value, not rect's XL
    model->windowWillClose();
    EXPECT_TRUE(library.loadStyles().empty()); // nothing remembered on close
}

TEST_F(EditorModelTest, RetainedStylesAreLoadedPerToolAndWrittenOnClose) {
    AnnotationStyle remembered;
    remembered.lineWidth = 8;
    library.saveStyles({{Tool::arrow, remembered}, {Tool::select, remembered}});
    settings.setRetainLastStylePerType(true);
    open(QSize(1000, 800));
    EXPECT_EQ(model->toolStyles().size(), 6u); // no entry for select
    EXPECT_EQ(model->toolStyles().at(Tool::arrow).lineWidth, 8);
    EXPECT_EQ(model->toolStyles().at(Tool::rect).lineWidth, 2);

    model->lineWidthChanged(3);
    model->selectTool(Tool::arrow);
    EXPECT_EQ(doc.style().lineWidth, 8);
    EXPECT_EQ(controls().lineWidthIndex, 2);
    model->selectTool(Tool::rect);
    EXPECT_EQ(doc.style().lineWidth, 16);

    // While a text box is open the controls stay with it.
    model->selectTool(Tool::text);
    doc.beginEditing(QRectF(100, 100, 200, 60), QString(), std::nullopt);
    model->selectTool(Tool::arrow);
    EXPECT_EQ(doc.style().lineWidth, 2);
    doc.commitTextEditing(true);

    model->windowWillClose();
    EXPECT_EQ(library.loadStyles().at(Tool::rect).lineWidth, 16);
}

TEST_F(EditorModelTest, ImageEditSessionSwapsTheFooterAndKeepsASnapshot) {
    model->selectTool(Tool::editImage);
    ASSERT_TRUE(model->editImageEntrySnapshot());
    EXPECT_EQ(model->editImageEntrySnapshot()->size(), QSize(1000, 800));
    EXPECT_FALSE(model->editImageSessionMutated());
    EXPECT_EQ(doc.cropRect, QRectF(20, 20, 1000, 800));
    EditorControls c = controls();
    EXPECT_FALSE(c.normalFooterVisible);
    EXPECT_TRUE(c.imageEditFooterVisible);
    EXPECT_FALSE(c.aiInputVisible);
    EXPECT_FALSE(c.visibilityToggle.visible);
    EXPECT_FALSE(c.editImageButton.visible);
    EXPECT_FALSE(c.strokeWell.enabled);

    // The size read-out follows the crop.
    doc.cropRect = QRectF(40, 60, 300.4, 200.6);
    EXPECT_EQ(controls().imageSizeText, QString::fromUtf8("300 \u00D7 201 px"));

    model->setEditImageSessionMutated(true);
    model->selectTool(Tool::editImage); // choosing it again keeps the session
    EXPECT_TRUE(model->editImageSessionMutated());

    model->selectTool(Tool::select);
    EXPECT_FALSE(model->editImageEntrySnapshot());
    EXPECT_FALSE(model->editImageSessionMutated());
    EXPECT_FALSE(doc.cropRect);
    c = controls();
    EXPECT_TRUE(c.normalFooterVisible);
    EXPECT_FALSE(c.imageEditFooterVisible);
    EXPECT_TRUE(c.aiInputVisible);
    EXPECT_TRUE(c.visibilityToggle.visible);
    EXPECT_EQ(c.imageSizeText, QString::fromUtf8("1000 \u00D7 800 px"));
}

TEST_F(EditorModelTest, ControlsFollowTheToolAndTheSelectionsKinds) {
    EditorControls c = controls(); // rect
    EXPECT_TRUE(c.cornerRadiusPopUp.enabled);
    EXPECT_FALSE(c.fontFamilyPopUp.visible);

    model->selectTool(Tool::arrow);
    c = controls();
    EXPECT_TRUE(c.fillWell.visible);
    EXPECT_FALSE(c.fillWell.enabled);
    EXPECT_FALSE(c.linePatternPopUp.enabled);
    EXPECT_TRUE(c.lineWidthPopUp.enabled);

    model->selectTool(Tool::text);
    c = controls();
    EXPECT_TRUE(c.fontFamilyPopUp.visible && c.fontFamilyPopUp.enabled);
    EXPECT_TRUE(c.fontColorWell.visible);
    EXPECT_TRUE(c.cornerRadiusPopUp.enabled);

    TextAnnotation text;
    text.rect = QRectF(500, 500, 100, 40);
    text.text = QStringLiteral("hi");
    add(text);
    add(arrow({300, 300}, {400, 300}, blue, 2));
    model->selectTool(Tool::select);
    doc.setSelection({1});
    c = controls();
    EXPECT_FALSE(c.fontSizePopUp.visible);
    EXPECT_FALSE(c.cornerRadiusPopUp.enabled);
    doc.setSelection({0, 1});
    c = controls();
    EXPECT_TRUE(c.fontSizePopUp.visible);
    EXPECT_TRUE(c.cornerRadiusPopUp.enabled);
    doc.setSelection({});
    c = controls();
    EXPECT_FALSE(c.fontSizePopUp.visible);
    EXPECT_TRUE(c.fillWell.enabled);
}

TEST_F(EditorModelTest, OpeningATextBoxInTheTextToolShowsItsStyle) {
    TextAnnotation text;
    text.rect = QRectF(100, 100, 200, 60);
    text.text = QStringLiteral("Note");
    text.fontFamily = QStringLiteral("Menlo");
    text.fontSize = 24;
    text.color = blue;
    add(text);
    model->selectTool(Tool::text);
    doc.mouseDown(QPointF(150, 120), none, 1);
    ASSERT_TRUE(doc.isEditingText());
    EXPECT_EQ(controls().fontFamilyIndex, 9);
    EXPECT_EQ(controls().fontSizeIndex, 4);
    EXPECT_EQ(controls().fontColor, blue);

    model->fontSizeChanged(1); // the open box follows, and so does the text tool
    EXPECT_EQ(doc.style().fontSize, 14);
    EXPECT_EQ(model->toolStyles().at(Tool::text).fontSize, 14);
}

// --- Visibility ----------------------------------------------------------------------------------

TEST_F(EditorModelTest, HidingAnnotationsDisablesToolsAndStyleControls) {
    EXPECT_FALSE(controls().visibilityToggle.enabled);
    add(rect(QRectF(100, 100, 50, 50)));
    EXPECT_TRUE(reports.back().visibilityToggle.enabled);
    EXPECT_EQ(reports.back().visibilityToggleTint, ToggleTint::label);

    model->toggleAnnotationVisibility();
    EXPECT_FALSE(doc.showsAnnotations());
    EditorControls c = controls();
    EXPECT_FALSE(c.showsAnnotations);
    EXPECT_FALSE(c.toolButtonsEnabled);
    EXPECT_EQ(c.toolButtonOpacity, 0.6);
    EXPECT_FALSE(c.strokeWell.enabled);
    EXPECT_FALSE(c.opacityPopUp.enabled);
    EXPECT_TRUE(c.opacityPopUp.visible);
    EXPECT_TRUE(c.editImageButton.enabled);
    EXPECT_EQ(c.visibilityToggleTint, ToggleTint::tertiaryLabel);

    model->toggleAnnotationVisibility();
    c = controls();
    EXPECT_TRUE(doc.showsAnnotations());
    EXPECT_TRUE(c.toolButtonsEnabled);
    EXPECT_EQ(c.toolButtonOpacity, 1);
    EXPECT_TRUE(c.strokeWell.enabled);
}

TEST_F(EditorModelTest, LosingTheLastAnnotationWhileHiddenShowsThemAgain) {
    add(rect(QRectF(100, 100, 50, 50)));
    model->toggleAnnotationVisibility();
    doc.setAnnotationsWithoutUndo({});
    EXPECT_TRUE(doc.showsAnnotations());
    EXPECT_TRUE(controls().toolButtonsEnabled);
    EXPECT_FALSE(controls().visibilityToggle.enabled);
}

// --- Zoom
// ------------------------------------------------------------------------------------------

TEST_F(EditorModelTest, ZoomStepsAndClamps) {
    open(QSize(100, 50));
    // The steps are EditorZoom's; the model reports them and clamps them.
    EXPECT_DOUBLE_EQ(model->zoomIn(), 1.25);
    EXPECT_EQ(reports.back().zoomText, QStringLiteral("125%"));
    model->magnificationDidEnd(1.1);
    EXPECT_EQ(controls().zoomText, QStringLiteral("110%"));

    // 1.25^6 = 3.8147, the next step would be 4.768: clamped to 4.
    for (int i = 0; i < 10; ++i) {
        model->zoomIn();
    }
    EXPECT_EQ(model->magnification(), 4);
    EXPECT_FALSE(controls().zoomInEnabled);
    EXPECT_EQ(controls().zoomText, QStringLiteral("400%"));
    // Downward 1.25^−6 = 0.2621 is the last power above 0.25.
    for (int i = 0; i < 20; ++i) {
        model->zoomOut();
    }
    EXPECT_EQ(model->magnification(), 0.25);
    EXPECT_FALSE(controls().zoomOutEnabled);
    model->magnificationDidEnd(9);
    EXPECT_EQ(model->magnification(), 4);
    model->magnificationDidEnd(0);
    EXPECT_EQ(model->magnification(), 4); // not a magnification: ignored
}

TEST_F(EditorModelTest, ZoomOutStopsAtAFitScaleBelowTheUsualMinimum) {
    open(QSize(4000, 3000));
    model->zoomIn(); // 0.1963 → 1.25^−7 = 0.2097
    EXPECT_NEAR(model->magnification(), 0.209715, 1e-6);
    model->zoomOut();
    model->zoomOut();
    EXPECT_NEAR(model->magnification(), 0.196333, 1e-6);
}

// --- Read-outs ---------------------------------------------------------------------------------

TEST_F(EditorModelTest, SelectionReadoutsInImagePixels) {
    add(rect(QRectF(120.4, 70.6, 50.5, 30.2)));
    model->selectTool(Tool::select);
    doc.setSelection({0});
    EditorControls c = controls();
    EXPECT_TRUE(c.selectionGroupVisible);
    EXPECT_EQ(c.selectedPositionText, QStringLiteral("x: 100, y: 51"));
    EXPECT_EQ(c.selectedSizeText, QString::fromUtf8("51 \u00D7 30 px"));

    // Moving it with the keyboard updates the read-out.
    doc.keyPress(Qt::Key_Left, Qt::ShiftModifier, QString());
    EXPECT_EQ(reports.back().selectedPositionText, QStringLiteral("x: 90, y: 51"));

    doc.setSelection({});
    EXPECT_FALSE(controls().selectionGroupVisible);
}

TEST_F(EditorModelTest, DrawingShowsTheShapeInProgress) {
    doc.mouseDown(QPointF(30, 40), none, 1);
    doc.mouseDragged(QPointF(130, 90), none);
    EXPECT_TRUE(reports.back().selectionGroupVisible);
    EXPECT_EQ(reports.back().selectedPositionText, QStringLiteral("x: 10, y: 20"));
    EXPECT_EQ(reports.back().selectedSizeText, QString::fromUtf8("100 \u00D7 50 px"));
    doc.mouseUp(QPointF(130, 90), none);
    EXPECT_FALSE(reports.back().selectionGroupVisible);
}

TEST_F(EditorModelTest, ReadoutsFollowTheCanvasImage) {
    // An operation replaces the canvas's image: the model takes it, and the read-outs with it.
    QImage wider(2000, 1600, QImage::Format_RGB32);
    wider.fill(Qt::white);
    doc.setImage(wider);
    EXPECT_EQ(model->image().size(), QSize(2000, 1600));
    EXPECT_EQ(controls().imageSizeText, QString::fromUtf8("2000 \u00D7 1600 px"));
    add(rect(QRectF(220, 120, 300, 101)));
    model->selectTool(Tool::select);
    doc.setSelection({0});
    EXPECT_EQ(controls().selectedPositionText, QStringLiteral("x: 200, y: 100"));
    EXPECT_EQ(controls().selectedSizeText, QString::fromUtf8("300 \u00D7 101 px"));
}

TEST_F(EditorModelTest, ReportsOnlyWhenSomethingShownChanges) {
    const size_t before = reports.size();
    model->selectTool(Tool::rect); // already active, same style
    model->magnificationDidEnd(model->magnification());
    EXPECT_EQ(reports.size(), before);
    model->selectTool(Tool::oval);
    EXPECT_EQ(reports.size(), before + 1);
}

// --- Steps -------------------------------------------------------------------------------------

TEST_F(EditorModelTest, TheStepToolShowsItsColoursOpacityAndSizeAndPlacesStepsInThem) {
    model->selectTool(Tool::step);
    const EditorControls c = controls();
    EXPECT_TRUE(c.strokeWell.enabled && c.fillWell.enabled && c.opacityPopUp.enabled);
    EXPECT_FALSE(c.lineWidthPopUp.enabled || c.linePatternPopUp.enabled ||
                 c.cornerRadiusPopUp.enabled);
    EXPECT_TRUE(c.fontSizePopUp.visible && c.fontSizePopUp.enabled);
    EXPECT_FALSE(c.fontFamilyPopUp.visible || c.fontStyleControl.visible ||
                 c.alignmentControl.visible || c.textPaddingPopUp.visible ||
                 c.fontColorWell.visible);

    model->fillColorChanged(blue);
    model->fontSizeChanged(4); // 24
    model->opacityChanged(0);
    doc.mouseDown({300, 300}, none, 1);
    doc.mouseUp({300, 300}, none);
    const auto& step = at<TextAnnotation>(0);
    EXPECT_EQ(step.fontSize, 24);
    EXPECT_EQ(step.backgroundColor.opaque(), blue);
    EXPECT_LT(step.backgroundColor.alpha, 1);

    // Selected, it is a text box like any other: the text controls apply.
    model->selectTool(Tool::select);
    doc.setSelection({0});
    EXPECT_TRUE(controls().fontFamilyPopUp.visible);
}

// Where styles are kept per tool, text boxes start without a border and steps keep their own.
TEST_F(EditorModelTest, TheTextAndStepToolsKeepStylesOfTheirOwn) {
    settings.setRetainLastStylePerType(true);
    open(QSize(1000, 800));
    model->selectTool(Tool::text);
    EXPECT_TRUE(doc.style().strokeColor.isClear());
    EXPECT_EQ(model->toolStyles().at(Tool::text).fontColor, SystemColors::red);
    model->selectTool(Tool::rect);
    EXPECT_EQ(doc.style().strokeColor, SystemColors::red);
    model->selectTool(Tool::step);
    model->fillColorChanged(blue);
    model->fontSizeChanged(5); // 32
    model->selectTool(Tool::rect);
    EXPECT_TRUE(doc.style().fillColor.isClear());
    model->selectTool(Tool::step);
    EXPECT_EQ(doc.style().fillColor, blue);
    EXPECT_EQ(doc.style().fontSize, 32);
    model->windowWillClose();
    EXPECT_EQ(library.loadStyles().at(Tool::step).fontSize, 32);
}
