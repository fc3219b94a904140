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
    if (key == Qt::Key_Escape) {
        return escapePressed();
    }
    // Undo and redo work with annotations hidden too.
    if (ctrl && (key == Qt::Key_Z || key == Qt::Key_Y)) {
        key == Qt::Key_Z && !shift ? m_undo.undo() : m_undo.redo();
        return true;
    }
    if (!m_showsAnnotations) {
        return false;
    }
    if (ctrl && commandKeyPressed(key, shift)) {
        return true;
    }
    const bool plain = !(
        modifiers & (Qt::ShiftModifier | Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
    if (plain && !m_textEditing && text.size() == 1) {
        if (const auto tool = toolForLetter(text.front())) {
            onRequestTool.notify(*tool);
            return true;
        }
    }
    return selectionKeyPressed(key, ctrl, shift);
}

bool CanvasDocument::escapePressed() {
    if (m_textEditing) {
        escapeFromTextEditor();
        return true;
    }
    if (m_activeTool == Tool::editImage) {
        onEditImageCancelled.notify();
        return true;
    }
    return false;
}

// Ctrl with a letter or an arrow: the clipboard, select all, lock and the z-order.
bool CanvasDocument::commandKeyPressed(int key, bool shift) {
    const bool selecting = m_activeTool == Tool::select && !m_selected.empty();
    const bool editing = m_textEditing.has_value();
    switch (key) {
    case Qt::Key_C:
        if (selecting) {
            copySelection();
        }
        return selecting;
    case Qt::Key_V:
        if (const QImage image = clipboardImage ? clipboardImage() : QImage(); !image.isNull()) {
            addOverlay(image, std::nullopt);
            return true;
        }
        if (m_activeTool == Tool::select && !m_copiedAnnotations.empty()) {
            paste();
            return true;
        }
        return false;
    case Qt::Key_A:
        selectAll();
        return true;
    case Qt::Key_L:
        if (selecting && !editing) {
            toggleLock();
        }
        return selecting && !editing;
    case Qt::Key_Up:
    case Qt::Key_Down:
        if (!selecting || editing) {
            return false;
        }
        if (key == Qt::Key_Up) {
            shift ? bringToFront() : bringForward();
        } else {
            shift ? sendToBack() : sendBackward();
        }
        return true;
    default:
        return false;
    }
}

// Arrows nudge the selection (Shift: by 10); Delete and Backspace remove it.
bool CanvasDocument::selectionKeyPressed(int key, bool ctrl, bool shift) {
    if (m_activeTool != Tool::select || m_selected.empty() || m_textEditing) {
        return false;
    }
    if (!ctrl &&
        (key == Qt::Key_Left || key == Qt::Key_Right || key == Qt::Key_Up || key == Qt::Key_Down)) {
        const double step = shift ? 10 : 1;
        const double dx = key == Qt::Key_Left ? -step : key == Qt::Key_Right ? step : 0;
        const double dy = key == Qt::Key_Up ? -step : key == Qt::Key_Down ? step : 0;
        nudge(dx, dy);
        return true;
    }
    if (key == Qt::Key_Delete || key == Qt::Key_Backspace) {
        deleteSelection();
        return true;
    }
    return false;
}

} // namespace vellumix
