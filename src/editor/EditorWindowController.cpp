#include "EditorWindowController.h"

#include "AnalysisCache.h"
#include "CenteringClipView.h"
#include "EditorModel.h"
#include "RedactionMarks.h"
#include "ai/AIRequestFlow.h"
#include "ai/ConsoleText.h"
#include "ai/RequestTexts.h"
#include "canvas/AnnotationCanvasView.h"
#include "library/BundleAutosave.h"
#include "library/HistoryStore.h"
#include "library/PresetMenu.h"
#include "library/Settings.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QCursor>
#include <QGuiApplication>
#include <QScreen>
#include <QShortcut>
#include <QStyle>
#include <QUndoStack>

namespace vellumix {

namespace {

// The screen under the mouse, where new windows open.
QScreen* screenUnderMouse() {
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    return screen ? screen : QGuiApplication::primaryScreen();
}

} // namespace

EditorWindowController::EditorWindowController(EditorDocument document, EditorServices services,
                                               QWidget* parent)
    : QWidget(parent, Qt::Window)
    , m_services(services)
    , m_bundlePath(std::move(document.bundlePath))
    , m_sourceFormat(std::move(document.sourceFormat)) {
    setWindowTitle(QStringLiteral("Vellumix"));
    setAttribute(Qt::WA_DeleteOnClose, false);

    m_canvas = new AnnotationCanvasView;
    m_scrollView = new CenteringClipView(m_canvas, this);
    QScreen* screen = screenUnderMouse();
    std::optional<QRectF> visibleFrame;
    if (screen) {
        visibleFrame = QRectF(screen->availableGeometry());
    }
    CanvasDocument& canvas = m_canvas->document();
    canvas.showCursorCoords = m_services.settings.showCursorCoords();
    m_model = std::make_unique<EditorModel>(canvas, m_services.settings, m_services.styles,
                                            document.image, visibleFrame);
    m_visionAnalysis = std::make_unique<AnalysisCache>([this] { return currentImage(); });
    canvas.setAnnotationsWithoutUndo(std::move(document.initialAnnotations));
    startAutosave(document);

    buildInterface();
    buildAssistant();
    connectActions();
    m_model->onControlsChanged = [this](const EditorControls& controls) { showControls(controls); };
    showControls(m_model->controls());

    const auto& opening = m_model->openingGeometry();
    setMinimumSize(editorLayout::minimumContentSize.toSize());
    resize(opening.contentSize.toSize());
    m_scrollView->setMagnification(opening.fitScale);

    // Quitting the application closes the window like any other way, with its closing save.
    connect(qApp, &QCoreApplication::aboutToQuit, this, [this] { close(); });
    auto* closeKey = new QShortcut(QKeySequence::Close, this);
    connect(closeKey, &QShortcut::activated, this, &QWidget::close);
    // Ctrl+C copies annotations inside the canvas; the whole picture has a key of its own.
    auto* copyKey = new QShortcut(QKeySequence(QStringLiteral("Ctrl+Shift+C")), this);
    connect(copyKey, &QShortcut::activated, this, &EditorWindowController::copyImage);
}

EditorWindowController::~EditorWindowController() {
    // A request still running is dropped before the canvas it works on.
    m_aiFlow.reset();
    // The autosave reads the model; it stops first.
    m_autosave.reset();
    // The model detaches from the canvas's document before the canvas goes.
    m_model.reset();
    m_canvas->document().gestureLayer = nullptr;
}

const QImage& EditorWindowController::currentImage() const {
    return m_model->image();
}

void EditorWindowController::present() {
    if (QScreen* screen = screenUnderMouse()) {
        setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, size(),
                                        screen->availableGeometry()));
    }
    show();
    raise();
    activateWindow();
}

void EditorWindowController::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_canvas->setFocus(Qt::OtherFocusReason);
}

void EditorWindowController::startAutosave(const EditorDocument& document) {
    HistoryStore* history = m_services.history;
    if (!history || !m_bundlePath) {
        return;
    }
    history->holdOpen(*m_bundlePath);
    // During an image-edit session the bundle keeps what Cancel would restore.
    auto bundleState = [this]() -> BundleAutosave::State {
        const CanvasDocument& document = m_canvas->document();
        if (const auto& entry = m_model->editImageEntrySnapshot()) {
            return {*entry, m_model->editImageEntryAnnotations().value_or(document.annotations())};
        }
        return {currentImage(), document.annotations()};
    };
    m_autosave =
        std::make_unique<BundleAutosave>(*m_bundlePath, history->services(), std::move(bundleState),
                                         document.bundleIsNew ? QImage() : document.image);
    if (document.bundleIsNew) {
        m_autosave->writeWhole();
    }
    // Every undo step, undo and redo included, changes the annotations or the image.
    connect(&m_canvas->document().undoStack(), &QUndoStack::indexChanged, this, [this] {
        if (m_autosave) { // gone once the window has closed
            m_autosave->changed();
        }
    });
}

void EditorWindowController::discardAndClose() {
    m_isDiscarded = true;
    if (m_autosave) {
        m_autosave->stop();
    }
    if (m_bundlePath && m_services.history) {
        // A project of the user's goes to the trash; a history bundle is deleted.
        if (const Status status = m_services.history->discardBundle(*m_bundlePath); !status) {
            console::say(QStringLiteral("Discard: ") + status.error().message);
        }
    }
    close();
}

void EditorWindowController::closeEvent(QCloseEvent* event) {
    if (!m_closed) {
        // The answer of a request still running would come too late to be saved.
        m_aiFlow->ownerClosed();
        m_closed = true;
        saveOnClose();
    }
    event->accept();
    if (onClose) {
        // The owner may drop the window from inside the callback; it is called once.
        auto callback = std::move(onClose);
        onClose = nullptr;
        callback();
    }
}

void EditorWindowController::saveOnClose() {
    // Text still being typed belongs to the document.
    m_canvas->document().commitTextEditing(false);
    if (m_autosave) {
        // An image edit left unapplied is not kept: the autosave writes the image and the
        // annotations from before it (failures are reported as they happen).
        if (!m_isDiscarded) {
            (void)m_autosave->flush();
        }
        m_autosave.reset();
        // Released after the last write: pruning may take the bundle now.
        m_services.history->release(*m_bundlePath);
    }
    m_model->windowWillClose();
}

} // namespace vellumix
