#ifdef VELLUMIX_BENCH_WIDGETS
#include <QApplication>
using BenchApplication = QApplication;
#else
#include <QGuiApplication>
using BenchApplication = QGuiApplication;
#endif

#include <benchmark/benchmark.h>

// Shared by every benchmark program: fonts and painting need a GUI application, never a display.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    BenchApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
