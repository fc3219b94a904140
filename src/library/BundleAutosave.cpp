#include "BundleAutosave.h"

#include "ai/ConsoleText.h"

#include <mutex>

namespace vellumix {

// The worker's side: touched only by the jobs, which run one after another, and by the main
// thread once it has waited for them.
struct BundleAutosave::Worker {
    QString path;
    BundleServices services;
    qint64 storedImageKey = 0;
    bundle::WrittenOverlays overlays;
    std::mutex reportLock;
    std::function<void(const QString&)> report;
    bool failing = false;

    // One line per run of failures: a full disk would otherwise print one every second.
    bool settle(const Status& status) {
        if (status) {
            failing = false;
            return true;
        }
        if (!failing) {
            failing = true;
            const std::lock_guard lock(reportLock);
            report(console::saveFailedLine(status.error().message));
        }
        return false;
    }

    void writeImage(const QImage& image) {
        if (!image.isNull() && image.cacheKey() != storedImageKey &&
            settle(bundle::writeImage(image, path, services))) {
            storedImageKey = image.cacheKey();
        }
    }

    Status writeState(const State& state) {
        // The image first: annotations never reach the disk ahead of the picture they lie on.
        writeImage(state.image);
        const Status written =
            bundle::writeAnnotations(state.annotations, path, services, &overlays);
        settle(written);
        return written;
    }
};

BundleAutosave::BundleAutosave(QString bundlePath, BundleServices services, StateSource source,
                               const QImage& storedImage)
    : m_source(std::move(source)), m_worker(std::make_shared<Worker>()) {
    m_worker->path = std::move(bundlePath);
    m_worker->services = std::move(services);
    m_worker->storedImageKey = storedImage.cacheKey();
    m_worker->report = [this](const QString& line) {
        if (report) {
            report(line);
        } else {
            console::print(line);
        }
    };
    m_saveTimer.setSingleShot(true);
    m_saveTimer.setInterval(annotationsDelayMs);
    QObject::connect(&m_saveTimer, &QTimer::timeout, [this] { saveNow(); });
    m_previewTimer.setSingleShot(true);
    m_previewTimer.setInterval(previewsDelayMs);
    QObject::connect(&m_previewTimer, &QTimer::timeout, [this] { previewSoon(); });
}

BundleAutosave::~BundleAutosave() {
    stop();
}

void BundleAutosave::writeWhole() {
    enqueue([state = m_source()](Worker& worker) {
        if (worker.settle(
                bundle::write(state.image, state.annotations, worker.path, worker.services))) {
            worker.storedImageKey = state.image.cacheKey();
        }
    });
}

void BundleAutosave::setDelays(int annotationsMs, int previewsMs) {
    m_saveTimer.setInterval(annotationsMs);
    m_previewTimer.setInterval(previewsMs);
}

void BundleAutosave::changed() {
    // Not restarted by later changes: a steady stream of edits still saves twice a second.
    if (!m_saveTimer.isActive()) {
        m_saveTimer.start();
    }
}

void BundleAutosave::saveNow() {
    enqueue([state = m_source()](Worker& worker) { worker.writeState(state); });
    if (!m_previewTimer.isActive()) {
        m_previewTimer.start();
    }
}

void BundleAutosave::previewSoon() {
    enqueue([state = m_source()](Worker& worker) {
        if (worker.storedImageKey == state.image.cacheKey()) {
            worker.settle(bundle::writePreviews(state.image, state.annotations, worker.path,
                                                worker.services));
        }
    });
}

void BundleAutosave::enqueue(std::function<void(Worker&)> job) {
    // A job's state holds its closure until the state goes, and each closure holds the job
    // before it: both are let go once used, or a window would keep every snapshot it ever
    // saved (each picture it was edited through) until it closes.
    m_last = std::async(std::launch::async, [previous = m_last, worker = m_worker,
                                             job = std::move(job)]() mutable {
                 if (previous.valid()) {
                     previous.wait();
                 }
                 previous = {};
                 job(*worker);
                 job = nullptr;
             }).share();
}

void BundleAutosave::wait() {
    if (m_last.valid()) {
        m_last.wait();
    }
}

void BundleAutosave::stop() {
    m_saveTimer.stop();
    m_previewTimer.stop();
    wait();
}

Status BundleAutosave::flush() {
    stop();
    Worker& worker = *m_worker;
    const State state = m_source();
    if (Status written = worker.writeState(state); !written) {
        return written;
    }
    // Previews come from what the bundle holds: read it back when this picture did not get there.
    const QImage stored = worker.storedImageKey == state.image.cacheKey()
                              ? state.image
                              : bundle::readImage(worker.path);
    if (stored.isNull()) {
        return success();
    }
    return bundle::writePreviews(stored, state.annotations, worker.path, worker.services);
}

} // namespace vellumix
