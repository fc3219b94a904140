#include "ai/ConsoleText.h"
#include "vision/OcrEnvironment.h"
#include "vision/VisionAnalyzer+Detail.h"

#include <QDir>
#include <QLocale>
#include <QThread>

#include <algorithm>
#include <array>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <malloc.h>
#include <mutex>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <tesseract/baseapi.h>
#include <tesseract/resultiterator.h>
#include <thread>

namespace vellumix::vision::detail {

namespace {

// Debian's tesseract-ocr-* packages install their models here; Init(nullptr, …) resolves to the
// same folder. TESSDATA_PREFIX names another one, as it does for Tesseract itself.
constexpr const char* kDefaultTessdata = "/usr/share/tesseract-ocr/5/tessdata";
// One engine per core, up to this many: each holds about 15 MB, and a screenful cut into more
// bands than this gains little over the rows their overlaps read twice.
constexpr int kMaximumEngines = 8;
// How long an engine waits for work before it ends and frees its models.
constexpr std::chrono::seconds kEngineIdleLifetime{20};
// Bands per engine: more than one evens out bands of unequal text, at the cost of the overlaps
// read twice.
constexpr int kBandsPerEngine = 2;
// The typical glyph (the median height of dark connected components) is brought into this range
// of pixels: the LSTM misreads small interface text at 1x (periods and bold letters go first),
// and large text only costs time (it is brought down to kDownscaledGlyph).
constexpr double kSmallestGlyph = 13;
constexpr double kLargestGlyph = 26;
constexpr double kDownscaledGlyph = 20;
constexpr double kMaximumUpscale = 2;
// Tesseract refuses pictures beyond 32767 pixels; long before that, time is the limit.
constexpr int kMaximumWorkingSide = 6000;
// Only engine-internal size heuristics use it; screens are about this dense.
constexpr int kResolution = 96;
// Dense dark areas at least this large, and this many times the typical glyph's height, are
// backgrounds, not glyphs: a bar or button is taller than the text it holds.
constexpr int kDarkBackgroundSide = 16;
constexpr double kBackgroundToGlyph = 1.6;
constexpr double kFillDensity = 0.8;
// An interface's flat fill has nearly all its pixels within a few levels of its commonest one
// (the rest are the anti-aliased rims of what is drawn on it); a photo's dark parts do not.
constexpr int kFillTolerance = 4;
constexpr double kFillShare = 0.8;
// Light content inside a dark background (text, icons) of at least this share of its box.
constexpr double kMinimumLightShare = 0.005;

QString tessdataPath() {
    const QByteArray prefix = qgetenv("TESSDATA_PREFIX");
    return prefix.isEmpty() ? QString::fromLatin1(kDefaultTessdata)
                            : QString::fromLocal8Bit(prefix);
}

QStringList installedLanguages(const QString& folder) {
    QStringList languages;
    const QStringList files =
        QDir(folder).entryList({QStringLiteral("*.traineddata")}, QDir::Files, QDir::Name);
    for (const QString& file : files) {
        languages << file.chopped(int(sizeof(".traineddata") - 1));
    }
    return languages;
}

int median(std::vector<int> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

// The median height of the glyph-like dark components of a dark-on-light grey picture; 0 when
// there are too few to tell.
double typicalGlyphHeight(const cv::Mat& grey) {
    cv::Mat dark;
    cv::threshold(grey, dark, 0, 255, cv::THRESH_BINARY_INV | cv::THRESH_OTSU);
    cv::Mat labels, stats, centroids;
    const int count = cv::connectedComponentsWithStats(dark, labels, stats, centroids, 8, CV_32S);
    std::vector<int> heights;
    for (int i = 1; i < count; ++i) {
        const int w = stats.at<int>(i, cv::CC_STAT_WIDTH);
        const int h = stats.at<int>(i, cv::CC_STAT_HEIGHT);
        // Letters and digits: not specks, not rules, not blocks.
        if (h >= 4 && h <= 200 && w <= 3 * h && h <= 8 * w) {
            heights.push_back(h);
        }
    }
    return heights.size() < 12 ? 0 : median(std::move(heights));
}

double workingScale(double glyph, cv::Size size) {
    double scale = 1;
    if (glyph > 0 && glyph < kSmallestGlyph) {
        scale = std::min(kMaximumUpscale, kSmallestGlyph / glyph);
    } else if (glyph > kLargestGlyph) {
        scale = kDownscaledGlyph / glyph;
    }
    return std::min(scale, double(kMaximumWorkingSide) / std::max(size.width, size.height));
}

// The commonest grey level of the masked pixels when nearly all of them lie within a few levels
// of it (a flat fill); none otherwise.
std::optional<int> flatFillLevel(const cv::Mat& grey, const cv::Mat& mask) {
    std::array<int, 256> histogram{};
    int total = 0;
    for (int y = 0; y < grey.rows; ++y) {
        const uchar* level = grey.ptr<uchar>(y);
        const uchar* inside = mask.ptr<uchar>(y);
        for (int x = 0; x < grey.cols; ++x) {
            if (inside[x]) {
                ++histogram[level[x]];
                ++total;
            }
        }
    }
    const int mode = int(std::max_element(histogram.begin(), histogram.end()) - histogram.begin());
    int near = 0;
    for (int level = std::max(0, mode - kFillTolerance);
         level <= std::min(255, mode + kFillTolerance); ++level) {
        near += histogram[level];
    }
    return near >= kFillShare * total ? std::optional(mode) : std::nullopt;
}

std::vector<int> darkPixelsPerRow(const cv::Mat& grey) {
    cv::Mat dark;
    cv::threshold(grey, dark, 0, 1, cv::THRESH_BINARY_INV | cv::THRESH_OTSU);
    cv::Mat sums;
    cv::reduce(dark, sums, 1, cv::REDUCE_SUM, CV_32S);
    return std::vector<int>(sums.begin<int>(), sums.end<int>());
}

} // namespace

// --- The engines -----------------------------------------------------------------------------

struct TextRecognition::Batch {
    cv::Mat grey;
    std::vector<TextBand> bands;
    const std::atomic<bool>* cancelled = nullptr;
    std::vector<std::vector<FoundLine>> found;
    std::mutex mutex;
    std::condition_variable finished;
    int remaining = 0;
    bool failed = false;

