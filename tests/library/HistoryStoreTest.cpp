#include "library/HistoryStore.h"

#include "model/AnnotationStyle.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {

QImage picture(QColor color = Qt::gray) {
    QImage image(60, 40, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

class HistoryStoreTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("config/defaults.json"))};
    QString revealed;
    // Each bundle is named one minute *earlier* than the previous one, so that name order and
    // creation order disagree.
    QDateTime clock = QDateTime(QDate(2025, 3, 7), QTime(14, 25, 1));
    HistoryStore store{dir.filePath("store"), settings, BundleServices{},
                       [this](const QString& path) { revealed = path; },
                       [this] {
                           clock = clock.addSecs(-60);
                           return clock;
                       }};

    QString external(const QString& name) {
        const QString path = dir.filePath("elsewhere/" + name + ".vellumix");
        EXPECT_TRUE(bundle::write(picture(), {}, path, BundleServices{}));
        return path;
    }
    QStringList storeNames() const {
        return QDir(store.storePath()).entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
    }
};

} // namespace

TEST_F(HistoryStoreTest, BundlesAreNamedByLocalDateAndTime) {
    EXPECT_EQ(HistoryStore::bundleName(QDateTime(QDate(2025, 3, 7), QTime(14, 25, 1))),
              QStringLiteral("2025-03-07-142501.vellumix"));
    const auto created = store.createBundle(picture(), {});
    ASSERT_TRUE(created);
    EXPECT_EQ(*created, dir.filePath("store/2025-03-07-142401.vellumix"));
    EXPECT_TRUE(bundle::isBundle(*created));
}

TEST_F(HistoryStoreTest, PruningKeepsTheTenNewestByCreation) {
    std::vector<QString> created;
    for (int i = 0; i < 11; ++i) {
        created.push_back(*store.createBundle(picture(), {}));
    }
    const QStringList names = storeNames();
    ASSERT_EQ(names.size(), 10);
    // The first bundle created has the latest name, yet it is the one pruned.
    EXPECT_FALSE(QFileInfo::exists(created.front()));
    EXPECT_TRUE(QFileInfo::exists(created.back()));

    // Foreign items: other extensions and letter case are not bundles and are never pruned.
    QDir().mkpath(dir.filePath("store/UPPER.VELLUMIX"));
    QDir().mkpath(dir.filePath("store/notes.txt"));
    store.createBundle(picture(), {});
    EXPECT_EQ(storeNames().size(), 12);
    EXPECT_EQ(store.allEntries(100).size(), 10u);
}

TEST_F(HistoryStoreTest, EntriesAreNewestFirstByAnnotationsDate) {
    const QString a = *store.createBundle(picture(), {});
    const QString b = *store.createBundle(picture(), {});
    const QString c = *store.createBundle(picture(), {});
    const QDateTime base = QDateTime::currentDateTime().addSecs(-3600);
    const auto touch = [](const QString& bundlePath, const QDateTime& when) {
        QFile f(QDir(bundlePath).filePath("annotations.json"));
        ASSERT_TRUE(f.open(QIODevice::ReadWrite));
        ASSERT_TRUE(f.setFileTime(when, QFileDevice::FileModificationTime));
    };
    touch(a, base.addSecs(30));
    touch(b, base.addSecs(10));
    touch(c, base.addSecs(20));
    std::vector<HistoryStore::Entry> entries = store.allEntries(10);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].bundlePath, a);
    EXPECT_EQ(entries[1].bundlePath, c);
    EXPECT_EQ(entries[2].bundlePath, b);
    EXPECT_EQ(entries[0].thumbnail.size(), QSize(40, 27));

    // Saving annotations moves an entry to the top.
    ASSERT_TRUE(bundle::writeAnnotations(
        {makeShape(ShapeAnnotation::Shape::rect, QRectF(20, 20, 30, 20), AnnotationStyle())}, b,
        BundleServices{}));
    EXPECT_EQ(store.allEntries(10).front().bundlePath, b);
    EXPECT_EQ(store.loadAnnotations(b).size(), 1u);
    EXPECT_EQ(store.allEntries(2).size(), 2u);

    // Without a thumbnail a bundle is not an entry.
    QFile::remove(QDir(c).filePath("thumbnail.png"));
    EXPECT_EQ(store.allEntries(10).size(), 2u);
}

TEST_F(HistoryStoreTest, ExternalBundlesAreRememberedMostRecentFirst) {
    const QString one = external("one");
    store.recordExternal(one);
    store.recordExternal(dir.filePath("elsewhere/../elsewhere/one.vellumix"));
    EXPECT_EQ(store.externalPaths(), QStringList{one});

    for (int i = 0; i < 10; ++i) {
        store.recordExternal(external(QStringLiteral("b%1").arg(i)));
    }
    const QStringList paths = store.externalPaths();
    ASSERT_EQ(paths.size(), 10);
    EXPECT_FALSE(paths.contains(one));
    EXPECT_TRUE(paths.front().endsWith("b9.vellumix"));

    const auto entries = store.allEntries(100);
    EXPECT_EQ(entries.size(), 10u);
    EXPECT_TRUE(entries.front().isExternal);

    // Deleted behind the app's back: not listed, still remembered.
    ASSERT_TRUE(QDir(paths.front()).removeRecursively());
    EXPECT_EQ(store.allEntries(100).size(), 9u);
    EXPECT_EQ(store.externalPaths().size(), 10);
}

