// Find Sensitive Text on real program windows: xterm in DejaVu Sans Mono at 9 to 14 pt, dark and
// light, and a Qt dialog and page in both themes, each with planted secrets, on an Xvfb of its
// own. Reports recall (secrets of which no 5-character run is read again after the found text is
// filled), false marks, innocent lines lost, and the time of Find Sensitive Text on each cached
// analysis; each scene's leaks and false marks are printed as it is scored (and all its
// recognised text with VELLUMIX_RECALL_SHOW_TEXT set, its pictures before and after redaction
// saved into the folder VELLUMIX_RECALL_SAVE_DIR names).

#include "support/RecallScenes.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>
#include <cstdio>

using namespace vellumix;
using namespace vellumix::recall;

namespace {

struct Scored {
    SceneSpec spec;
    Outcome outcome;
};

std::vector<SceneSpec> allScenes() {
    std::vector<SceneSpec> specs;
    for (int points = 9; points <= 14; ++points) {
        specs.push_back({Program::terminal, points, true});
        specs.push_back({Program::terminal, points, false});
    }
    for (const bool dark : {false, true}) {
        specs.push_back({Program::dialog, 9, dark});
        specs.push_back({Program::dialog, 11, dark});
        specs.push_back({Program::page, 10, dark});
        specs.push_back({Program::page, 12, dark});
    }
    return specs;
}

const std::vector<Scored>& scored() {
    static const std::vector<Scored> all = [] {
        // The scenes' recognised text too, for working on the patterns.
        const bool showText = qEnvironmentVariableIsSet("VELLUMIX_RECALL_SHOW_TEXT");
        // And the pictures, before and after, into this folder.
        const QString saveTo = qEnvironmentVariable("VELLUMIX_RECALL_SAVE_DIR");
        std::vector<Scored> results;
        XServer server;
        unsigned seed = 100;
        for (const SceneSpec& spec : allScenes()) {
            const auto scene = server.capture(spec, seed++, QStringLiteral(RECALL_WINDOW_BINARY));
            if (!scene) {
                std::printf("%s: the window did not appear\n", qPrintable(spec.name()));
                continue;
            }
            results.push_back({spec, evaluate(*scene)});
            const Outcome& o = results.back().outcome;
            if (!saveTo.isEmpty()) {
                const QString name = saveTo + u'/' + spec.name().replace(u' ', u'-');
                scene->image.save(name + QStringLiteral(".png"));
                o.redacted.save(name + QStringLiteral("-redacted.png"));
            }
            std::printf("%-22s hidden %d/%d  marks %d  false %lld  innocent lost %lld\n",
                        qPrintable(spec.name()), o.hidden, o.planted, o.marks,
                        qlonglong(o.falseMarks.size()), qlonglong(o.innocentLost.size()));
            for (const QString& leak : o.leaks) {
                std::printf("    leaked    %s\n", qPrintable(leak));
            }
            for (const QString& mark : o.falseMarks) {
                std::printf("    false     %s\n", qPrintable(mark));
            }
            for (const QString& line : o.innocentLost) {
                std::printf("    lost      %s\n", qPrintable(line));
            }
            if (showText) {
                for (const OCRLine& line : o.analysis.lines) {
                    std::printf("    read      %s\n", qPrintable(line.text));
                }
                for (const OCRLine& line : o.analysis.doubtfulLines) {
                    std::printf("    doubtful  %s\n", qPrintable(line.text));
                }
                for (const QString& line : o.reread.split(u'\n')) {
                    std::printf("    reread    %s\n", qPrintable(line));
                }
            }
        }
        std::fflush(stdout);
        return results;
    }();
    return all;
}

// Recall over every scene at `minimumPoints` and above; the search timed on each analysis.
void BM_FindSensitiveTextOnRealWindows(benchmark::State& state) {
    const int minimumPoints = int(state.range(0));
    int planted = 0, hidden = 0, marks = 0, falseMarks = 0, lost = 0;
    std::vector<const VisionAnalysis*> analyses;
    for (const Scored& s : scored()) {
        if (s.spec.points < minimumPoints) {
            continue;
        }
        planted += s.outcome.planted;
        hidden += s.outcome.hidden;
        marks += s.outcome.marks;
        falseMarks += int(s.outcome.falseMarks.size());
        lost += int(s.outcome.innocentLost.size());
        analyses.push_back(&s.outcome.analysis);
    }
    if (analyses.empty()) {
        state.SkipWithError("no scene could be shown");
        return;
    }
    for (auto _ : state) {
        for (const VisionAnalysis* analysis : analyses) {
            benchmark::DoNotOptimize(findSensitiveText(*analysis).data());
        }
    }
    state.counters["scenes"] = double(analyses.size());
    state.counters["planted"] = planted;
    state.counters["recall"] = double(hidden) / planted;
    state.counters["marks"] = marks;
    state.counters["falseMarks"] = falseMarks;
    state.counters["innocentLost"] = lost;
    // Per scene: what one press of Find Sensitive Text costs on a cached analysis.
    state.counters["perScene"] =
        benchmark::Counter(double(analyses.size()), benchmark::Counter::kIsIterationInvariantRate |
                                                        benchmark::Counter::kInvert);
}
BENCHMARK(BM_FindSensitiveTextOnRealWindows)->Arg(9)->Arg(10)->Unit(benchmark::kMillisecond);

} // namespace
