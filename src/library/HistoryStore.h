#pragma once

#include "Settings.h"
#include "bundle/ProjectBundle.h"

#include <QDateTime>
#include <QImage>

#include <functional>
#include <map>
#include <vector>

namespace vellumix {

/// The private history of project bundles (the newest 10 captures, pastes and opened images)
/// plus up to 10 remembered bundles that live elsewhere. Every call reads the disk afresh.
class HistoryStore {
public:
    struct Entry {
        QString bundlePath;
        /// When the entry was last saved: its annotations file's modification time.
        QDateTime date;
        QImage thumbnail;
        bool isExternal = false;
    };

    static constexpr int maxEntries = 10;
    static constexpr int externalCap = 10;

    using Clock = std::function<QDateTime()>;
    using Revealer = std::function<void(const QString& filePath)>;

    /// Creates the store folder if needed (a failure shows later, when writing into it).
    HistoryStore(QString storePath, Settings& settings, BundleServices services,
                 Revealer reveal = {}, Clock clock = &QDateTime::currentDateTime);

    /// `$XDG_DATA_HOME/Vellumix`.
    static QString standardStorePath();
    const QString& storePath() const { return m_storePath; }
    const BundleServices& services() const { return m_services; }

    /// Writes a new bundle named after the current local time (with "-2", "-3", … when that
    /// second already has one), then prunes the store.
    Result<QString> createBundle(const QImage& image, const AnnotationList& annotations);
    /// Claims a new bundle's name and folder and prunes, writing nothing else: the editor
    /// opens at once and its autosave writes the bundle whole off the main thread.
    Result<QString> reserveBundle();
    /// Store and external entries with a readable thumbnail, newest first, at most `limit`.
    std::vector<Entry> allEntries(int limit) const;
    /// Puts a bundle's absolute path at the front of the remembered external bundles.
    void recordExternal(const QString& bundlePath);
    QStringList externalPaths() const;
    /// Removes a bundle for good (not to the trash).
    Status deleteBundle(const QString& bundlePath);
    /// Discarding a window's bundle: one of the history's is deleted; a project that lives
    /// elsewhere is the user's own and goes to the desktop's trash, where it can be restored.
    Status discardBundle(const QString& bundlePath);
    bool isInStore(const QString& bundlePath) const;
    /// Shows the bundle's image in the file manager.
    void reveal(const QString& bundlePath) const;
    /// Deletes store bundles beyond the newest 10 by creation time, except those held open.
    void prune();
    /// An editor window works on the bundle: pruning leaves it alone until it is released.
    void holdOpen(const QString& bundlePath);
    /// The window closed: the bundle is pruned now if it has fallen beyond the newest 10.
    void release(const QString& bundlePath);

    AnnotationList loadAnnotations(const QString& bundlePath) const;

    /// "yyyy-MM-dd-HHmmss.vellumix" for a moment in local time; the `n`th bundle of the same
    /// second (from 2) is "yyyy-MM-dd-HHmmss-n.vellumix".
    static QString bundleName(const QDateTime& when, int n = 1);

private:
    QStringList storeItems() const;
    /// Creates the folder of a new store bundle under a name of its own.
    Result<QString> claimName();

    QString m_storePath;
    Settings& m_settings;
    BundleServices m_services;
    Revealer m_reveal;
    Clock m_clock;
    std::map<QString, int> m_held;
};

} // namespace vellumix