TEST_F(HistoryStoreTest, DeleteAndReveal) {
    const QString path = *store.createBundle(picture(), {});
    store.reveal(path);
    EXPECT_EQ(revealed, QDir(path).filePath("image.png"));
    EXPECT_TRUE(store.deleteBundle(path));
    EXPECT_FALSE(QFileInfo::exists(path));
    EXPECT_FALSE(store.deleteBundle(path));
}

TEST_F(HistoryStoreTest, CreateFailsWhenTheStoreCannotBeWritten) {
    QFile blocker(dir.filePath("blocked"));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    HistoryStore broken(dir.filePath("blocked/store"), settings, BundleServices{});
    const auto created = broken.createBundle(picture(), {});
    EXPECT_FALSE(created);
    EXPECT_TRUE(broken.allEntries(10).empty());
}

// Four files opened in the same second get four bundles, in creation order.
TEST_F(HistoryStoreTest, BundlesOfOneSecondGetNumberedNames) {
    const QDateTime second(QDate(2026, 11, 24), QTime(10, 15, 0));
    HistoryStore sameSecond(dir.filePath("store"), settings, BundleServices{}, {},
                            [&] { return second; });
    QStringList names;
    for (int i = 0; i < 4; ++i) {
        const auto created = sameSecond.createBundle(picture(QColor(i * 60, 0, 0)), {});
        ASSERT_TRUE(created);
        names << QFileInfo(*created).fileName();
        EXPECT_EQ(bundle::readImage(*created).pixel(0, 0),
                  picture(QColor(i * 60, 0, 0)).pixel(0, 0));
    }
    EXPECT_EQ(names, (QStringList{"2026-11-24-101500.vellumix", "2026-11-24-101500-2.vellumix",
                                  "2026-11-24-101500-3.vellumix", "2026-11-24-101500-4.vellumix"}));
    EXPECT_EQ(sameSecond.allEntries(10).size(), 4u);
    // Past ten in one second, pruning still takes the first ones made.
    for (int i = 0; i < 8; ++i) {
        ASSERT_TRUE(sameSecond.createBundle(picture(), {}));
    }
    EXPECT_FALSE(QFileInfo::exists(dir.filePath("store/2026-11-24-101500.vellumix")));
    EXPECT_FALSE(QFileInfo::exists(dir.filePath("store/2026-11-24-101500-2.vellumix")));
    EXPECT_TRUE(QFileInfo::exists(dir.filePath("store/2026-11-24-101500-12.vellumix")));
}

// A bundle an open window works on is pruned only once the window lets it go.
TEST_F(HistoryStoreTest, PruningWaitsForOpenWindows) {
    const QString open = *store.createBundle(picture(), {});
    store.holdOpen(open);
    store.holdOpen(open); // two windows on the same bundle
    for (int i = 0; i < 11; ++i) {
        store.createBundle(picture(), {});
    }
    EXPECT_TRUE(bundle::isBundle(open));
    EXPECT_EQ(storeNames().size(), 11);
    store.release(open);
    EXPECT_TRUE(bundle::isBundle(open));
    store.release(dir.filePath("store/../store/" + QFileInfo(open).fileName()));
    EXPECT_FALSE(QFileInfo::exists(open));
    EXPECT_EQ(storeNames().size(), 10);
}

// Discarding deletes a history bundle but sends a project of the user's to the trash.
TEST_F(HistoryStoreTest, DiscardTrashesProjectsOutsideTheStore) {
    const QString own = *store.createBundle(picture(), {});
    EXPECT_TRUE(store.discardBundle(own));
    EXPECT_FALSE(QFileInfo::exists(own));

    // On the home volume, so the trash is the one in the data folder.
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString project = QStringLiteral("%1/discard-test-%2/Mine.vellumix")
                                .arg(data)
                                .arg(QCoreApplication::applicationPid());
    ASSERT_TRUE(bundle::write(picture(), {}, project, BundleServices{}));
    EXPECT_TRUE(store.discardBundle(project));
    EXPECT_FALSE(QFileInfo::exists(project));
    const QStringList trashed =
        QDir(data + "/Trash/files").entryList({"Mine*.vellumix"}, QDir::Dirs);
    ASSERT_EQ(trashed.size(), 1);
    EXPECT_TRUE(bundle::isBundle(data + "/Trash/files/" + trashed.front()));
    QDir(data + "/Trash/files/" + trashed.front()).removeRecursively();
    QFile::remove(data + "/Trash/info/" + trashed.front() + ".trashinfo");
    QDir(QFileInfo(project).absolutePath()).removeRecursively();
}
