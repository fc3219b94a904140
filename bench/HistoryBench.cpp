#include "BenchData.h"
#include "desktop/BundleServices.h"
#include "library/HistoryStore.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

using namespace vellumix;

namespace {

// The status menu's listing: 10 store bundles and 10 remembered external bundles of 2560 × 1440
// screenshots, every thumbnail decoded.
void BM_ListAllEntries(benchmark::State& state) {
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    int minute = 0;
    HistoryStore store(dir.filePath("store"), settings, platformBundleServices(), {}, [&minute] {
        return QDateTime(QDate(2025, 3, 7), QTime(10, 0)).addSecs(60 * minute++);
    });
    const QImage shot = bench::syntheticScreenshot(2560, 1440);
    for (int i = 0; i < 10; ++i) {
        store.createBundle(shot, {});
        const QString external = dir.filePath(QStringLiteral("projects/p%1.vellumix").arg(i));
        bundle::write(shot, {}, external, platformBundleServices());
        store.recordExternal(external);
    }
    for (auto _ : state) {
        const auto entries = store.allEntries(100);
        if (entries.size() != 20) {
            state.SkipWithError("expected 20 entries");
        }
        benchmark::DoNotOptimize(entries);
    }
}
BENCHMARK(BM_ListAllEntries)->Unit(benchmark::kMillisecond);

} // namespace
