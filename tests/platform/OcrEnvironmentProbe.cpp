// Reports the OpenMP thread limit before and after ensureOcrThreadLimit (which may restart the
// process), or, with --levels, whether OpenMP parallelism can be switched off at run time.
#include "platform/OcrEnvironment.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <tesseract/baseapi.h>

namespace {

const char* limit() {
    const char* value = std::getenv("OMP_THREAD_LIMIT");
    return value ? value : "unset";
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--levels") == 0) {
        // Linked like the app: libtesseract brings libgomp in.
        std::printf("tesseract %s levels %s\n", tesseract::TessBaseAPI::Version(),
                    vellumix::disableOpenMpParallelism() ? "off" : "unchanged");
        return 0;
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
