#pragma once

#include <QTimer>

namespace vellumix {

/// Gives back what only windows needed once the app goes back to waiting in the tray: a tray
/// process lives all day, and without this it keeps the peak of its busiest moment (the
/// allocator holds freed pictures' pages for reuse). Runs a few seconds after the last window
/// closed, off the interaction path; a window opened meanwhile puts it off.
class IdleMemory {
public:
    static constexpr int delayMs = 3000;

    IdleMemory();
    /// Releases `delayMs` from now (from the latest call).
    void releaseSoon();
    /// Something is open again: nothing to release.
    void cancel() { m_timer.stop(); }
    /// Clears the pixmap cache and the editor icons, and returns the allocator's free pages to the system.
    static void releaseNow();
    /// Once, before anything allocates much: pictures get their own mappings, so freeing one
    /// returns it at once, and worker threads' arenas shrink as they free.
    static void configureAllocator();

private:
    QTimer m_timer;
};

} // namespace vellumix
