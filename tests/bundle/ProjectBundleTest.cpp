#include "bundle/ProjectBundle.h"

#include "model/AnnotationStyle.h"
#include "model/OverlayRef.h"
#include "support/Pictures.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>

#include <csignal>
#include <functional>
#include <gtest/gtest.h>
#include <sys/resource.h>

using namespace vellumix;

namespace {

QImage screenshot(int w, int h) {
    return vellumix::testing::generate(
        QSize(w, h), [](int x, int y) { return qRgb(x % 256, y % 256, (x * y) % 256); });
}

OverlayAnnotation overlayWithRef(const QString& ref) {
    OverlayAnnotation o;
    o.rect = QRectF(30, 30, 16, 16);
    o.image = QImage(8, 8, QImage::Format_ARGB32);
    o.image.fill(qRgba(0, 128, 255, 200));
    o.overlayRef = ref;
    return o;
}

class ProjectBundleTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path() const { return dir.filePath(QStringLiteral("shot.vellumix")); }
    QString file(const QString& name) const { return QDir(path()).filePath(name); }
    static QByteArray readAll(const QString& path) {
        QFile f(path);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }
};

} // namespace

TEST_F(ProjectBundleTest, WriteCreatesEveryFileAndReadsBack) {
    const QString ref = newOverlayRef();
    AnnotationList annotations{
        makeShape(ShapeAnnotation::Shape::oval, QRectF(25, 25, 40, 30), AnnotationStyle()),
        overlayWithRef(ref)};
    std::vector<QImage> icon;
    BundleServices services;
    services.setFolderIcon = [&](const QString& folder, const std::vector<QImage>& reps) {
        EXPECT_EQ(folder, path());
        icon = reps;
    };
    ASSERT_TRUE(bundle::write(screenshot(600, 400), annotations, path(), services));

    const QImage image = bundle::readImage(path());
    EXPECT_EQ(image.size(), QSize(600, 400));
    EXPECT_EQ(image.pixel(10, 20), screenshot(600, 400).pixel(10, 20));
    EXPECT_EQ(image.dotsPerMeterX(), 2835); // 72 dpi: one pixel per point

    EXPECT_EQ(QImage(file("thumbnail.png")).size(), QSize(40, 27));
    EXPECT_TRUE(QFile::exists(file("overlays/" + ref + ".png")));
    ASSERT_EQ(icon.size(), 5u);
    EXPECT_EQ(icon.front().size(), QSize(16, 16));
    EXPECT_EQ(icon.back().size(), QSize(512, 512));
    // Aspect-fit: a 3:2 image leaves transparent bands above and below.
    EXPECT_EQ(qAlpha(icon.back().pixel(256, 10)), 0);
    EXPECT_EQ(qAlpha(icon.back().pixel(256, 256)), 255);

    const AnnotationList loaded = bundle::loadAnnotations(path());
    ASSERT_EQ(loaded.size(), 2u);
    EXPECT_EQ(idOf(loaded[0]), idOf(annotations[0]));
    EXPECT_EQ(std::get<OverlayAnnotation>(loaded[1]).image.size(), QSize(8, 8));
    // Nothing but the bundle's own files (no temporaries) remains.
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}

TEST_F(ProjectBundleTest, ThumbnailIsDrawnWithoutTheCanvasInset) {
    QImage white(400, 300, QImage::Format_RGB32);
    white.fill(Qt::white);
    ShapeAnnotation block;
    block.rect = QRectF(20, 20, 200, 150); // the image's top-left quarter
    block.fillColor = Color::black();
    block.lineWidth = 0;
    ASSERT_TRUE(bundle::write(white, {block}, path(), BundleServices{}));
    const QImage thumbnail(file("thumbnail.png"));
    ASSERT_EQ(thumbnail.size(), QSize(40, 30));
    EXPECT_LT(qGray(thumbnail.pixel(5, 5)), 30);
    EXPECT_GT(qGray(thumbnail.pixel(35, 25)), 225);
}

TEST_F(ProjectBundleTest, RefreshImageKeepsAnnotationsAndRedrawsThePreviews) {
    ASSERT_TRUE(bundle::write(
        screenshot(80, 60),
        {makeShape(ShapeAnnotation::Shape::rect, QRectF(20, 20, 10, 10), AnnotationStyle())},
        path(), BundleServices{}));
    QImage tall(30, 90, QImage::Format_RGB32);
    tall.fill(Qt::green);
    ASSERT_TRUE(bundle::refreshImage(tall, path(), BundleServices{}));
    EXPECT_EQ(bundle::readImage(path()).size(), QSize(30, 90));
    EXPECT_EQ(QImage(file("thumbnail.png")).size(), QSize(10, 30));
    EXPECT_EQ(bundle::loadAnnotations(path()).size(), 1u);
}

