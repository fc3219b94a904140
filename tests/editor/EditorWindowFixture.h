#pragma once

#include "app/DocumentOpener.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationCanvasView.h"
#include "editor/CenteringClipView.h"
#include "editor/ColorWell.h"
#include "editor/EditorModel.h"
#include "editor/EditorWindowController.h"
#include "editor/SplitButtons.h"
#include "imaging/ExportFormats.h"
#include "library/BundleAutosave.h"
#include "library/HistoryStore.h"
#include "library/Settings.h"
#include "library/StyleLibrary.h"
#include "model/AnnotationGeometry.h"
#include "support/Eventually.h"

#include <QApplication>
#include <QBuffer>
#include <QColorDialog>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QLabel>
#include <QTemporaryDir>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>
#include <memory>

using namespace vellumix;

namespace editor_test {

inline QImage whiteImage(int w, int h) {
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(Qt::white);
    return image;
}

inline ShapeAnnotation rectAt(const QRectF& rect) {
    ShapeAnnotation shape;
    shape.rect = rect;
    shape.strokeColor = SystemColors::red;
    return shape;
}

} // namespace editor_test

using namespace editor_test;

namespace vellumix {

// Reaches the window's widgets the way a person finds them: by what they show.
class EditorWindowTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    StyleLibrary styles{dir.filePath("store")};
    HistoryStore history{dir.filePath("store"), settings, BundleServices{}};
    std::unique_ptr<EditorWindowController> window;

    std::unique_ptr<EditorWindowController> open(EditorDocument document) {
        auto editor = std::make_unique<EditorWindowController>(
            std::move(document), EditorServices{settings, styles, &history});
        editor->present();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(editor.get()));
        return editor;
    }
    void openImage(int w = 400, int h = 300, AnnotationList annotations = {}) {
        EditorDocument document;
        document.image = whiteImage(w, h);
        document.initialAnnotations = std::move(annotations);
        window = open(std::move(document));
    }

    AnnotationCanvasView* canvas() const { return window->canvasView(); }
    CanvasDocument& doc() const { return canvas()->document(); }
    QToolButton* tool(Tool t) const { return window->m_toolButtons.at(t); }
    QComboBox* lineWidthPopUp() const { return window->m_lineWidthPopUp; }
    QToolButton* zoomInButton() const { return window->m_zoomInButton; }
    QToolButton* zoomOutButton() const { return window->m_zoomOutButton; }
    QString imageDims() const { return window->m_imageDimsLabel->text(); }
    QString zoomText() const { return window->m_imageZoomLabel->text(); }
    QString selectedPos() const { return window->m_selectedPosLabel->text(); }
    QString selectedSize() const { return window->m_selectedSizeLabel->text(); }
    bool selectionShown() const { return window->m_selectedDimsGroup->isVisible(); }
    bool imageGroupShown() const { return window->m_imageDimsGroup->isVisible(); }
    QToolButton* visibilityToggle() const { return window->m_visibilityToggle; }
    QToolButton* discardButton() const { return window->m_discardButton; }
    QWidget* textControls() const { return window->m_textControls; }
    QComboBox* fontFamilyPopUp() const { return window->m_fontFamilyPopUp; }
    QComboBox* fontSizePopUp() const { return window->m_fontSizePopUp; }
    void showSaveModeMenu() const { window->showSaveModeMenu(); }
    static SaveSplitButton* saveButton(const EditorWindowController& w) { return w.m_saveButton; }
    QToolButton* copyButton() const { return window->m_copyButton; }
    QToolButton* imageEditButton(const char* name) const {
        return window->m_imageEditGroup->findChild<QToolButton*>(QLatin1String(name));
    }
    QToolButton* applyEditButton() const { return window->m_applyEditButton; }
    QToolButton* editImageButton() const { return window->m_editImageButton; }
    QToolButton* cancelEditButton() const { return window->m_cancelEditButton; }
    ColorWell* strokeWell() const { return window->m_strokeWell; }

    // A point on the canvas widget for a canvas coordinate.
    QPoint at(QPointF canvasPoint) const {
        return canvas()->toWidget(QRectF(canvasPoint, QSizeF(0, 0))).topLeft().toPoint();
    }
    void dragOnCanvas(QPointF from, QPointF to) {
        QTest::mousePress(canvas(), Qt::LeftButton, {}, at(from));
        for (QPointF p : {(from + to) / 2, to}) {
            QMouseEvent move(QEvent::MouseMove, at(p), canvas()->mapToGlobal(at(p)), Qt::NoButton,
                             Qt::LeftButton, Qt::NoModifier);
            QApplication::sendEvent(canvas(), &move);
        }
        QTest::mouseRelease(canvas(), Qt::LeftButton, {}, at(to));
    }
};

} // namespace vellumix
