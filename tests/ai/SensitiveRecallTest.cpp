// Find Sensitive Text on real program windows: a terminal and a Qt dialog and page, each with
// planted secrets, grabbed off an X server of the test's own. After the found text is filled, the
// app's own OCR must not read 5 characters in a row of any secret, every proposal must lie on a
// planted secret, and the innocent lines must still be read. The full set, with times, is
// bench/SensitiveRecallBench.cpp.

#include "support/RecallScenes.h"

#include <QStandardPaths>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace vellumix::recall;

namespace {

TEST(SensitiveRecall, EveryPlantedSecretIsHiddenAndNothingElse) {
    if (QStandardPaths::findExecutable(QStringLiteral("xterm")).isEmpty() ||
        QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty()) {
        GTEST_SKIP() << "xterm and xdotool are needed";
    }
    XServer server;
    ASSERT_FALSE(server.display().isEmpty()) << "Xvfb did not start";
    const SceneSpec specs[] = {
        {Program::terminal, 10, true},
        {Program::terminal, 12, false},
        {Program::dialog, 10, false},
        {Program::page, 10, true},
    };
    unsigned seed = 1;
    for (const SceneSpec& spec : specs) {
        SCOPED_TRACE(spec.name().toStdString());
        const std::optional<Scene> scene =
            server.capture(spec, seed++, QStringLiteral(RECALL_WINDOW_BINARY));
        ASSERT_TRUE(scene.has_value()) << "the window did not appear";
        const Outcome outcome = evaluate(*scene);
        EXPECT_EQ(outcome.hidden, outcome.planted)
            << outcome.leaks.join(u'\n').toStdString() << "\nread first:\n"
            << outcome.read.toStdString() << "\nread again:\n"
            << outcome.reread.toStdString();
        EXPECT_EQ(outcome.falseMarks, QStringList())
            << outcome.falseMarks.join(u'\n').toStdString();
        EXPECT_EQ(outcome.innocentLost, QStringList())
            << outcome.innocentLost.join(u'\n').toStdString();
    }
}

} // namespace
