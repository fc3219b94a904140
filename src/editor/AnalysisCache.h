#pragma once

#include "ai/VisionAnalysis.h"

#include <QImage>

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace vellumix {

/// One editor's image analysis: made at most once per image, as one thread-pool task that every
/// request arriving while it runs shares, kept until the image changes. Lives on the main thread,
/// and every receiver is called there.
///
/// Invalidation (every change of the editor's image) forgets the kept analysis, cancels the
/// running task (the analyzer sees its flag) and ignores whatever it still delivers; requests
/// still waiting then get the analysis of the new image, started at once. Destroying the cache
/// (the window going) cancels the task and calls no receiver any more; the task's last result is
/// dropped on the main thread.
class AnalysisCache {
public:
    /// Analyses a picture off the main thread; stops early (any result) once `cancelled` is set.
    using Analyzer =
        std::function<VisionAnalysis(const QImage&, const std::atomic<bool>& cancelled)>;
    using Receiver = std::function<void(const VisionAnalysis&)>;

    /// `currentImage` gives the editor's picture whenever an analysis starts.
    explicit AnalysisCache(std::function<QImage()> currentImage,
                           Analyzer analyzer = platformAnalyzer());
    ~AnalysisCache();
    AnalysisCache(const AnalysisCache&) = delete;
    AnalysisCache& operator=(const AnalysisCache&) = delete;

    /// Calls `receiver` with the analysis of the current image: at once when it is kept,
    /// otherwise when the running analysis, or one started now, is done.
    void request(Receiver receiver);

    /// Forgets the analysis of the previous image (see the class comment).
    void invalidate();

    /// Runs started from now on use `analyzer` (tests put a known analysis in a window).
    void setAnalyzer(Analyzer analyzer) { m_analyzer = std::move(analyzer); }

    const std::optional<VisionAnalysis>& cached() const { return m_cached; }
    bool isAnalyzing() const { return bool(m_running); }

    /// The analyzer of the platform layer (`VisionAnalyzer::analyze`).
    static Analyzer platformAnalyzer();

private:
    struct Task;
    struct Link;

    void start();
    void finished(int generation, VisionAnalysis analysis);

    std::function<QImage()> m_currentImage;
    Analyzer m_analyzer;
    std::optional<VisionAnalysis> m_cached;
    std::shared_ptr<Task> m_running;
    std::vector<Receiver> m_waiting;
    // Counts image changes: a task's result counts only for the generation it started in.
    int m_generation = 0;
    std::shared_ptr<Link> m_link;
};

} // namespace vellumix
