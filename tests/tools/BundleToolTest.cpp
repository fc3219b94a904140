#include "ai/BundleToolRun.h"
#include "bundle/ProjectBundle.h"
#include "support/HeicFixture.h"
#include "support/TextPictures.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using namespace vellumix;
using namespace vellumix::test;

namespace {

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
    ASSERT_EQ(runTool({"create", imagePath(), bundlePath()}).status, 0);
    EXPECT_TRUE(bundle::isBundle(bundlePath()));
    EXPECT_EQ(runTool({"info", bundlePath()}).out, QStringLiteral("[]\n"));

    const QString json = R"([{"type":"shape","shape":"rect","rect":[30,30,20.004,10],)"
                         R"("fillColor":[0,0,0],"lineWidth":0,"opacity":1,"id":"box01"}])";
    QFile file(QDir(bundlePath()).filePath("annotations.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(json.toUtf8());
    file.close();
    EXPECT_EQ(runTool({"info", bundlePath()}).out,
              QStringLiteral(R"([{"type":"shape","shape":"rect","rect":[30,30,20,10],)"
                             R"("lineWidth":0,"fillColor":[0,0,0],"opacity":1,)"
                             R"("lineStyle":"solid","id":"box01"}])"
                             "\n"));

    const QString out = dir.filePath("out.png");
    ASSERT_EQ(runTool({"render", bundlePath(), out}).status, 0);
    QImage rendered(out);
    EXPECT_EQ(rendered.size(), QSize(120, 80));
    EXPECT_EQ(rendered.pixel(15, 15), qRgb(0, 0, 0));
    EXPECT_EQ(rendered.pixel(5, 5), qRgb(10, 200, 30));

    ASSERT_EQ(runTool({"render", bundlePath(), out, "--no-annotations"}).status, 0);
    EXPECT_EQ(QImage(out).pixel(15, 15), qRgb(10, 200, 30));
    ASSERT_EQ(runTool({"render", bundlePath(), out, "--transparent"}).status, 0);
    EXPECT_EQ(qAlpha(QImage(out).pixel(5, 5)), 0);
}

TEST_F(BundleToolTest, BadInputIsOneLineAndStatusOne) {
    const auto expectOneLineFailure = [](const ToolRun& r) {
        EXPECT_EQ(r.status, 1);
        EXPECT_EQ(r.err.count('\n'), 1) << qPrintable(r.err);
        EXPECT_TRUE(r.out.isEmpty());
    };
    expectOneLineFailure(runTool({"info", dir.filePath("missing.vellumix")}));
    expectOneLineFailure(
        runTool({"render", dir.filePath("missing.vellumix"), dir.filePath("o.png")}));
    QFile garbage(dir.filePath("garbage.png"));
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    garbage.write("\x89PNG\r\n\x1a\n truncated");
    garbage.close();
    expectOneLineFailure(runTool({"create", garbage.fileName(), bundlePath()}));
    EXPECT_FALSE(QFile::exists(bundlePath()));

    // A bundle whose image is unreadable is not a bundle.
    ASSERT_TRUE(QDir().mkpath(bundlePath()));
    ASSERT_TRUE(QFile::copy(garbage.fileName(), QDir(bundlePath()).filePath("image.png")));
    expectOneLineFailure(runTool({"info", bundlePath()}));

    EXPECT_EQ(runTool({"frobnicate"}).status, 2);
}

TEST_F(BundleToolTest, CreateReadsHeic) {
    const QString photo = dir.filePath("photo.heic");
    ASSERT_TRUE(test_support::writeHeicPicture(photo));
    ASSERT_EQ(runTool({"create", photo, bundlePath()}).status, 0);
    EXPECT_TRUE(test_support::looksLikeHeicPicture(bundle::readImage(bundlePath())));
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

TEST_F(BundleToolTest, ApplyDrawsUpdatesAndDeletesAsDirectivesAsk) {
    ASSERT_EQ(runTool({"create", imagePath(), bundlePath()}).status, 0);
    const QString directives = dir.filePath("d.json");
    const auto write = [&](const QByteArray& text) {
        QFile f(directives);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(text);
    };
    write(R"([{"shouldDraw":true,"kind":"shape","shape":"rect","x":10,"y":10,"width":50,"height":30,
               "color":"blue","cornerRadius":-1,"opacity":-1,"summary":"box"},
              {"shouldDraw":true,"kind":"text","x":5,"y":50,"text":"Hi","cornerRadius":-1,"opacity":-1},
              {"shouldDraw":false,"summary":"unclear"}])");
    ToolRun r = runTool({"apply", bundlePath(), directives});
    ASSERT_EQ(r.status, 0) << qPrintable(r.err);
    EXPECT_EQ(r.out, QStringLiteral(
                         "Add 2 Annotations (AI)\nAdded 2 annotations (rect × 1, text × 1).\n"));
    const AnnotationList saved = bundle::loadAnnotations(bundlePath());
    ASSERT_EQ(saved.size(), 2u);
    const QString rectId = idOf(saved[0]).rawValue();
    const QString textId = idOf(saved[1]).rawValue();

    write(QStringLiteral(R"([{"shouldDraw":true,"operation":"update","targetId":"%1","color":"red",
                              "cornerRadius":-1,"opacity":-1},
                             {"shouldDraw":true,"operation":"delete","targetId":"%2"}])")
              .arg(rectId, textId)
              .toUtf8());
    r = runTool({"apply", bundlePath(), directives});
    EXPECT_EQ(r.out, QStringLiteral("Modify 2 Annotations (AI)\nRemoved 1, updated 1.\n"));
    const AnnotationList after = bundle::loadAnnotations(bundlePath());
    ASSERT_EQ(after.size(), 1u);
    EXPECT_EQ(std::get<ShapeAnnotation>(after[0]).strokeColor, Color::rgb(0.9, 0.2, 0.2));

    r = runTool({"context", bundlePath(), "--route", "annotationEdit"});
    EXPECT_EQ(r.out, QStringLiteral("Image size: 120 × 80 px\nExisting annotations: 1\n  %1: rect "
                                    "[10,10 50×30] stroke=#E63333\n")
                         .arg(rectId));

    write("[not json");
    EXPECT_EQ(runTool({"apply", bundlePath(), directives}).status, 1);
    EXPECT_EQ(runTool({"context", bundlePath(), "--route", "sideways"}).status, 1);
    EXPECT_EQ(runTool({"apply", dir.filePath("missing.vellumix"), directives}).status, 1);
}