    bool isCancelled() const { return cancelled && cancelled->load(); }
    void complete(bool ok) {
        std::lock_guard lock(mutex);
        failed = failed || !ok;
        if (--remaining == 0) {
            finished.notify_all();
        }
    }
    void wait() {
        std::unique_lock lock(mutex);
        finished.wait(lock, [this] { return remaining == 0; });
    }
};

namespace {

struct Job {
    std::shared_ptr<TextRecognition::Batch> batch;
    int band = 0;
};

// One Tesseract engine per core, each on its own thread: an engine takes 100–200 ms to
// initialise, and one engine must never be used by two threads at once. An engine left without
// work for `kEngineIdleLifetime` ends and gives its models back (several MB each), so a tray
// process that read text once does not keep them all day; the next picture starts them again.
class Engines {
public:
    static Engines& shared() {
        // Never destroyed: its threads may be waiting for work when the process ends.
        static Engines* engines = new Engines;
        return *engines;
    }

    int count() const { return m_count; }

    void start() {
        std::lock_guard lock(m_mutex);
        startMissing();
    }

    void submit(const std::shared_ptr<TextRecognition::Batch>& batch) {
        {
            std::lock_guard lock(m_mutex);
            for (int i = 0; i < int(batch->bands.size()); ++i) {
                m_jobs.push_back({batch, i});
            }
            startMissing();
        }
        m_wake.notify_all();
    }

private:
    Engines()
        : m_datapath(tessdataPath().toStdString())
        , m_languages(tesseractLanguages(installedLanguages(tessdataPath()),
                                         QLocale::system().uiLanguages())
                          .toStdString())
        , m_count(std::clamp(QThread::idealThreadCount(), 1, kMaximumEngines)) {
        // A global setting: made once, before any engine runs. Tesseract's messages ("Empty
        // page!!") are of no use to a desktop user.
        tesseract::TessBaseAPI().SetVariable("debug_file", "/dev/null");
    }

