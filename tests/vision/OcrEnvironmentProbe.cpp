// Reports the OpenMP thread limit before and after ensureOcrThreadLimit (which may restart the
// process); --with-openmp loads libgomp first, as a program linked with libtesseract has it.
// With --levels, reports whether OpenMP parallelism can be switched off before and after libgomp
// is loaded the way the vision module loads it.
#include "vision/OcrEnvironment.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>

namespace {

const char* limit() {
    const char* value = std::getenv("OMP_THREAD_LIMIT");
    return value ? value : "unset";
}

void loadOpenMp() {
    if (!dlopen("libgomp.so.1", RTLD_NOW | RTLD_LOCAL)) {
        std::printf("no libgomp: %s\n", dlerror());
    }
}

const char* levels() {
    return vellumix::disableOpenMpParallelism() ? "off" : "unchanged";
}

} // namespace

int main(int argc, char** argv) {
    const char* flag = argc > 1 ? argv[1] : "";
    if (std::strcmp(flag, "--levels") == 0) {
        const char* before = levels();
        loadOpenMp();
        std::printf("levels before loading %s, after %s\n", before, levels());
        return 0;
    }
    if (std::strcmp(flag, "--with-openmp") == 0) {
        loadOpenMp();
    }
    std::printf("start %s", limit());
    for (int i = 1; i < argc; ++i) {
        std::printf(" %s", argv[i]);
    }
    std::printf("\n");
    vellumix::ensureOcrThreadLimit(argc, argv);
    std::printf("continued %s\n", limit());
    return 0;
}
