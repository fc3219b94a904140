#pragma once

#include "editor/EditorWindowController.h"

#include <memory>
#include <vector>

namespace vellumix {

class HistoryStore;
class StyleLibrary;

/// Turns files into editor windows: an image file gets a new history bundle and opens in its
/// own editor; a project bundle opens with its annotations and is remembered among the
/// external bundles when it lives outside the store. Owns the windows until they close.
class DocumentOpener {
public:
    explicit DocumentOpener(Settings& settings);
    ~DocumentOpener();
    DocumentOpener(const DocumentOpener&) = delete;
    DocumentOpener& operator=(const DocumentOpener&) = delete;

    /// Opens one file; false when it is not a readable image or bundle (one line is printed).
    bool openPath(const QString& path);
    /// Makes a window for an image already in memory and presents it.
    EditorWindowController* openDocument(EditorDocument document);

    const std::vector<EditorWindowController*>& editors() const { return m_editors; }
    HistoryStore& history();

private:
    Settings& m_settings;
    std::unique_ptr<HistoryStore> m_history;
    std::unique_ptr<StyleLibrary> m_styles;
    std::vector<EditorWindowController*> m_editors;
};

} // namespace vellumix
