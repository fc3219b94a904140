#include <QProcess>
#include <QProcessEnvironment>

#include <gtest/gtest.h>
#include <optional>

namespace {

// Runs the probe with OMP_THREAD_LIMIT set to `limit`, or absent; returns what it printed.
QString runProbe(const QStringList& arguments, std::optional<QString> limit) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("OMP_THREAD_LIMIT"));
    if (limit) {
        environment.insert(QStringLiteral("OMP_THREAD_LIMIT"), *limit);
    }
    QProcess probe;
    probe.setProcessEnvironment(environment);
    probe.start(QStringLiteral(OCR_ENVIRONMENT_PROBE), arguments);
    EXPECT_TRUE(probe.waitForFinished(20000));
    EXPECT_EQ(probe.exitCode(), 0);
    return QString::fromUtf8(probe.readAllStandardOutput());
}

} // namespace

TEST(OcrEnvironment, WithOpenMpLoadedAndNoLimitTheProgramRestartsOnceWithItsArguments) {
    EXPECT_EQ(runProbe({"--with-openmp", "two words"}, std::nullopt),
              QStringLiteral("start unset --with-openmp two words\n"
                             "start 1 --with-openmp two words\n"
                             "continued 1\n"));
}

TEST(OcrEnvironment, BeforeOpenMpIsLoadedSettingTheLimitIsEnough) {
    EXPECT_EQ(runProbe({"shot.png"}, std::nullopt),
              QStringLiteral("start unset shot.png\ncontinued 1\n"));
}

TEST(OcrEnvironment, AGivenLimitIsKeptWithoutARestart) {
    EXPECT_EQ(runProbe({"--with-openmp", "file.png"}, QStringLiteral("3")),
              QStringLiteral("start 3 --with-openmp file.png\ncontinued 3\n"));
}

TEST(OcrEnvironment, OpenMpParallelismSwitchesOffAtRunTimeOnceLoaded) {
    EXPECT_EQ(runProbe({"--levels"}, std::nullopt),
              QStringLiteral("levels before loading unchanged, after off\n"));
}
