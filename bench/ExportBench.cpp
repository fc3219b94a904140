#include "BenchData.h"
#include "codecs/ImageExport.h"

#include <QBuffer>
#include <QImageWriter>

#include <benchmark/benchmark.h>

using namespace vellumix;

// Every export format on a 5K screenshot, ours beside Qt's writer at its defaults where Qt has
// one. The picture comes as the canvas flattens it: premultiplied ARGB, every pixel opaque.
// Goals: PNG ≤ 400 ms, JPEG ≤ 150 ms, WebP ≤ 1.5 s, HEIC ≤ 2.5 s.
namespace {

const QImage& screenshot5k() {
    static const QImage image =
        bench::syntheticScreenshot(5120, 2880).convertToFormat(QImage::Format_ARGB32_Premultiplied);
    return image;
}

void reportSize(benchmark::State& state, qsizetype bytes) {
    state.counters["sizeKB"] = double(bytes) / 1024.0;
}

void BM_Export(benchmark::State& state, ExportFormat format) {
    qsizetype bytes = 0;
    for (auto _ : state) {
        const Result<QByteArray> data = encodeImage(screenshot5k(), format);
        if (!data) {
            state.SkipWithError(data.error().message.toStdString().c_str());
            return;
        }
        bytes = data->size();
    }
    reportSize(state, bytes);
}

void BM_QtDefault(benchmark::State& state, const char* format) {
    qsizetype bytes = 0;
    for (auto _ : state) {
        QByteArray data;
        QBuffer buffer(&data);
        buffer.open(QIODevice::WriteOnly);
        if (!QImageWriter(&buffer, format).write(screenshot5k())) {
            state.SkipWithError("Qt's writer failed");
            return;
        }
        bytes = data.size();
    }
    reportSize(state, bytes);
}

// PNG beside Qt's writer on the pictures people save most: a 5K screenshot, an 800 × 500
// capture of windows and text, and a photo (a noisy colour field). Opaque RGB, as captured, so
// that Qt's writer makes RGB files too.
const QImage& pngSubject(int which) {
    static const QImage screen = screenshot5k().convertToFormat(QImage::Format_RGB32);
    static const QImage capture = screen.copy(1900, 150, 800, 500);
    static const QImage photo = screen.copy(300, 1500, 1920, 1080);
    return which == 0 ? screen : which == 1 ? capture : photo;
}

void BM_PngOurs(benchmark::State& state) {
    qsizetype bytes = 0;
    for (auto _ : state) {
        const Result<QByteArray> data =
            encodeImage(pngSubject(int(state.range(0))), ExportFormat::png);
        bytes = data ? data->size() : 0;
    }
    reportSize(state, bytes);
}

void BM_PngQt(benchmark::State& state) {
    qsizetype bytes = 0;
    for (auto _ : state) {
        QByteArray data;
        QBuffer buffer(&data);
        buffer.open(QIODevice::WriteOnly);
        QImageWriter(&buffer, "png").write(pngSubject(int(state.range(0))));
        bytes = data.size();
    }
    reportSize(state, bytes);
}

BENCHMARK(BM_PngOurs)
    ->DenseRange(0, 2)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();
BENCHMARK(BM_PngQt)
    ->DenseRange(0, 2)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

#define EXPORT_BENCHMARK(name, fn, arg)                                                            \
    BENCHMARK_CAPTURE(fn, name, arg)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(2)

EXPORT_BENCHMARK(png, BM_Export, ExportFormat::png);
EXPORT_BENCHMARK(png, BM_QtDefault, "png");
EXPORT_BENCHMARK(jpeg, BM_Export, ExportFormat::jpeg);
EXPORT_BENCHMARK(jpeg, BM_QtDefault, "jpeg");
EXPORT_BENCHMARK(heic, BM_Export, ExportFormat::heic);
EXPORT_BENCHMARK(tiff, BM_Export, ExportFormat::tiff);
EXPORT_BENCHMARK(tiff, BM_QtDefault, "tiff");
EXPORT_BENCHMARK(gif, BM_Export, ExportFormat::gif);
EXPORT_BENCHMARK(bmp, BM_Export, ExportFormat::bmp);
EXPORT_BENCHMARK(bmp, BM_QtDefault, "bmp");
EXPORT_BENCHMARK(webp, BM_Export, ExportFormat::webp);
EXPORT_BENCHMARK(webp, BM_QtDefault, "webp");

} // namespace
