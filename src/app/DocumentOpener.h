#pragma once

#include "IdleMemory.h"
#include "editor/EditorWindowController.h"
#include "imaging/OpeningRules.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace vellumix {

class HistoryStore;
class StyleLibrary;

/// Turns files and the clipboard into editor windows: an image, a PDF page or a clipboard
/// image gets a new history bundle and opens in its own editor; a project bundle opens with
/// its annotations and is remembered among the external bundles when it lives outside the
/// store. Owns the windows until they close.
class DocumentOpener {
public:
    explicit DocumentOpener(Settings& settings);
    ~DocumentOpener();
    DocumentOpener(const DocumentOpener&) = delete;
    DocumentOpener& operator=(const DocumentOpener&) = delete;

    /// Opens one file (a PDF on its first page); false when it is not a readable image, PDF or
    /// bundle (one line is printed).
    bool openPath(const QString& path);
    /// As above, showing PDF page `pdfPage` (counted from 1; clamped to the document).
    bool openPath(const QString& path, int pdfPage);
    bool open(const OpenRequest& request) { return openPath(request.path, request.page); }
    /// Opens what the clipboard holds (see clipboardInput); false, silently, when nothing opens.
    bool openFromClipboard();
    /// Makes a window for an image already in memory and presents it.
    EditorWindowController* openDocument(EditorDocument document);
    /// An image from a capture or the clipboard: it gets its history bundle and an editor.
    void openNewImage(QImage image, std::optional<QString> sourceFormat);

    const std::vector<EditorWindowController*>& editors() const { return m_editors; }

    /// What the assistant's prompt field should show; asked before each new window is made.
    /// Optional.
    std::function<PromptFieldState()> promptFieldState;
    /// Every open window shows the prompt field state afresh (the key or a provider changed).
    void refreshPromptFields();
    /// The format an open editor's image came from, as it was handed to the editor.
    std::optional<QString> sourceFormat(const EditorWindowController* editor) const;
    HistoryStore& history();
    /// Nothing is open (the last window closed, or a capture gave no picture): what windows
    /// needed goes back to the system a few seconds later.
    void releaseMemorySoon();

private:
    bool openInput(const InputFile& input, int pdfPage);
    void openBundle(const QString& path);

    Settings& m_settings;
    std::unique_ptr<HistoryStore> m_history;
    std::unique_ptr<StyleLibrary> m_styles;
    std::vector<EditorWindowController*> m_editors;
    std::map<const EditorWindowController*, std::optional<QString>> m_sourceFormats;
    IdleMemory m_idleMemory;
};

} // namespace vellumix
