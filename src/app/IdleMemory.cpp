#include "IdleMemory.h"

#include "editor/EditorWindowController.h"

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
    forgetEditorIcons();
    // Every arena, the worker threads' included: their freed pages go back with madvise.
    malloc_trim(0);
}

void IdleMemory::configureAllocator() {
    // glibc raises both thresholds as large blocks are freed (up to 32 MiB for mappings), after
    // which pictures come from the arenas; a worker thread's arena then keeps its freed top for
    // good, since trimming only gives back whole free pages inside it. Fixed values turn that
    // off: anything from 1 MiB up (a 512 × 512 picture) is its own mapping.
    mallopt(M_MMAP_THRESHOLD, 1 << 20);
    mallopt(M_TRIM_THRESHOLD, 256 << 10);
    // Short-lived threads (encoders, readers, the bus) would otherwise get up to 8 arenas per
    // core, each keeping its own scraps.
    mallopt(M_ARENA_MAX, 4);
}

} // namespace vellumix
