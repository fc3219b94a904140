#include "BundleTool.h"

#include "model/ProjectBundle.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

struct ToolRun {
    int status;
    QString out;
    QString err;
};

ToolRun run(const QStringList& args) {
    QString out;
    QString err;
    QTextStream outStream(&out);
    QTextStream errStream(&err);
    const int status = runBundleTool(args, outStream, errStream);
    return {status, out, err};
}

class BundleToolTest : public ::testing::Test {
protected:
    void SetUp() override {
        QImage image(120, 80, QImage::Format_RGB32);
        image.fill(qRgb(10, 200, 30));
        ASSERT_TRUE(image.save(imagePath()));
    }
    QTemporaryDir dir;
    QString imagePath() const { return dir.filePath("shot.png"); }
    QString bundlePath() const { return dir.filePath("shot.vellumix"); }
};

} // namespace

TEST_F(BundleToolTest, CreateInfoAndRenderWorkOnRealFiles) {
    ASSERT_EQ(run({"create", imagePath(), bundlePath()}).status, 0);
    EXPECT_TRUE(bundle::isBundle(bundlePath()));
    EXPECT_EQ(run({"info", bundlePath()}).out, QStringLiteral("[]\n"));

    const QString json = R"([{"type":"shape","shape":"rect","rect":[30,30,20.004,10],)"
                         R"("fillColor":[0,0,0],"lineWidth":0,"opacity":1,"id":"box01"}])";
    QFile file(QDir(bundlePath()).filePath("annotations.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(json.toUtf8());
    file.close();
    EXPECT_EQ(run({"info", bundlePath()}).out,
              QStringLiteral(R"([{"type":"shape","shape":"rect","rect":[30,30,20,10],)"
                             R"("lineWidth":0,"fillColor":[0,0,0],"opacity":1,)"
                             R"("lineStyle":"solid","id":"box01"}])"
                             "\n"));

    const QString out = dir.filePath("out.png");
    ASSERT_EQ(run({"render", bundlePath(), out}).status, 0);
    QImage rendered(out);
    EXPECT_EQ(rendered.size(), QSize(120, 80));
    EXPECT_EQ(rendered.pixel(15, 15), qRgb(0, 0, 0));
    EXPECT_EQ(rendered.pixel(5, 5), qRgb(10, 200, 30));

    ASSERT_EQ(run({"render", bundlePath(), out, "--no-annotations"}).status, 0);
    EXPECT_EQ(QImage(out).pixel(15, 15), qRgb(10, 200, 30));
    ASSERT_EQ(run({"render", bundlePath(), out, "--transparent"}).status, 0);
    EXPECT_EQ(qAlpha(QImage(out).pixel(5, 5)), 0);
}

TEST_F(BundleToolTest, BadInputIsOneLineAndStatusOne) {
    const auto expectOneLineFailure = [](const ToolRun& r) {
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.err.count('\n'), 1) << qPrintable(r.err);
        EXPECT_TRUE(r.out.isEmpty());
    };
    expectOneLineFailure(run({"info", dir.filePath("missing.vellumix")}));
    expectOneLineFailure(run({"render", dir.filePath("missing.vellumix"), dir.filePath("o.png")}));
    QFile garbage(dir.filePath("garbage.png"));
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    garbage.write("\x89PNG\r\n\x1a\n truncated");
    garbage.close();
    expectOneLineFailure(run({"create", garbage.fileName(), bundlePath()}));
    EXPECT_FALSE(QFile::exists(bundlePath()));

    // A bundle whose image is unreadable is not a bundle.
    ASSERT_TRUE(QDir().mkpath(bundlePath()));
    ASSERT_TRUE(QFile::copy(garbage.fileName(), QDir(bundlePath()).filePath("image.png")));
    expectOneLineFailure(run({"info", bundlePath()}));

    EXPECT_EQ(run({"frobnicate"}).status, 2);
}

TEST_F(BundleToolTest, UnreadableAnnotationsReadAsNone) {
    ASSERT_EQ(run({"create", imagePath(), bundlePath()}).status, 0);
    QFile file(QDir(bundlePath()).filePath("annotations.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("{ this is not json");
    file.close();
    EXPECT_EQ(run({"info", bundlePath()}).out, QStringLiteral("[]\n"));
    EXPECT_EQ(run({"render", bundlePath(), dir.filePath("o.png")}).status, 0);
}

// The installed command itself: exit status and standard error as a script sees them.
TEST_F(BundleToolTest, CommandLineBinaryReportsFailuresWithoutCrashing) {
    QProcess process;
    process.start(QStringLiteral(VELLUMIX_BUNDLE_BINARY), {"info", dir.filePath("nope")});
    ASSERT_TRUE(process.waitForFinished(30000));
    EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(process.exitCode(), 1);
    EXPECT_EQ(QString::fromUtf8(process.readAllStandardError()).count('\n'), 1);
}