    // Under m_mutex.
    void startMissing() {
        for (; m_running < m_count; ++m_running) {
            std::thread([this] { run(); }).detach();
        }
    }

    void run() {
        // Tesseract's own OpenMP threads would compete with the engines for the same cores. The
        // setting belongs to the calling thread's OpenMP context, so each engine's thread makes it.
        disableOpenMpParallelism();
        {
            tesseract::TessBaseAPI api;
            const bool ready =
                !m_languages.empty() &&
                api.Init(m_datapath.c_str(), m_languages.c_str(), tesseract::OEM_LSTM_ONLY) == 0;
            if (ready) {
                // Interface text stands in scattered chunks, not in columns of paragraphs.
                api.SetPageSegMode(tesseract::PSM_SPARSE_TEXT);
            } else {
                reportMissingModel();
            }
            serve(api, ready);
        }
        malloc_trim(0); // the engine's models, freed in this thread's arena
    }

    void reportMissingModel() {
        static std::once_flag reported;
        std::call_once(reported, [this] {
            console::say(
                QStringLiteral("Text recognition unavailable: no model for \"%1\" in %2")
                    .arg(QString::fromStdString(m_languages), QString::fromStdString(m_datapath)));
        });
    }

    // Reads bands until none has come for kEngineIdleLifetime.
    void serve(tesseract::TessBaseAPI& api, bool ready) {
        for (;;) {
            Job job;
            {
                std::unique_lock lock(m_mutex);
                if (!m_wake.wait_for(lock, kEngineIdleLifetime,
                                     [this] { return !m_jobs.empty(); })) {
                    --m_running;
                    return;
                }
                job = std::move(m_jobs.front());
                m_jobs.pop_front();
            }
            Batch& batch = *job.batch;
            bool ok = false;
            try {
                ok = ready && !batch.isCancelled() && read(api, batch, job.band);
            } catch (const std::exception&) {
                api.Clear(); // the band counts as failed; the engine reads the next one
            }
            batch.complete(ok);
        }
    }

    using Batch = TextRecognition::Batch;

    static bool read(tesseract::TessBaseAPI& api, Batch& batch, int index) {
        const TextBand& band = batch.bands[index];
        const cv::Mat rows = batch.grey.rowRange(band.top, band.bottom);
        api.SetImage(rows.data, rows.cols, rows.rows, 1, int(rows.step));
        api.SetSourceResolution(kResolution);
        if (api.Recognize(nullptr) != 0) {
            api.Clear();
            return false;
        }
        std::vector<FoundLine>& lines = batch.found[index];
        std::unique_ptr<tesseract::ResultIterator> it(api.GetIterator());
        // Word by word, so that each word's glyphs are read on the way; a line's own text and
        // box are taken at its first word.
        bool keep = false;
        if (it) {
            do {
                if (it->Empty(tesseract::RIL_WORD)) {
                    continue;
                }
                if (it->IsAtBeginningOf(tesseract::RIL_TEXTLINE)) {
                    std::optional<FoundLine> line = readLine(*it, band.top);
                    keep = line.has_value();
                    if (keep) {
                        lines.push_back(std::move(*line));
                    }
                }
                if (keep) {
                    lines.back().words.push_back(readWord(*it, band.top));
                }
            } while (it->Next(tesseract::RIL_WORD));
        }
        api.Clear();
        return true;
    }

