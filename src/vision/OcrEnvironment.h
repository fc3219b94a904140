#pragma once

namespace vellumix {

/// Makes the process run Tesseract's OpenMP single-threaded, which is several times faster on a
/// desktop than its default threads, and a must with one engine per core. libgomp reads
/// OMP_THREAD_LIMIT once, when it is loaded. When the variable is missing this sets it to 1;
/// that is enough in a program that has not loaded libgomp yet, and otherwise (a Qt program has:
/// QtCore's libb2 links it) the process replaces itself with a fresh copy
/// (`execv("/proc/self/exe")` with the same arguments), once. Call first thing in `main`, before
/// any thread starts or any output is pending. Returns normally when no restart is needed or the
/// restart fails.
void ensureOcrThreadLimit(int argc, char** argv);

/// Turns OpenMP parallel regions off at run time (max-active-levels 0, which makes every region
/// run on one thread) for the calling thread, whatever the environment said: the text engines
/// call it on their own threads, so tests and benchmarks need no restart either. True when
/// libgomp is loaded and took the setting.
bool disableOpenMpParallelism();

} // namespace vellumix
