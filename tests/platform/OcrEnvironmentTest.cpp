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

TEST(OcrEnvironment, WithoutALimitTheProgramRestartsOnceWithItsArguments) {
    EXPECT_EQ(runProbe({"one", "two words"}, std::nullopt),
              QStringLiteral("start unset one two words\n"
                             "start 1 one two words\n"
                             "continued 1\n"));
}

TEST(OcrEnvironment, AGivenLimitIsKeptWithoutARestart) {
    EXPECT_EQ(runProbe({"file.png"}, QStringLiteral("3")),
              QStringLiteral("start 3 file.png\ncontinued 3\n"));
}

TEST(OcrEnvironment, OpenMpParallelismSwitchesOffAtRunTime) {
    const QString output = runProbe({"--levels"}, std::nullopt);
    EXPECT_TRUE(output.startsWith(QStringLiteral("tesseract 5."))) << output.toStdString();
    EXPECT_TRUE(output.endsWith(QStringLiteral(" levels off\n"))) << output.toStdString();
}