TEST_F(BundleToolTest, AnalyzeFeedsContextAndRedactHidesWhatItFinds) {
    // An e-mail address and an IP address as an interface shows them.
    const QImage page =
        test::textPicture(QSize(640, 90), 20,
                          {{QPoint(20, 35), QStringLiteral("Contact: jane.doe@example.com")},
                           {QPoint(20, 75), QStringLiteral("Server 192.168.40.12 is up")}});
    ASSERT_TRUE(page.save(imagePath()));
    ASSERT_EQ(runTool({"create", imagePath(), bundlePath()}).status, 0);

    const ToolRun analysed = runTool({"analyze", bundlePath()});
    ASSERT_EQ(analysed.status, 0) << qPrintable(analysed.err);
    const auto json = nlohmann::json::parse(analysed.out.toStdString());
    ASSERT_EQ(json["lines"].size(), 2u) << analysed.out.toStdString();
    EXPECT_EQ(json["lines"][0]["text"], "Contact: jane.doe@example.com");
    EXPECT_EQ(json["lines"][0]["words"][1]["text"], "jane.doe@example.com");
    QFile file(dir.filePath("analysis.json"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(analysed.out.toUtf8());
    file.close();
    EXPECT_TRUE(
        runTool({"context", bundlePath(), "--route", "question", "--analysis", file.fileName()})
            .out.contains("\"Server 192.168.40.12 is up\""));

    for (const QStringList& bad : {QStringList{"--kinds", "email,faces"},
                                   QStringList{"--style", "blur"}, QStringList{"--kinds"}}) {
        EXPECT_EQ(runTool(QStringList{"redact", bundlePath()} + bad).status, 2)
            << bad.join(' ').toStdString();
    }
    const ToolRun redacted = runTool({"redact", bundlePath(), "--kinds", "email"});
    ASSERT_EQ(redacted.status, 0) << qPrintable(redacted.err);
    const auto covered = nlohmann::json::parse(redacted.out.toStdString());
    ASSERT_EQ(covered.size(), 1u) << redacted.out.toStdString();
    EXPECT_EQ(covered[0]["kind"], "email");
    EXPECT_FALSE(redacted.out.contains("jane")); // what was covered, never the text
    // Black over the address, saved into the bundle. Where the box lies on real text is
    // SensitiveTextTest's and RedactionOcrTest's; that only the box changes, RedactionTest's.
    const auto& r = covered[0]["rect"];
    const QPointF centre(r[0].get<double>() + r[2].get<double>() / 2,
                         r[1].get<double>() + r[3].get<double>() / 2);
    EXPECT_EQ(bundle::readImage(bundlePath()).pixel(centre.toPoint()), qRgb(0, 0, 0));
}
