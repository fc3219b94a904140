#include "IdleMemory.h"

#include <QPixmapCache>

#include <malloc.h>

namespace vellumix {

IdleMemory::IdleMemory() {
    m_timer.setSingleShot(true);
    m_timer.setInterval(delayMs);
    QObject::connect(&m_timer, &QTimer::timeout, [] { releaseNow(); });
}

void IdleMemory::releaseSoon() {
    m_timer.start();
}

void IdleMemory::releaseNow() {
    QPixmapCache::clear();
    // Every arena, the worker threads' included: their freed pages go back with madvise.
    malloc_trim(0);
}

} // namespace vellumix
