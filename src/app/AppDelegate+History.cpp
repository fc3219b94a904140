#include "AppDelegate.h"
#include "DocumentOpener.h"
#include "HomeWindow.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationCanvasView.h"
#include "editor/EditorModel.h"
#include "library/HistoryStore.h"

namespace vellumix {

void AppDelegate::openHistoryEntry(const QString& bundlePath) {
    for (EditorWindowController* editor : m_opener.editors()) {
        if (editor->bundlePath() == bundlePath) {
            // Brought forward as it is: a maximised window stays maximised, and only a
            // minimised one is restored (to what it was before).
            if (editor->isMinimized()) {
                editor->setWindowState(editor->windowState() & ~Qt::WindowMinimized);
            }
            editor->show();
            editor->raise();
            editor->activateWindow();
            return;
        }
    }
    // One history entry at a time: the open editors close (and save) first.
    const std::vector<EditorWindowController*> open = m_opener.editors();
    for (EditorWindowController* editor : open) {
        editor->close();
    }
    const QImage image = bundle::readImage(bundlePath);
    if (image.isNull()) {
        return;
    }
    EditorDocument document;
    document.image = image;
    document.bundlePath = bundlePath;
    document.initialAnnotations = m_opener.history().loadAnnotations(bundlePath);
    m_opener.openDocument(std::move(document));
}

void AppDelegate::deleteHistoryEntry(const QString& bundlePath) {
    for (EditorWindowController* editor : m_opener.editors()) {
        if (editor->bundlePath() == bundlePath) {
            editor->close();
            break;
        }
    }
    (void)m_opener.history().deleteBundle(bundlePath);
    if (m_homeWindow) {
        m_homeWindow->refresh();
    }
}

} // namespace vellumix
