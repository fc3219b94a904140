#include "editor/AnalysisCache.h"

#include "EditorWindowFixture.h"
#include "support/TextPictures.h"
#include "vision/VisionAnalyzer.h"

#include <QPainter>
#include <QThreadPool>

#include <mutex>

using vellumix::test::caption;
using vellumix::test::texts;

namespace {

// The platform's analyzer, with a record of every run: the text it found and whether it had
// been told to stop by the time it returned.
struct Runs {
    std::mutex mutex;
    std::vector<QString> found;
    std::vector<bool> cancelled;

    int count() {
        std::lock_guard lock(mutex);
        return int(found.size());
    }
};

AnalysisCache::Analyzer recording(const std::shared_ptr<Runs>& runs) {
    return [runs](const QImage& image, const std::atomic<bool>& cancelled) {
        VisionAnalysis analysis = VisionAnalyzer::analyze(image, &cancelled);
        std::lock_guard lock(runs->mutex);
        runs->found.push_back(texts(analysis).join(u'|'));
        runs->cancelled.push_back(cancelled.load());
        return analysis;
    };
}

void waitForPool() {
    QThreadPool::globalInstance()->waitForDone();
    QTest::qWait(50); // the posted results
}

} // namespace

TEST(AnalysisCache, RequestsWhileAnalysingShareOneRunAndLaterOnesTheKeptResult) {
    auto runs = std::make_shared<Runs>();
    const QImage image = caption(QStringLiteral("Shared harbour notes"));
    AnalysisCache cache([&] { return image; }, recording(runs));
    QStringList first, second;
    cache.request([&](const VisionAnalysis& a) { first = texts(a); });
    cache.request([&](const VisionAnalysis& a) { second = texts(a); });
    EXPECT_TRUE(cache.isAnalyzing());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !second.isEmpty(); }, 30000));
    EXPECT_EQ(first, QStringList{QStringLiteral("Shared harbour notes")});
    EXPECT_EQ(second, first);
    EXPECT_FALSE(cache.isAnalyzing());
    ASSERT_TRUE(cache.cached());

    // Kept: answered at once, without another run.
    QStringList third;
    cache.request([&](const VisionAnalysis& a) { third = texts(a); });
    EXPECT_EQ(third, first);
    EXPECT_EQ(runs->count(), 1);
}

TEST(AnalysisCache, AnImageChangeCancelsTheRunAndAnswersWithTheNewImage) {
    auto runs = std::make_shared<Runs>();
    QImage current = caption(QStringLiteral("Old picture words"));
    AnalysisCache cache([&] { return current; }, recording(runs));
    int answers = 0;
    QStringList answer;
    cache.request([&](const VisionAnalysis& a) {
        ++answers;
        answer = texts(a);
    });
    current = caption(QStringLiteral("New picture words"));
    cache.invalidate();
    ASSERT_TRUE(QTest::qWaitFor([&] { return answers > 0; }, 30000));
    waitForPool();
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(answer, QStringList{QStringLiteral("New picture words")});
    EXPECT_EQ(cache.cached() ? texts(*cache.cached()) : QStringList(), answer);
    // The old picture's run, if it began at all, was told to stop before it returned.
    std::lock_guard lock(runs->mutex);
    for (size_t i = 0; i < runs->found.size(); ++i) {
        if (runs->found[i] != QLatin1String("New picture words")) {
            EXPECT_TRUE(runs->cancelled[i]);
        }
    }
}

TEST(AnalysisCache, InvalidatingAKeptAnalysisForgetsItAndTheNextRequestRunsAgain) {
    auto runs = std::make_shared<Runs>();
    QImage current = caption(QStringLiteral("Before the crop"));
    AnalysisCache cache([&] { return current; }, recording(runs));
    QStringList answer;
    cache.request([&](const VisionAnalysis& a) { answer = texts(a); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return cache.cached().has_value(); }, 30000));

    current = caption(QStringLiteral("After the crop"));
    cache.invalidate();
    EXPECT_FALSE(cache.cached());
    EXPECT_FALSE(cache.isAnalyzing()); // nobody is waiting: nothing starts

    cache.request([&](const VisionAnalysis& a) { answer = texts(a); });
    ASSERT_TRUE(QTest::qWaitFor([&] { return cache.cached().has_value(); }, 30000));
    EXPECT_EQ(answer, QStringList{QStringLiteral("After the crop")});
    EXPECT_EQ(runs->count(), 2);
}

TEST(AnalysisCache, GoingAwayMidRunCallsNoReceiverAndKeepsNothingAlive) {
    auto runs = std::make_shared<Runs>();
    const QImage image = caption(QStringLiteral("Closing window text"));
    auto cache = std::make_unique<AnalysisCache>([&] { return image; }, recording(runs));
    bool answered = false;
    auto sentinel = std::make_shared<int>(0);
    std::weak_ptr<int> watch = sentinel;
    cache->request([&answered, sentinel](const VisionAnalysis&) { answered = true; });
    sentinel.reset();
    cache.reset();
    waitForPool();
    EXPECT_FALSE(answered);
    EXPECT_TRUE(watch.expired());
    std::lock_guard lock(runs->mutex);
    for (bool cancelled : runs->cancelled) {
        EXPECT_TRUE(cancelled);
    }
}

TEST_F(EditorWindowTest, EveryImageChangeForgetsTheWindowsAnalysis) {
    EditorDocument document;
    document.image = caption(QStringLiteral("Harbour crane report"));
    window = open(std::move(document));
    AnalysisCache& analysis = window->visionAnalysis();
    analysis.request([](const VisionAnalysis&) {});
    ASSERT_TRUE(QTest::qWaitFor([&] { return analysis.cached().has_value(); }, 30000));
    EXPECT_EQ(texts(*analysis.cached()), QStringList{QStringLiteral("Harbour crane report")});

    // Turning the picture in an image-edit session replaces it: the analysis is stale.
    QTest::mouseClick(editImageButton(), Qt::LeftButton);
    QTest::mouseClick(imageEditButton("rotate-right"), Qt::LeftButton);
    ASSERT_EQ(window->model().image().size(), QSize(120, 640));
    EXPECT_FALSE(analysis.cached());

    analysis.request([](const VisionAnalysis&) {});
    ASSERT_TRUE(QTest::qWaitFor([&] { return analysis.cached().has_value(); }, 30000));
    // Cancelling the session brings the old picture back: stale again.
    QTest::mouseClick(cancelEditButton(), Qt::LeftButton);
    ASSERT_EQ(window->model().image().size(), QSize(640, 120));
    EXPECT_FALSE(analysis.cached());
}

TEST_F(EditorWindowTest, ClosingTheWindowWhileItsAnalysisRunsIsQuiet) {
    EditorDocument document;
    document.image = caption(QStringLiteral("Window closing early"));
    window = open(std::move(document));
    bool answered = false;
    window->visionAnalysis().request([&](const VisionAnalysis&) { answered = true; });
    QTest::keyClick(window.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(window->isVisible());
    window.reset();
    waitForPool();
    EXPECT_FALSE(answered);
}
