#include "pdf/PdfDocument.h"

#include "support/TestFiles.h"

#include <QFile>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace vellumix::test;

namespace {

// Pages are drawn at 72 dpi without margins, so painter units are PDF points.
void beginPage(QPdfWriter& writer, const QPageSize& size) {
    writer.setPageSize(size);
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
}

// One A4 page with a black 100 × 100 pt square at (100, 100) pt.
QString writeOnePage(const QString& path) {
    QPdfWriter writer(path);
    writer.setResolution(72);
    beginPage(writer, QPageSize(QPageSize::A4));
    QPainter painter(&writer);
    painter.fillRect(QRectF(100, 100, 100, 100), Qt::black);
    painter.end();
    return path;
}

} // namespace

TEST(PdfDocument, RendersPagesAtTwoPixelsPerPointOntoWhite) {
    QTemporaryDir dir;
    const auto one = PdfDocument::open(writeOnePage(dir.filePath("one.pdf")));
    ASSERT_TRUE(one);
    EXPECT_EQ(one->pageCount(), 1);
    const std::optional<QImage> page = one->renderPage(1);
    ASSERT_TRUE(page);
    // A4 is 595.28 × 841.89 pt; at 144 dpi 1190.6 × 1683.8 px.
    EXPECT_NEAR(page->width(), 1191, 1);
    EXPECT_NEAR(page->height(), 1684, 1);
    EXPECT_EQ(page->devicePixelRatio(), 1.0);
    EXPECT_FALSE(page->hasAlphaChannel());
    EXPECT_EQ(page->pixelColor(10, 10), QColor(Qt::white));
    EXPECT_EQ(page->pixelColor(1100, 1600), QColor(Qt::white));
    // The square covers pixels 200 … 400 on both axes.
    EXPECT_EQ(page->pixelColor(300, 300), QColor(Qt::black));
    EXPECT_EQ(page->pixelColor(205, 205), QColor(Qt::black));
    EXPECT_EQ(page->pixelColor(195, 300), QColor(Qt::white));
    EXPECT_EQ(page->pixelColor(405, 300), QColor(Qt::white));

    // 72 dpi is one pixel per point.
    const std::optional<QImage> small = one->renderPage(1, 72);
    ASSERT_TRUE(small);
    EXPECT_NEAR(small->width(), 595, 1);
    EXPECT_NEAR(small->height(), 842, 1);
}

TEST(PdfDocument, EachPageRendersWithItsOwnSizeAndContent) {
    QTemporaryDir dir;
    const auto doc = PdfDocument::open(writeThreePages(dir.filePath("three.pdf")));
    ASSERT_TRUE(doc);
    ASSERT_EQ(doc->pageCount(), 3);

    const std::optional<QImage> second = doc->renderPage(2);
    ASSERT_TRUE(second);
    // A5 is 419.53 × 595.28 pt: 839.1 × 1190.6 px.
    EXPECT_NEAR(second->width(), 839, 1);
    EXPECT_NEAR(second->height(), 1191, 1);
    EXPECT_EQ(second->pixelColor(300, 300), QColor(Qt::green));

    const std::optional<QImage> third = doc->renderPage(3);
    ASSERT_TRUE(third);
    EXPECT_NEAR(third->width(), 1191, 1);
    EXPECT_EQ(third->pixelColor(300, 300), QColor(Qt::blue));

    EXPECT_FALSE(doc->renderPage(0));
    EXPECT_FALSE(doc->renderPage(4));
    EXPECT_FALSE(doc->renderPage(-1));
    EXPECT_FALSE(doc->renderPage(1, 0));
}

