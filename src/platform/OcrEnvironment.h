#pragma once

namespace vellumix {

/// Makes the process run Tesseract's OpenMP single-threaded, which is several times faster on
/// a desktop than its default threads, and a must with one engine per core. libgomp reads
/// OMP_THREAD_LIMIT once, when it is loaded, so setting it later has no effect: when the variable
/// is missing this sets it to 1 and replaces the process with a fresh copy of itself
/// (`execv("/proc/self/exe")` with the same arguments), once. Call first thing in `main`, before
/// any thread starts or any output is pending. Returns normally when the variable is already set
/// or the re-exec fails.
void ensureOcrThreadLimit(int argc, char** argv);

/// Turns OpenMP parallel regions off at run time (max-active-levels 0, which makes every region
/// run on one thread), for processes that did not start through `ensureOcrThreadLimit`: tests,
/// benchmarks, the bundle tool. True when the OpenMP runtime is loaded and took the setting.
bool disableOpenMpParallelism();

} // namespace vellumix
