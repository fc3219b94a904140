#include "AnalysisCache.h"

#include "vision/VisionAnalyzer.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <QObject>
#include <QThreadPool>

namespace vellumix {

namespace {

// Above the pool's ordinary work: a person is waiting for the answer.
constexpr int kUserInitiatedPriority = 1;

} // namespace

struct AnalysisCache::Task {
    std::atomic<bool> cancelled{false};
};

// The main-thread object a finished task posts its result to. The task keeps it alive while it
// posts, so the worker never touches an object another thread may be deleting; the cache
// detaches itself when it goes, and the link is deleted on the main thread.
struct AnalysisCache::Link : QObject {
    AnalysisCache* cache = nullptr;
};

AnalysisCache::AnalysisCache(std::function<QImage()> currentImage, Analyzer analyzer)
    : m_currentImage(std::move(currentImage))
    , m_analyzer(std::move(analyzer))
    , m_link(new Link, [](Link* link) {
        // The last holder may be a result still queued when the application ends: its event is
        // then destroyed while Qt holds the posted-event lock, and posting a deferred delete
        // from there would wait on that lock for ever. The process is ending; let it go.
        if (QCoreApplication::closingDown() || !QCoreApplication::instance()) {
            return;
        }
        link->deleteLater();
    }) {
    m_link->cache = this;
}

AnalysisCache::~AnalysisCache() {
    m_link->cache = nullptr;
    if (m_running) {
        m_running->cancelled = true;
    }
}

AnalysisCache::Analyzer AnalysisCache::platformAnalyzer() {
    return [](const QImage& image, const std::atomic<bool>& cancelled) {
        return VisionAnalyzer::analyze(image, &cancelled);
    };
}

void AnalysisCache::request(Receiver receiver) {
    if (m_cached) {
        receiver(*m_cached);
        return;
    }
    m_waiting.push_back(std::move(receiver));
    if (!m_running) {
        start();
    }
}

void AnalysisCache::invalidate() {
    ++m_generation;
    m_cached.reset();
    if (m_running) {
        m_running->cancelled = true;
        m_running.reset();
    }
    if (!m_waiting.empty()) {
        start();
    }
}

void AnalysisCache::start() {
    auto task = std::make_shared<Task>();
    m_running = task;
    QThreadPool::globalInstance()->start(
        [task, link = m_link, analyzer = m_analyzer, image = m_currentImage(),
         generation = m_generation] {
            VisionAnalysis analysis;
            if (!task->cancelled) {
                try {
                    analysis = analyzer(image, task->cancelled);
                } catch (...) {
                    analysis = {}; // an analysis never fails: nothing found
                }
            }
            QMetaObject::invokeMethod(
                link.get(),
                [link, generation, analysis = std::move(analysis)]() mutable {
                    if (link->cache) {
                        link->cache->finished(generation, std::move(analysis));
                    }
                },
                Qt::QueuedConnection);
        },
        kUserInitiatedPriority);
}

void AnalysisCache::finished(int generation, VisionAnalysis analysis) {
    if (generation != m_generation) {
        return; // an earlier image's, cancelled on its way
    }
    m_running.reset();
    m_cached = std::move(analysis);
    // Receivers may request or invalidate in turn: work on what was waiting now.
    const std::vector<Receiver> waiting = std::exchange(m_waiting, {});
    const VisionAnalysis result = *m_cached;
    for (const Receiver& receiver : waiting) {
        receiver(result);
    }
}

} // namespace vellumix
