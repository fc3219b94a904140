#pragma once

#include <functional>

namespace vellumix {

/// Runs `work(0)` … `work(count - 1)` on a pool of worker threads (one per core) and returns
/// when all are done. The workers live as long as the process, so their warmed-up heaps are
/// reused instead of faulting in fresh memory on every call. `work` must not itself wait for
/// other work submitted here.
void runInParallel(int count, const std::function<void(int)>& work);

/// How many pieces to cut work of `units` into, at least `minimumUnits` each and at most one
/// per core.
int parallelPieces(long long units, long long minimumUnits);

} // namespace vellumix