// What an edit changed is written; the previews follow every edit.
TEST_F(ProjectBundleTest, WriteEditsRewritesWhatChangedAndThePreviews) {
    const AnnotationList one{
        makeShape(ShapeAnnotation::Shape::rect, QRectF(20, 20, 10, 10), AnnotationStyle())};
    QImage tall(30, 90, QImage::Format_RGB32);
    tall.fill(Qt::green);
    for (const bundle::Edits edits :
         {bundle::Edits{true, false}, bundle::Edits{false, true}, bundle::Edits{true, true}}) {
        SCOPED_TRACE(::testing::Message() << edits.image << edits.annotations);
        ASSERT_TRUE(bundle::write(screenshot(80, 60), {}, path(), BundleServices{}));
        ASSERT_TRUE(bundle::writeEdits(tall, one, edits, path(), BundleServices{}));
        EXPECT_EQ(bundle::readImage(path()).size(), edits.image ? QSize(30, 90) : QSize(80, 60));
        EXPECT_EQ(bundle::loadAnnotations(path()).size(), edits.annotations ? 1u : 0u);
        EXPECT_EQ(QImage(file("thumbnail.png")).size(), QSize(10, 30));
        QDir(path()).removeRecursively();
    }
}

TEST_F(ProjectBundleTest, OverlayFilesStayInsideTheBundle) {
    ASSERT_TRUE(
        bundle::write(screenshot(50, 50), {overlayWithRef("../escape")}, path(), BundleServices{}));
    EXPECT_FALSE(QFile::exists(dir.filePath("escape.png")));
    EXPECT_FALSE(QFile::exists(file("escape.png")));

    // A hand-edited reference that climbs out is not followed on reading either.
    QImage outside(4, 4, QImage::Format_ARGB32);
    outside.fill(Qt::red);
    outside.save(dir.filePath("secret.png"));
    QFile json(file("annotations.json"));
    ASSERT_TRUE(json.open(QIODevice::WriteOnly));
    json.write(R"([{"type":"overlay","rect":[0,0,4,4],"lineWidth":0,"opacity":1,)"
               R"("overlayRef":"../../secret"}])");
    json.close();
    EXPECT_TRUE(bundle::loadAnnotations(path()).empty());
}

TEST_F(ProjectBundleTest, MissingOverlayImageDropsOnlyThatOverlay) {
    const QString ref = newOverlayRef();
    ASSERT_TRUE(
        bundle::write(screenshot(50, 50),
                      {overlayWithRef(ref), makeText(QRectF(0, 0, 30, 20), "t", AnnotationStyle())},
                      path(), BundleServices{}));
    ASSERT_TRUE(QFile::remove(file("overlays/" + ref + ".png")));
    const AnnotationList loaded = bundle::loadAnnotations(path());
    ASSERT_EQ(loaded.size(), 1u);
    EXPECT_EQ(kindOf(loaded[0]), AnnotationKind::text);
}

TEST_F(ProjectBundleTest, FailuresComeBackAsErrorsAndReadingNeverFails) {
    QFile blocker(path());
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly)); // a file where the folder should go
    blocker.close();
    const Status status = bundle::write(screenshot(10, 10), {}, path(), BundleServices{});
    ASSERT_FALSE(status);
    EXPECT_TRUE(status.error().message.contains(path()));

    EXPECT_TRUE(bundle::loadAnnotations(dir.filePath("missing.vellumix")).empty());
    EXPECT_TRUE(bundle::readImage(dir.filePath("missing.vellumix")).isNull());
    EXPECT_FALSE(bundle::isBundle(dir.filePath("missing.vellumix")));
    EXPECT_FALSE(bundle::isBundle(path()));
}

TEST(BundlePreviews, ThumbnailIsNeverEnlargedAndIconsNeedPixels) {
    EXPECT_EQ(bundle::makeThumbnail(screenshot(20, 10)).size(), QSize(20, 10));
    EXPECT_EQ(bundle::makeThumbnail(screenshot(5120, 2880)).size(), QSize(40, 23));
    EXPECT_TRUE(bundle::makeIconRepresentations(QImage()).empty());
}

TEST(BundlePreviews, OverlayRefsAreUpperCaseUuids) {
    const QString ref = newOverlayRef();
    EXPECT_EQ(ref.size(), 36);
    EXPECT_EQ(ref, ref.toUpper());
    EXPECT_TRUE(isValidOverlayRef(ref));
    EXPECT_FALSE(isValidOverlayRef(QStringLiteral("a/b")));
    EXPECT_FALSE(isValidOverlayRef(QStringLiteral("..")));
    EXPECT_FALSE(isValidOverlayRef(QString()));
}

// A PNG whose header claims 100,000 × 100,000 pixels is refused before anything is decoded.
TEST(ImageReading, EnormousDeclaredSizesAreRefused) {
    QTemporaryDir dir;
    const QString path = dir.filePath("huge.png");
    test::writeBytes(path, test::hugePngHeader());
    EXPECT_TRUE(readImageFile(path).isNull());
    EXPECT_TRUE(readImageFile(dir.filePath("missing.png")).isNull());
}

