#include "OcrEnvironment.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>
#include <vector>

namespace vellumix {

void ensureOcrThreadLimit(int argc, char** argv) {
    if (std::getenv("OMP_THREAD_LIMIT")) {
        return; // set by the launcher, the desktop file, the user, or our own earlier run
    }
    if (setenv("OMP_THREAD_LIMIT", "1", 1) != 0) {
        return;
    }
    std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(nullptr);
    std::fflush(nullptr);
    execv("/proc/self/exe", arguments.data());
    // Still here: the process goes on with OpenMP's default threads, limited at run time.
}

bool disableOpenMpParallelism() {
    // Looked up rather than linked: libgomp is whatever libtesseract brought in, if anything.
    using SetLevels = void (*)(int);
    using GetLevels = int (*)();
    auto set = reinterpret_cast<SetLevels>(dlsym(RTLD_DEFAULT, "omp_set_max_active_levels"));
    auto get = reinterpret_cast<GetLevels>(dlsym(RTLD_DEFAULT, "omp_get_max_active_levels"));
    if (!set || !get) {
        return false;
    }
    set(0);
    return get() == 0;
}

} // namespace vellumix
