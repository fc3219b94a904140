#include "OcrEnvironment.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>
#include <vector>

namespace vellumix {

namespace {

// libgomp when something (libtesseract) has loaded it already; null otherwise. The handle comes
// from dlopen rather than the global scope because modules load their libraries locally.
void* loadedOpenMp() {
    return dlopen("libgomp.so.1", RTLD_NOW | RTLD_NOLOAD);
}

} // namespace

void ensureOcrThreadLimit(int argc, char** argv) {
    if (std::getenv("OMP_THREAD_LIMIT")) {
        return; // set by the launcher, the desktop file, the user, or our own earlier run
    }
    if (setenv("OMP_THREAD_LIMIT", "1", 1) != 0) {
        return;
    }
    void* openMp = loadedOpenMp();
    if (!openMp) {
        return; // it reads the variable when it loads
    }
    dlclose(openMp);
    std::vector<char*> arguments(argv, argv + argc);
    arguments.push_back(nullptr);
    std::fflush(nullptr);
    execv("/proc/self/exe", arguments.data());
    // Still here: the engines limit OpenMP on their threads at run time.
}

bool disableOpenMpParallelism() {
    void* openMp = loadedOpenMp();
    if (!openMp) {
        return false;
    }
    using SetLevels = void (*)(int);
    using GetLevels = int (*)();
    auto set = reinterpret_cast<SetLevels>(dlsym(openMp, "omp_set_max_active_levels"));
    auto get = reinterpret_cast<GetLevels>(dlsym(openMp, "omp_get_max_active_levels"));
    bool off = false;
    if (set && get) {
        set(0);
        off = get() == 0;
    }
    dlclose(openMp); // libtesseract keeps it loaded
    return off;
}

} // namespace vellumix