    // The line at the iterator, with the engine's confidence in it (sorted out in finish).
    static std::optional<FoundLine> readLine(tesseract::ResultIterator& it, int top) {
        int left = 0, upper = 0, right = 0, bottom = 0;
        if (!it.BoundingBox(tesseract::RIL_TEXTLINE, &left, &upper, &right, &bottom)) {
            return std::nullopt;
        }
        const double confidence = it.Confidence(tesseract::RIL_TEXTLINE);
        const std::unique_ptr<char[]> text(it.GetUTF8Text(tesseract::RIL_TEXTLINE));
        if (!text) {
            return std::nullopt;
        }
        return FoundLine{QString::fromUtf8(text.get()),
                         QRect(left, upper + top, right - left, bottom - upper), confidence};
    }

    // The word at the iterator with its glyphs; leaves the iterator on the word's last glyph.
    static FoundWord readWord(tesseract::ResultIterator& it, int top) {
        const auto box = [&it, top](tesseract::PageIteratorLevel level) {
            int left = 0, upper = 0, right = 0, bottom = 0;
            it.BoundingBox(level, &left, &upper, &right, &bottom);
            return QRect(left, upper + top, right - left, bottom - upper);
        };
        const auto text = [&it](tesseract::PageIteratorLevel level) {
            const std::unique_ptr<char[]> utf8(it.GetUTF8Text(level));
            return utf8 ? QString::fromUtf8(utf8.get()) : QString();
        };
        FoundWord word{text(tesseract::RIL_WORD), box(tesseract::RIL_WORD)};
        for (;;) {
            word.glyphs.emplace_back(text(tesseract::RIL_SYMBOL), box(tesseract::RIL_SYMBOL));
            if (it.IsAtFinalElement(tesseract::RIL_WORD, tesseract::RIL_SYMBOL) ||
                !it.Next(tesseract::RIL_SYMBOL)) {
                break;
            }
        }
        return word;
    }

