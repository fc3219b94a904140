#include "CanvasDocument.h"

namespace vellumix {

namespace {

// Ctrl is the command key on Linux.
constexpr Qt::KeyboardModifier command = Qt::ControlModifier;

std::optional<Tool> toolForLetter(QChar letter) {
    switch (letter.toLower().unicode()) {
    case 's':
        return Tool::select;
    case 'r':
        return Tool::rect;
    case 'o':
        return Tool::oval;
    case 'a':
        return Tool::arrow;
    case 'd':
        return Tool::draw;
    case 't':
        return Tool::text;
    case 'e':
        return Tool::editImage;
    default:
        return std::nullopt;
    }
}

} // namespace

bool CanvasDocument::keyPress(int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    const bool ctrl = modifiers.testFlag(command);
    const bool shift = modifiers.testFlag(Qt::ShiftModifier);
    const bool selecting = m_activeTool == Tool::select && !m_selected.empty();
    const bool editing = m_textEditing.has_value();

    if (key == Qt::Key_Escape) {
        if (editing) {
            escapeFromTextEditor();
            return true;
        }
        if (m_activeTool == Tool::editImage) {
            if (onEditImageCancelled) {
                onEditImageCancelled();
            }
            return true;
        }
        return false;
    }
    if (ctrl && key == Qt::Key_Z) {
        shift ? m_undo.redo() : m_undo.undo();
        return true;
    }
    if (ctrl && key == Qt::Key_Y) {
        m_undo.redo();
        return true;
    }
    if (!m_showsAnnotations) {
        return false;
    }
    if (ctrl && key == Qt::Key_C && selecting) {
        copySelection();
        return true;
    }
    if (ctrl && key == Qt::Key_V) {
        const QImage image = clipboardImage ? clipboardImage() : QImage();
        if (!image.isNull()) {
            addOverlay(image, std::nullopt);
            return true;
        }
        if (m_activeTool == Tool::select && !m_copiedAnnotations.empty()) {
            paste();
            return true;
        }
        return false;
    }
    if (ctrl && key == Qt::Key_A) {
        selectAll();
        return true;
    }
    if (ctrl && key == Qt::Key_L && selecting && !editing) {
        toggleLock();
        return true;
    }
    if (ctrl && (key == Qt::Key_Up || key == Qt::Key_Down) && selecting && !editing) {
        if (key == Qt::Key_Up) {
            shift ? bringToFront() : bringForward();
        } else {
            shift ? sendToBack() : sendBackward();
        }
        return true;
    }
    const bool plain = !(
        modifiers & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    if (plain && !editing && text.size() == 1) {
        if (const auto tool = toolForLetter(text.front())) {
            if (onRequestTool) {
                onRequestTool(*tool);
            }
            return true;
        }
    }
    if (!ctrl && selecting && !editing &&
        (key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down)) {
        const double step = shift ? 10 : 1;
        const double dx = key == Qt::Key_Left ? -step : key == Qt::Key_Right ? step : 0;
        const double dy = key == Qt::Key_Up ? -step : key == Qt::Key_Down ? step : 0;
        nudge(dx, dy);
        return true;
    }
    if ((key == Qt::Key_Delete || key == Qt::Key_Backspace) && selecting && !editing) {
        deleteSelection();
        return true;
    }
    return false;
}

} // namespace vellumix
