#include "Parallel.h"

#include <QSemaphore>
#include <QThread>
#include <QThreadPool>

#include <algorithm>

namespace vellumix {

namespace {

// A pool of its own, one thread per core, kept alive for the process. Only leaf work runs here
// (a task never waits for another task), so waiting on it cannot deadlock.
QThreadPool& workers() {
    static QThreadPool* pool = [] {
        auto* p = new QThreadPool;
        p->setMaxThreadCount(std::max(1, QThread::idealThreadCount()));
        p->setExpiryTimeout(-1);
        return p;
    }();
    return *pool;
}

} // namespace

void runInParallel(int count, const std::function<void(int)>& work) {
    if (count <= 0) {
        return;
    }
    QSemaphore finished;
    for (int i = 0; i < count; ++i) {
        workers().start([&work, &finished, i] {
            work(i);
            finished.release();
        });
    }
    finished.acquire(count);
}

int parallelPieces(long long units, long long minimumUnits) {
    const long long cores = std::max(1, QThread::idealThreadCount());
    return static_cast<int>(std::clamp(units / std::max(minimumUnits, 1LL), 1LL, cores));
}

} // namespace vellumix