    std::string m_datapath;
    std::string m_languages;
    const int m_count;
    int m_running = 0; // engines started and not yet ended, under m_mutex
    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<Job> m_jobs;
};

} // namespace

void startTextEngines() {
    Engines::shared().start();
}

// --- The picture -----------------------------------------------------------------------------

bool invertDarkBackgrounds(cv::Mat& grey, int minimumSide) {
    cv::Mat dark;
    cv::threshold(grey, dark, 0, 255, cv::THRESH_BINARY_INV | cv::THRESH_OTSU);
    cv::Mat labels, stats, centroids;
    const int count = cv::connectedComponentsWithStats(dark, labels, stats, centroids, 8, CV_32S);
    bool any = false;
    for (int i = 1; i < count; ++i) {
        const cv::Rect box(stats.at<int>(i, cv::CC_STAT_LEFT), stats.at<int>(i, cv::CC_STAT_TOP),
                           stats.at<int>(i, cv::CC_STAT_WIDTH),
                           stats.at<int>(i, cv::CC_STAT_HEIGHT));
        const int area = stats.at<int>(i, cv::CC_STAT_AREA);
        // A bar with light text in it is mostly dark; a glyph, even a bold one, is smaller or
        // sparser.
        if (box.width < minimumSide || box.height < minimumSide ||
            area < kFillDensity * box.area()) {
            continue;
        }
        // Only something light inside makes it worth turning over (a solid bar or swatch does
        // not), and only a flat fill is a background (a dark part of a photo is not).
        const int light = box.area() - cv::countNonZero(dark(box));
        if (light < kMinimumLightShare * box.area()) {
            continue;
        }
        const std::optional<int> background = flatFillLevel(grey(box), labels(box) == i);
        if (!background) {
            continue;
        }
        // The fill becomes white and full white becomes black, whatever the fill's own level:
        // Tesseract binarises each band with one threshold, and a mid-grey fill would fall
        // below it.
        const double gain = 255.0 / std::max(1, 255 - *background);
        cv::Mat table(1, 256, CV_8U);
        for (int level = 0; level < 256; ++level) {
            table.at<uchar>(level) =
                cv::saturate_cast<uchar>(255 - std::abs(level - *background) * gain);
        }
        cv::Mat region = grey(box);
        cv::LUT(region, table, region);
        any = true;
    }
    return any;
}

TextPicture prepareTextPicture(const cv::Mat& rgb) {
    TextPicture picture;
    cv::Mat grey;
    cv::cvtColor(rgb, grey, cv::COLOR_RGB2GRAY);
    // Measured first on the dark glyphs of light areas, so that a bold glyph is not mistaken for
    // a dark background; a dark-mode picture has few of those, and is measured once turned over.
    double glyph = typicalGlyphHeight(grey);
    const int side = std::max(kDarkBackgroundSide, int(std::lround(kBackgroundToGlyph * glyph)));
    if (invertDarkBackgrounds(grey, side) && glyph == 0) {
        glyph = typicalGlyphHeight(grey);
    }
    picture.scale = workingScale(glyph, grey.size());
    picture.glyph = glyph * picture.scale;
    if (picture.scale == 1) {
        picture.grey = grey;
    } else {
        cv::resize(grey, picture.grey, cv::Size(), picture.scale, picture.scale,
                   picture.scale > 1 ? cv::INTER_CUBIC : cv::INTER_AREA);
    }
    picture.rowInk = darkPixelsPerRow(picture.grey);
    return picture;
}

// --- Recognition -----------------------------------------------------------------------------

TextRecognition::TextRecognition(const cv::Mat& rgb, const std::atomic<bool>* cancelled)
    : m_picture(prepareTextPicture(rgb)), m_imageSize(rgb.size()) {
    Engines& engines = Engines::shared();
    // A line up to about four typical glyphs tall that a cut still crosses is whole in one band.
    const double glyph = std::clamp(m_picture.glyph, 8.0, 40.0);
    const int overlap = int(std::lround(4 * glyph));
    m_bands = layoutTextBands(m_picture.rowInk, engines.count() * kBandsPerEngine, overlap);
    m_batch = std::make_shared<Batch>();
    m_batch->grey = m_picture.grey;
    m_batch->bands = m_bands;
    m_batch->cancelled = cancelled;
    m_batch->found.resize(m_bands.size());
    m_batch->remaining = int(m_bands.size());
    if (!m_bands.empty()) {
        engines.submit(m_batch);
    }
}

TextRecognition::~TextRecognition() {
    // The engines read the caller's cancellation flag: they must be done before it goes.
    m_batch->wait();
}

std::optional<RecognisedText> TextRecognition::finish() {
    m_batch->wait();
    if (m_batch->failed || m_batch->isCancelled()) {
        return std::nullopt;
    }
    const QSizeF imageSize(m_imageSize.width, m_imageSize.height);
    RecognisedText text;
    for (const FoundLine& found : mergeBandLines(m_bands, m_batch->found)) {
        OCRLine line;
        line.text = cleanLineText(found.text);
        line.rect = imageRectFromWorking(found.box, m_picture.scale, imageSize);
        placeTextBoxes(line, found.words, m_picture.scale, imageSize);
        if (line.text.isEmpty() || line.rect.isEmpty()) {
            continue;
        }
        // Taking every line the engine offers would flood the list with noise read off bars,
        // icons and photo texture (hence also no lines without a letter or digit): lines under
        // the confidence floor are set apart on purpose, for the search for secrets alone.
        (found.confidence >= minimumLineConfidence ? text.lines : text.doubtful)
            .push_back(std::move(line));
    }
    sortIntoReadingOrder(text.lines);
    sortIntoReadingOrder(text.doubtful);
    assignLineSizes(text.lines);
    return text;
}

} // namespace vellumix::vision::detail
