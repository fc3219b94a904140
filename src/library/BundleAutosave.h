#pragma once

#include "bundle/ProjectBundle.h"

#include <QImage>
#include <QTimer>

#include <functional>
#include <future>
#include <memory>

namespace vellumix {

/// Keeps an editor window's bundle on disk as the window changes, so a crash, `kill -9` or a
/// session ending under the app costs at most the last second of work.
///
/// `changed()` is cheap: it starts a short timer. When the timer fires, the state the bundle
/// should hold is taken from the window (a copy-on-write snapshot, microseconds even with a
/// thousand annotations) and written on a worker thread: the image when it differs from the
/// one last written, then "annotations.json", each atomically. The thumbnail and folder icon
/// follow at a slower pace. Writes of one bundle run one after another, in order.
class BundleAutosave {
public:
    /// What the bundle should hold. During an image-edit session that is what Cancel would
    /// restore, never the unapplied state.
    struct State {
        QImage image;
        AnnotationList annotations;
    };
    using StateSource = std::function<State()>;

    static constexpr int annotationsDelayMs = 400;
    static constexpr int previewsDelayMs = 4000;

    /// `storedImage` is what the bundle's "image.png" holds already (none for a new bundle).
    BundleAutosave(QString bundlePath, BundleServices services, StateSource source,
                   const QImage& storedImage);
    /// Waits for a write in flight; pending changes are not written (flush first for that).
    ~BundleAutosave();
    BundleAutosave(const BundleAutosave&) = delete;
    BundleAutosave& operator=(const BundleAutosave&) = delete;

    /// The bundle's folder is new and empty: writes it whole (image, annotations, previews,
    /// icon) on the worker; every later save and the closing save come after it.
    void writeWhole();

    /// How long changes wait before they are written (tests shorten it).
    void setDelays(int annotationsMs, int previewsMs);

    /// Something the bundle holds may have changed; it reaches the disk within about a second.
    void changed();
    /// The closing save: waits for the worker, then writes the current state and the previews
    /// on this thread.
    Status flush();
    /// Drops pending changes and waits for the write in flight (the bundle is about to go).
    void stop();
    /// What the timer runs: takes the state and hands its writing to the worker. The only part
    /// of saving that runs on the calling thread.
    void saveNow();
    /// Waits until every write handed over so far is done.
    void wait();

    /// Failures, as "Save failed: …" lines; printed once per run of failures. Defaults to
    /// standard output.
    std::function<void(const QString& line)> report;

private:
    struct Worker;
    void previewSoon();
    void enqueue(std::function<void(Worker&)> job);

    StateSource m_source;
    std::shared_ptr<Worker> m_worker;
    std::shared_future<void> m_last;
    QTimer m_saveTimer;
    QTimer m_previewTimer;
};

} // namespace vellumix
