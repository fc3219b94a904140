#pragma once

#include "CanvasDocument.h"

#include <QMenu>
#include <QPointer>
#include <QTextEdit>
#include <QWidget>

namespace vellumix {

class AnnotationTextView;

/// The editor's canvas: shows the image and its annotations and turns mouse, keyboard and
/// context-menu input into calls on its CanvasDocument, which holds every rule. The owner sets
/// the document's callbacks to hear about changes.
class AnnotationCanvasView final : public QWidget {
    Q_OBJECT

public:
    explicit AnnotationCanvasView(QWidget* parent = nullptr);
    ~AnnotationCanvasView() override;

    CanvasDocument& document() { return m_document; }
    const CanvasDocument& document() const { return m_document; }

    /// Screen units per canvas unit (the scroll view's zoom); 1 shows the image at its size.
    double magnification() const { return m_magnification; }
    void setMagnification(double magnification);
    /// Whether the canvas sits in a scroll view (handles then follow the magnification).
    void setInScrollView(bool inScrollView) { m_inScrollView = inScrollView; }

    QPointF toCanvas(QPointF widgetPoint) const;
    QRectF toWidget(const QRectF& canvasRect) const;
    QSize sizeHint() const override;

    /// The live text editor while a text box is being edited.
    QTextEdit* textEditor() const;
    /// The menu of the last right click (kept for tests and accessibility).
    QMenu* lastContextMenu() const { return m_lastMenu.data(); }

    /// A left press on the canvas, before anything else happens (the owner closes its colour
    /// panel).
    std::function<void()> onMousePress;
    /// Whether a text edit stays open while this window is active instead (the colour panel
    /// that colours the text).
    std::function<bool(const QWidget* activeWindow)> keepsTextEditingFor;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    // +Geometry
    void canvasSizeDidChange(QSizeF size);
    void updateZoom();
    void scheduleRepaint(std::optional<QRectF> canvasArea);
    // +Mouse
    void updateCursor();
    // +Select
    QMenu* buildMenu(const std::vector<CanvasMenuItem>& items, QWidget* parent);
    // +TextEditing
    void openTextEditor();
    void applyEditorStyle(const TextEditSession& session);
    void closeTextEditor();
    void editorTextChanged();

    CanvasDocument m_document;
    std::vector<Subscription> m_subscriptions;
    double m_magnification = 1;
    bool m_inScrollView = false;
    bool m_mouseDown = false;
    AnnotationTextView* m_textView = nullptr;
    QPointer<QMenu> m_lastMenu;

    friend class AnnotationTextView;
};

/// The borderless live editor laid over a text box while it is edited.
class AnnotationTextView final : public QTextEdit {
    Q_OBJECT

public:
    explicit AnnotationTextView(AnnotationCanvasView* canvas);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    AnnotationCanvasView* m_canvas;
};

} // namespace vellumix
