#include "DocumentOpener.h"

#include "ai/ConsoleText.h"
#include "bundle/ProjectBundle.h"
#include "codecs/ImageImport.h"
#include "desktop/BundleServices.h"
#include "desktop/FileManager.h"
#include "library/HistoryStore.h"
#include "library/StyleLibrary.h"
#include "pdf/PdfDocument.h"

#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>

namespace vellumix {

namespace {

bool isInside(const QString& path, const QString& folder) {
    const QString parent = QFileInfo(QFileInfo(path).absolutePath()).canonicalFilePath();
    return !parent.isEmpty() && parent == QFileInfo(folder).canonicalFilePath();
}

std::optional<QImage> renderPdf(const QString& path, int pageNumber) {
    const std::unique_ptr<PdfDocument> document = PdfDocument::open(path);
    if (!document) {
        return std::nullopt;
    }
    return document->renderPage(clampPageNumber(pageNumber, document->pageCount()));
}

} // namespace

DocumentOpener::DocumentOpener(Settings& settings) : m_settings(settings) {}

DocumentOpener::~DocumentOpener() {
    // Windows still open are closed with their closing save.
    const std::vector<EditorWindowController*> open = m_editors;
    for (EditorWindowController* editor : open) {
        editor->close();
    }
    for (EditorWindowController* editor : m_editors) {
        delete editor;
    }
}

HistoryStore& DocumentOpener::history() {
    if (!m_history) {
        m_history = std::make_unique<HistoryStore>(HistoryStore::standardStorePath(), m_settings,
                                                   platformBundleServices(), &revealInFileManager);
        m_styles = std::make_unique<StyleLibrary>(m_history->storePath());
    }
    return *m_history;
}

std::optional<QString> DocumentOpener::sourceFormat(const EditorWindowController* editor) const {
    const auto found = m_sourceFormats.find(editor);
    return found == m_sourceFormats.end() ? std::nullopt : found->second;
}

bool DocumentOpener::openPath(const QString& path) {
    return openPath(path, 1);
}

bool DocumentOpener::openPath(const QString& path, int pdfPage) {
    const InputFile input = classifyInput(path);
    if (input.kind == InputKind::none) {
        console::say(
            QStringLiteral("Cannot open %1: not an image, PDF or project bundle").arg(path));
        return false;
    }
    if (!openInput(input, pdfPage)) {
        console::say(QStringLiteral("Cannot open %1: it does not decode").arg(path));
        return false;
    }
    return true;
}

bool DocumentOpener::openFromClipboard() {
    const QClipboard* clipboard = QGuiApplication::clipboard();
    const std::optional<ClipboardInput> input =
        clipboardInput(clipboard ? clipboard->mimeData() : nullptr);
    if (!input) {
        return false;
    }
    if (input->file && openInput(*input->file, 1)) {
        return true;
    }
    if (input->image.isNull()) {
        return false;
    }
    openNewImage(input->image, input->sourceFormat);
    return true;
}

bool DocumentOpener::openInput(const InputFile& input, int pdfPage) {
    switch (input.kind) {
    case InputKind::none:
        return false;
    case InputKind::bundle:
        openBundle(input.path);
        return true;
    case InputKind::pdf: {
        std::optional<QImage> page = renderPdf(input.path, pdfPage);
        if (!page) {
            return false;
        }
        openNewImage(std::move(*page), input.sourceFormat);
        return true;
    }
    case InputKind::image: {
        QImage image = importImageFile(input.path);
        if (image.isNull()) {
            return false;
        }
        openNewImage(std::move(image), input.sourceFormat);
        return true;
    }
    }
    return false;
}

void DocumentOpener::openBundle(const QString& path) {
    EditorDocument document;
    document.image = bundle::readImage(path);
    document.bundlePath = path;
    document.sourceFormat = QStringLiteral("png");
    document.initialAnnotations = history().loadAnnotations(path);
    if (!isInside(path, history().storePath())) {
        history().recordExternal(path);
    }
    openDocument(std::move(document));
}

void DocumentOpener::openNewImage(QImage image, std::optional<QString> sourceFormat) {
    // The editor works in pixels: one point per pixel, whatever the file's resolution says.
    image.setDevicePixelRatio(1);
    EditorDocument document;
    document.sourceFormat = std::move(sourceFormat);
    // The window shows first; its bundle is written off the main thread right after.
    auto created = history().reserveBundle();
    if (created) {
        document.bundlePath = *created;
        document.bundleIsNew = true;
    } else {
        console::print(console::saveFailedLine(created.error().message));
    }
    document.image = std::move(image);
    openDocument(std::move(document));
}

EditorWindowController* DocumentOpener::openDocument(EditorDocument document) {
    history();
    const std::optional<QString> sourceFormat = document.sourceFormat;
    // Asked before the window is made: the answer may load what the window is built with (the
    // assistant's clients).
    const std::optional<PromptFieldState> promptState =
        promptFieldState ? std::optional(promptFieldState()) : std::nullopt;
    auto* editor = new EditorWindowController(
        std::move(document), EditorServices{m_settings, *m_styles, m_history.get()});
    m_editors.push_back(editor);
    m_sourceFormats[editor] = sourceFormat;
    m_idleMemory.cancel();
    editor->onClose = [this, editor] {
        std::erase(m_editors, editor);
        m_sourceFormats.erase(editor);
        editor->deleteLater();
        if (m_editors.empty()) {
            m_idleMemory.releaseSoon();
        }
    };
    if (promptState) {
        editor->showPromptFieldState(*promptState);
    }
    editor->present();
    return editor;
}

void DocumentOpener::releaseMemorySoon() {
    if (m_editors.empty()) {
        m_idleMemory.releaseSoon();
    }
}

void DocumentOpener::refreshPromptFields() {
    if (!promptFieldState) {
        return;
    }
    const PromptFieldState state = promptFieldState();
    for (EditorWindowController* editor : m_editors) {
        editor->showPromptFieldState(state);
    }
}

} // namespace vellumix
