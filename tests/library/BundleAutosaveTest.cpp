#include "library/BundleAutosave.h"

#include "model/AnnotationStyle.h"
#include "model/OverlayRef.h"
#include "support/Eventually.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <atomic>
#include <gtest/gtest.h>

using namespace vellumix;
using vellumix::test::eventually;

namespace {

QImage picture(int w, int h, QColor color = Qt::gray) {
    QImage image(w, h, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

Annotation box(double x) {
    return makeShape(ShapeAnnotation::Shape::rect, QRectF(x, 30, 20, 20), AnnotationStyle());
}

class BundleAutosaveTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path = dir.filePath("shot.vellumix");
    std::atomic<int> encodes = 0;
    BundleServices services{[this](const QImage& image) {
                                ++encodes;
                                return encodePngWithQt(image);
                            },
                            {}};
    BundleAutosave::State state{picture(60, 40), {}};
    std::optional<BundleAutosave::State> entry; // an image-edit session is open
    QStringList reports;
    std::unique_ptr<BundleAutosave> autosave;

    void SetUp() override {
        ASSERT_TRUE(bundle::write(state.image, {}, path, services));
        autosave = std::make_unique<BundleAutosave>(
            path, services, [this] { return entry ? *entry : state; }, state.image);
        autosave->report = [this](const QString& line) { reports << line; };
        autosave->setDelays(BundleAutosave::annotationsDelayMs, 600);
        encodes = 0;
    }
    size_t stored() const { return bundle::loadAnnotations(path).size(); }
};

} // namespace

TEST_F(BundleAutosaveTest, ChangesReachTheBundleWithoutAClose) {
    state.annotations = {box(30)};
    autosave->changed();
    EXPECT_TRUE(eventually([&] { return stored() == 1; }));
    state.annotations.push_back(box(60));
    autosave->changed();
    EXPECT_TRUE(eventually([&] { return stored() == 2; }));

    // A new picture is written before the annotations that lie on it.
    state.image = picture(80, 50, Qt::blue);
    autosave->changed();
    EXPECT_TRUE(eventually([&] { return bundle::readImage(path).size() == QSize(80, 50); }));
    // The thumbnail follows later.
    EXPECT_TRUE(
        eventually([&] { return QImage(path + "/thumbnail.png").pixel(1, 1) == qRgb(0, 0, 255); }));

    // Written snapshots are let go: a window keeps no picture it has been edited through.
    const QImage earlier = state.image;
    state.image = picture(80, 50, Qt::green);
    autosave->changed();
    EXPECT_TRUE(
        eventually([&] { return QImage(path + "/thumbnail.png").pixel(1, 1) == qRgb(0, 255, 0); }));
    EXPECT_TRUE(eventually([&] { return earlier.isDetached(); }));
}

TEST_F(BundleAutosaveTest, AnUnappliedImageEditIsNeverWritten) {
    state.annotations = {box(30)};
    entry = state; // the session begins
    state.image = picture(40, 60, Qt::red);
    state.annotations = {box(90)};
    autosave->changed();
    ASSERT_TRUE(autosave->flush());
    EXPECT_EQ(bundle::readImage(path).size(), QSize(60, 40));
    const AnnotationList saved = bundle::loadAnnotations(path);
    ASSERT_EQ(saved.size(), 1u);
    EXPECT_EQ(std::get<ShapeAnnotation>(saved[0]).rect, QRectF(30, 30, 20, 20));
    EXPECT_EQ(encodes, 1); // the thumbnail only: the stored picture was not encoded again
}

TEST_F(BundleAutosaveTest, UnchangedOverlaysAreNotEncodedAgainAndFailuresReportOnce) {
    autosave->setDelays(BundleAutosave::annotationsDelayMs, 60'000); // no thumbnail encodes
    OverlayAnnotation overlay;
    overlay.rect = QRectF(30, 30, 16, 16);
    overlay.image = picture(8, 8, Qt::green);
    overlay.overlayRef = newOverlayRef();
    state.annotations = {overlay, box(30)};
    autosave->changed();
    ASSERT_TRUE(eventually([&] { return stored() == 2; }));
    state.annotations.push_back(box(60));
    autosave->changed();
    ASSERT_TRUE(eventually([&] { return stored() == 3; }));
    EXPECT_EQ(encodes, 1);

    // A link where annotations.json was: refused on every save, reported once.
    const QString json = QDir(path).filePath(bundle::annotationsFile);
    QFile::remove(json);
    ASSERT_TRUE(QFile::link(dir.filePath("elsewhere.json"), json));
    for (int i = 0; i < 2; ++i) {
        state.annotations.push_back(box(90));
        autosave->changed();
        QCoreApplication::processEvents();
        EXPECT_FALSE(autosave->flush());
    }
    ASSERT_EQ(reports.size(), 1);
    EXPECT_TRUE(reports.front().startsWith("Save failed: " + json));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath("elsewhere.json")));
}

// A new bundle is written whole by the window's worker; closing at once still finds it complete.
TEST_F(BundleAutosaveTest, ANewBundleIsWrittenWholeBeforeAnyOtherSave) {
    const QString fresh = dir.filePath("new.vellumix");
    ASSERT_TRUE(QDir().mkdir(fresh));
    state.annotations = {box(30)};
    BundleAutosave writer(
        fresh, services, [this] { return state; }, QImage());
    writer.writeWhole();
    ASSERT_TRUE(writer.flush());
    EXPECT_TRUE(bundle::isBundle(fresh));
    EXPECT_EQ(bundle::loadAnnotations(fresh).size(), 1u);
    EXPECT_TRUE(QFileInfo::exists(fresh + "/thumbnail.png"));
    EXPECT_EQ(encodes, 3); // image and thumbnail once, the closing thumbnail again: no second image
}
