#include "DocumentOpener.h"

#include "library/HistoryStore.h"
#include "library/StyleLibrary.h"
#include "model/ImageCodec.h"
#include "bundle/ProjectBundle.h"
#include "platform/BundleServices.h"
#include "platform/FileManager.h"

#include <QDir>
#include <QFileInfo>
#include <QImageReader>

#include <cstdio>

namespace vellumix {

namespace {

void say(const QString& line) {
    std::printf("[Vellumix] %s\n", qPrintable(line));
    std::fflush(stdout);
}

bool isInside(const QString& path, const QString& folder) {
    const QString parent = QFileInfo(QFileInfo(path).absolutePath()).canonicalFilePath();
    return !parent.isEmpty() && parent == QFileInfo(folder).canonicalFilePath();
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

bool DocumentOpener::openPath(const QString& path) {
    const QString absolute = QFileInfo(path).absoluteFilePath();
    if (QFileInfo(absolute).isDir()) {
        if (!bundle::isBundle(absolute)) {
            say(QStringLiteral("Cannot open %1: not a project bundle").arg(path));
            return false;
        }
        EditorDocument document;
        document.image = bundle::readImage(absolute);
        document.bundlePath = absolute;
        document.sourceFormat = QStringLiteral("png");
        document.initialAnnotations = history().loadAnnotations(absolute);
        if (!isInside(absolute, history().storePath())) {
            history().recordExternal(absolute);
        }
        openDocument(std::move(document));
        return true;
    }
    QImage image = readImageFile(absolute, maxDecodedImageBytes);
    if (image.isNull()) {
        say(QStringLiteral("Cannot open %1: not a readable image").arg(path));
        return false;
    }
    // The editor works in pixels: one point per pixel, whatever the file's resolution says.
    image.setDevicePixelRatio(1);
    EditorDocument document;
    document.sourceFormat = QString::fromLatin1(QImageReader::imageFormat(absolute));
    auto created = history().createBundle(image, {});
    if (created) {
        document.bundlePath = *created;
    } else {
        std::printf("Save failed: %s\n", qPrintable(created.error().message));
        std::fflush(stdout);
    }
    document.image = std::move(image);
    openDocument(std::move(document));
    return true;
}

EditorWindowController* DocumentOpener::openDocument(EditorDocument document) {
    history();
    auto* editor = new EditorWindowController(
        std::move(document), EditorServices{m_settings, *m_styles, m_history.get()});
    m_editors.push_back(editor);
    editor->onClose = [this, editor] {
        std::erase(m_editors, editor);
        editor->deleteLater();
    };
    editor->present();
    return editor;
}

} // namespace vellumix
