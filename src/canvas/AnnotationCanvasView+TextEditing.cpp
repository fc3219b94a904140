#include "AnnotationCanvasView.h"
#include "TextLayout.h"

#include <QAbstractTextDocumentLayout>
#include <QApplication>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTextBlock>
#include <QTimer>

namespace vellumix {

AnnotationTextView::AnnotationTextView(AnnotationCanvasView* canvas)
    : QTextEdit(canvas), m_canvas(canvas) {
    setAcceptRichText(false);
    setFrameStyle(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setLineWrapMode(QTextEdit::WidgetWidth);
    setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    viewport()->setAutoFillBackground(false);
    setAutoFillBackground(false);
    setStyleSheet(QStringLiteral("QTextEdit { background: transparent; }"));
    document()->setDocumentMargin(0);
}

void AnnotationTextView::keyPressEvent(QKeyEvent* event) {
    // Escape is the only command taken from the editor; Return inserts a line break.
    if (event->key() == Qt::Key_Escape) {
        m_canvas->m_document.escapeFromTextEditor();
        return;
    }
    QTextEdit::keyPressEvent(event);
}

void AnnotationTextView::focusOutEvent(QFocusEvent* event) {
    QTextEdit::focusOutEvent(event);
    switch (event->reason()) {
    case Qt::PopupFocusReason:
        // Losing focus to a popup (a context menu) is not the end of editing.
        break;
    case Qt::MouseFocusReason:
        // Qt moves focus before it delivers the press that caused it. The press decides: on
        // the canvas it ends the edit and is consumed there; anywhere else nothing has
        // committed by the time this runs, and the edit is committed here.
        QTimer::singleShot(0, this, [this] {
            if (m_canvas->m_textView == this) {
                m_canvas->m_document.commitTextEditing(false);
            }
        });
        break;
    case Qt::ActiveWindowFocusReason:
        if (m_canvas->keepsTextEditingFor &&
            m_canvas->keepsTextEditingFor(QApplication::activeWindow())) {
            break;
        }
        m_canvas->m_document.commitTextEditing(false);
        break;
    default:
        // Focus moved on by keyboard, or the editor was hidden.
        m_canvas->m_document.commitTextEditing(false);
        break;
    }
}

void AnnotationCanvasView::openTextEditor() {
    const auto session = m_document.session();
    if (!session) {
        return;
    }
    delete m_textView;
    m_textView = new AnnotationTextView(this);
    m_textView->setPlainText(session->text);
    applyEditorStyle(*session);
    QTextCursor cursor(m_textView->document());
    if (session->selectAll) {
        cursor.select(QTextCursor::Document);
    } else {
        cursor.movePosition(QTextCursor::End);
    }
    m_textView->setTextCursor(cursor);
    m_textView->setGeometry(toWidget(session->editorFrame).toAlignedRect());
    connect(m_textView, &QTextEdit::textChanged, this, [this] { editorTextChanged(); });
    m_textView->show();
    m_textView->setFocus(Qt::OtherFocusReason);
}

void AnnotationCanvasView::applyEditorStyle(const TextEditSession& session) {
    QFont font = session.font;
    // The editor draws on the screen; the font keeps its size in canvas units there.
    font.setPointSizeF(font.pointSizeF() * 72.0 / logicalDpiY() * m_magnification);
    m_textView->setFont(font);
    QPalette colors = m_textView->palette();
    colors.setColor(QPalette::Text, session.color);
    m_textView->setPalette(colors);
    // The whole text and the typing attributes carry the style.
    const QSignalBlocker quiet(m_textView);
    QTextCursor all(m_textView->document());
    all.select(QTextCursor::Document);
    QTextCharFormat characters;
    characters.setFont(font);
    characters.setForeground(session.color);
    all.mergeCharFormat(characters);
    QTextBlockFormat block;
    block.setAlignment(qtAlignment(session.alignment));
    all.mergeBlockFormat(block);
    m_textView->setCurrentCharFormat(characters);
    m_textView->setAlignment(qtAlignment(session.alignment));
}

void AnnotationCanvasView::editorTextChanged() {
    if (!m_textView) {
        return;
    }
    if (const auto height = m_document.textDidChange(m_textView->toPlainText())) {
        QRect frame = m_textView->geometry();
        frame.setHeight(static_cast<int>(std::ceil(*height * m_magnification)));
        m_textView->setGeometry(frame);
    }
}

void AnnotationCanvasView::closeTextEditor() {
    if (!m_textView) {
        return;
    }
    AnnotationTextView* view = m_textView;
    m_textView = nullptr;
    view->hide();
    view->deleteLater();
    setFocus(Qt::OtherFocusReason);
}

} // namespace vellumix