TEST(PdfDocument, PagesBeyondThePixelBoundAreRefused) {
    QTemporaryDir dir;
    const auto doc = PdfDocument::open(writeOnePage(dir.filePath("one.pdf")));
    ASSERT_TRUE(doc);
    // 1191 × 1684 px × 4 bytes = 8,022,576 bytes.
    EXPECT_FALSE(doc->renderPage(1, 144, 8'000'000));
    EXPECT_TRUE(doc->renderPage(1, 144, 8'100'000));

    // The largest page PDF allows, 200 × 200 inches, is 28800 px square at 144 dpi: 3.3 GB.
    const QString hugePath = dir.filePath("huge.pdf");
    {
        QPdfWriter writer(hugePath);
        writer.setResolution(72);
        beginPage(writer, QPageSize(QSizeF(14400, 14400), QPageSize::Point));
        QPainter painter(&writer);
        painter.fillRect(QRectF(0, 0, 10, 10), Qt::black);
    }
    const auto huge = PdfDocument::open(hugePath);
    ASSERT_TRUE(huge);
    EXPECT_FALSE(huge->renderPage(1));
    // The same page at 9 dpi is 1800 px square and renders.
    const std::optional<QImage> thumbnail = huge->renderPage(1, 9);
    ASSERT_TRUE(thumbnail);
    EXPECT_NEAR(thumbnail->width(), 1800, 1);
}

TEST(PdfDocument, BrokenEmptyAndMissingFilesDoNotOpen) {
    QTemporaryDir dir;
    EXPECT_FALSE(PdfDocument::open(dir.filePath("missing.pdf")));

    writeBytes(dir.filePath("empty.pdf"), {});
    EXPECT_FALSE(PdfDocument::open(dir.filePath("empty.pdf")));

    writeBytes(dir.filePath("text.pdf"), "just some words, no PDF here\n");
    EXPECT_FALSE(PdfDocument::open(dir.filePath("text.pdf")));

    writeBytes(dir.filePath("zero.pdf"), zeroPagePdf());
    EXPECT_FALSE(PdfDocument::open(dir.filePath("zero.pdf")));

    // Cut before the first page's content: nothing to reconstruct a page from.
    const QByteArray whole = readAll(writeOnePage(dir.filePath("whole.pdf")));
    ASSERT_GT(whole.size(), 200);
    writeBytes(dir.filePath("cut.pdf"), whole.left(40));
    EXPECT_FALSE(PdfDocument::open(dir.filePath("cut.pdf")));

    // Cut in half: poppler may rebuild what is left; whatever it finds must not crash and
    // a page either renders onto white or is none.
    writeBytes(dir.filePath("half.pdf"), whole.left(whole.size() / 2));
    if (const auto half = PdfDocument::open(dir.filePath("half.pdf"))) {
        for (int page = 1; page <= half->pageCount(); ++page) {
            if (const auto image = half->renderPage(page)) {
                EXPECT_FALSE(image->hasAlphaChannel());
            }
        }
    }
}

TEST(PdfDocument, PasswordLockedFilesDoNotOpenOwnerOnlyEncryptionDoes) {
    const QString qpdf = QStandardPaths::findExecutable(QStringLiteral("qpdf"));
    if (qpdf.isEmpty()) {
        GTEST_SKIP() << "qpdf is not installed (scripts/setup.sh installs it): "
                        "no encrypted PDF can be made";
    }
    QTemporaryDir dir;
    const QString plain = writeOnePage(dir.filePath("plain.pdf"));
    const auto encrypt = [&](const QString& user, const QString& out) {
        return QProcess::execute(qpdf,
                                 {QStringLiteral("--encrypt"), user, QStringLiteral("owner-secret"),
                                  QStringLiteral("256"), QStringLiteral("--"), plain, out});
    };
    ASSERT_EQ(encrypt(QStringLiteral("user-secret"), dir.filePath("locked.pdf")), 0);
    EXPECT_FALSE(PdfDocument::open(dir.filePath("locked.pdf")));

    // Only an owner password: anyone may view it, so it opens and renders.
    ASSERT_EQ(encrypt(QString(), dir.filePath("restricted.pdf")), 0);
    const auto restricted = PdfDocument::open(dir.filePath("restricted.pdf"));
    ASSERT_TRUE(restricted);
    const std::optional<QImage> page = restricted->renderPage(1);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->pixelColor(300, 300), QColor(Qt::black));
}
