#include "AnnotationCanvasView.h"

#include <QClipboard>
#include <QGuiApplication>

// The menu icons live in the UI library's resources, which a static library must register
// itself (from the global namespace, where the resource functions are declared).
static void registerUiResources() {
    static const bool registered = [] {
        Q_INIT_RESOURCE(ui);
        return true;
    }();
    (void)registered;
}

namespace vellumix {

AnnotationCanvasView::AnnotationCanvasView(QWidget* parent) : QWidget(parent) {
    registerUiResources();
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(QStringLiteral("Canvas"));
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    setAutoFillBackground(false);

    m_subscriptions.push_back(m_document.onNeedsDisplay.subscribe(
        [this](std::optional<QRectF> area) { scheduleRepaint(area); }));
    m_subscriptions.push_back(m_document.onCanvasSizeChanged.subscribe(
        [this](QSizeF size) { canvasSizeDidChange(size); }));
    m_subscriptions.push_back(
        m_document.onTextEditingStarted.subscribe([this] { openTextEditor(); }));
    m_subscriptions.push_back(
        m_document.onTextEditingEnded.subscribe([this] { closeTextEditor(); }));
    m_subscriptions.push_back(m_document.onTextEditingStyleChanged.subscribe([this] {
        if (const auto session = m_document.session(); session && m_textView) {
            applyEditorStyle(*session);
            // The padding sets the editor's inset inside the box.
            m_textView->setGeometry(toWidget(session->editorFrame).toAlignedRect());
        }
    }));
    m_document.clipboardImage = [] {
        const QClipboard* clipboard = QGuiApplication::clipboard();
        return clipboard ? clipboard->image() : QImage();
    };
    canvasSizeDidChange(m_document.canvasSize());
    updateCursor();
}

AnnotationCanvasView::~AnnotationCanvasView() {
    // The editor's focus-out must not commit into a document being destroyed.
    m_subscriptions.clear();
    delete m_textView;
}

QTextEdit* AnnotationCanvasView::textEditor() const {
    return m_textView;
}

} // namespace vellumix