// A link inside a bundle is neither read nor written through: the file it points at, outside
// the bundle, keeps its bytes however often the bundle is saved.
TEST_F(ProjectBundleTest, SymbolicLinksAreNeverFollowed) {
    const AnnotationList one{
        makeShape(ShapeAnnotation::Shape::rect, QRectF(30, 30, 20, 20), AnnotationStyle())};
    struct Case {
        QString name;
        std::function<Status()> write;
        std::function<bool()> readsAsAbsent;
    };
    const std::vector<Case> cases{
        {bundle::annotationsFile,
         [&] { return bundle::writeAnnotations({}, path(), BundleServices{}); },
         [&] { return bundle::loadAnnotations(path()).empty(); }},
        {bundle::imageFile, [&] { return bundle::writeImage(screenshot(8, 8), path(), {}); },
         [&] { return bundle::readImage(path()).isNull(); }},
        {bundle::thumbnailFile,
         [&] { return bundle::writePreviews(screenshot(8, 8), {}, path(), BundleServices{}); },
         [] { return true; }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name.toStdString());
        ASSERT_TRUE(bundle::write(screenshot(40, 30), one, path(), BundleServices{}));
        const QString outside = dir.filePath("outside-" + c.name);
        ASSERT_TRUE(QFile::rename(file(c.name), outside));
        ASSERT_TRUE(QFile::link(outside, file(c.name)));
        const QByteArray before = readAll(outside);

        const Status status = c.write();
        ASSERT_FALSE(status);
        EXPECT_TRUE(status.error().message.contains(file(c.name)));
        EXPECT_EQ(readAll(outside), before);
        EXPECT_TRUE(QFileInfo(file(c.name)).isSymLink());
        EXPECT_TRUE(c.readsAsAbsent()); // although the target is a valid file
        QDir(path()).removeRecursively();
    }
}

// A write that fails part-way (here: the file size limit standing in for a full disk) leaves
// the previous file whole.
TEST_F(ProjectBundleTest, AFailedWriteLeavesThePreviousFile) {
    const AnnotationList one{
        makeShape(ShapeAnnotation::Shape::rect, QRectF(30, 30, 20, 20), AnnotationStyle())};
    ASSERT_TRUE(bundle::write(screenshot(40, 30), one, path(), BundleServices{}));
    const AnnotationList many(2000, one.front());
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit saved{};
    getrlimit(RLIMIT_FSIZE, &saved);
    rlimit small = saved;
    small.rlim_cur = 4096;
    setrlimit(RLIMIT_FSIZE, &small);
    const Status status = bundle::writeAnnotations(many, path(), BundleServices{});
    setrlimit(RLIMIT_FSIZE, &saved);
    EXPECT_FALSE(status);
    EXPECT_EQ(bundle::loadAnnotations(path()).size(), 1u);
    EXPECT_EQ(QDir(path()).entryList(QDir::Files | QDir::Hidden).size(), 3); // no temporaries
}

// The swap of a saved project: the old one is only removed once the new one is in place, and
// any failed step leaves the old one where it was.
TEST(BundleReplace, TheOldProjectIsPutBackWhenTheSwapFails) {
    struct Case {
        const char* name;
        int failingRename; // 0: none; 1: moving the old aside; 2: moving the new in
        bool replaced;
    };
    for (const Case& c : {Case{"succeeds", 0, true}, Case{"aside fails", 1, false},
                          Case{"move in fails", 2, false}}) {
        SCOPED_TRACE(c.name);
        QTemporaryDir dir;
        const QString target = dir.filePath("Work.vellumix");
        const QString fresh = dir.filePath(".Work.vellumix.partial");
        ASSERT_TRUE(QDir().mkpath(target) && QDir().mkpath(fresh));
        QFile(target + "/old").open(QIODevice::WriteOnly);
        QFile(fresh + "/new").open(QIODevice::WriteOnly);
        int renames = 0;
        const auto rename = [&](const QString& from, const QString& to) {
            return ++renames != c.failingRename && bundle::renamePath(from, to);
        };
        EXPECT_EQ(bool(bundle::replacePath(fresh, target, rename)), c.replaced);
        EXPECT_EQ(QFileInfo::exists(target + "/new"), c.replaced);
        EXPECT_EQ(QFileInfo::exists(target + "/old"), !c.replaced);
        // Nothing is left aside once done: the folder holds the target and, on failure, the
        // new copy for the caller to remove.
        EXPECT_EQ(QDir(dir.path())
                      .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot)
                      .size(),
                  c.replaced ? 1 : 2);
    }
    QTemporaryDir empty;
    const QString fresh = empty.filePath("fresh");
    ASSERT_TRUE(QDir().mkpath(fresh));
    EXPECT_TRUE(bundle::replacePath(fresh, empty.filePath("Work.vellumix")));
    EXPECT_TRUE(QFileInfo(empty.filePath("Work.vellumix")).isDir());
}
