#include "imaging/ExportFormats.h"

#include <QLocale>
#include <QTimeZone>

#include <gtest/gtest.h>

using namespace vellumix;

namespace {
std::vector<QString> labels() {
    std::vector<QString> all;
    for (ExportFormat f : allExportFormats) {
        all.push_back(formatLabel(f));
    }
    return all;
}
} // namespace

TEST(ExportFormats, LabelsTypesAndFiltersInDialogOrder) {
    EXPECT_EQ(labels(),
              (std::vector<QString>{"PNG", "JPEG", "HEIC", "TIFF", "GIF", "BMP", "WebP"}));
    EXPECT_EQ(mimeType(ExportFormat::png), "image/png");
    EXPECT_EQ(mimeType(ExportFormat::jpeg), "image/jpeg");
    EXPECT_EQ(mimeType(ExportFormat::heic), "image/heic");
    EXPECT_EQ(mimeType(ExportFormat::tiff), "image/tiff");
    EXPECT_EQ(mimeType(ExportFormat::gif), "image/gif");
    EXPECT_EQ(mimeType(ExportFormat::bmp), "image/bmp");
    EXPECT_EQ(mimeType(ExportFormat::webp), "image/webp");

    EXPECT_EQ(nameFilter(ExportFormat::png), "PNG (*.png)");
    EXPECT_EQ(nameFilter(ExportFormat::jpeg), "JPEG (*.jpg *.jpeg *.jpe)");
    EXPECT_EQ(nameFilter(ExportFormat::heic), "HEIC (*.heic *.heif)");
    EXPECT_EQ(nameFilter(ExportFormat::tiff), "TIFF (*.tif *.tiff)");
    EXPECT_EQ(nameFilter(ExportFormat::bmp), "BMP (*.bmp *.dib)");
    EXPECT_EQ(nameFilter(ExportFormat::webp), "WebP (*.webp)");
}

TEST(ExportFormats, ExtensionTableWithTheAppendedOneFirst) {
    EXPECT_EQ(fileExtensions(ExportFormat::jpeg), (QStringList{"jpg", "jpeg", "jpe"}));
    EXPECT_EQ(fileExtensions(ExportFormat::heic), (QStringList{"heic", "heif"}));
    EXPECT_EQ(fileExtensions(ExportFormat::tiff), (QStringList{"tif", "tiff"}));
    EXPECT_EQ(fileExtensions(ExportFormat::gif), (QStringList{"gif"}));

    EXPECT_EQ(formatForExtension("JPG"), ExportFormat::jpeg);
    EXPECT_EQ(formatForExtension("jpe"), ExportFormat::jpeg);
    EXPECT_EQ(formatForExtension("Tiff"), ExportFormat::tiff);
    EXPECT_EQ(formatForExtension("HEIF"), ExportFormat::heic);
    EXPECT_EQ(formatForExtension("dib"), ExportFormat::bmp);
    EXPECT_EQ(formatForExtension("webp"), ExportFormat::webp);
    EXPECT_EQ(formatForExtension("pdf"), std::nullopt);
    EXPECT_EQ(formatForExtension(""), std::nullopt);
    EXPECT_EQ(formatForExtension(".png"), std::nullopt); // no dot in the table
    EXPECT_EQ(formatForExtension("pngx"), std::nullopt);
}

TEST(ExportFormats, TheWrittenFormatFollowsTheTypedExtension) {
    EXPECT_EQ(formatForPath("/home/u/Desktop/shot.JPEG"), ExportFormat::jpeg);
    EXPECT_EQ(formatForPath("/home/u/shot.gif"), ExportFormat::gif);
    EXPECT_EQ(formatForPath("/home/u/archive.tar.webp"), ExportFormat::webp);
    EXPECT_EQ(formatForPath("relative/pic.tif"), ExportFormat::tiff);
    // Nothing the table knows: PNG.
    EXPECT_EQ(formatForPath("/home/u/shot"), ExportFormat::png);
    EXPECT_EQ(formatForPath("/home/u/shot."), ExportFormat::png);
    EXPECT_EQ(formatForPath("/home/u/shot.pdf"), ExportFormat::png);
    // A folder's extension is not the file's, and a leading dot starts a hidden name.
    EXPECT_EQ(formatForPath("/home/u/pics.jpg/shot"), ExportFormat::png);
    EXPECT_EQ(formatForPath("/home/u/.jpg"), ExportFormat::png);
    EXPECT_EQ(formatForPath("/home/u/.hidden.bmp"), ExportFormat::bmp);
}

TEST(ExportFormats, PreselectionFromTheSourceFormat) {
    EXPECT_EQ(preselectedFormat(QString("jpeg")), ExportFormat::jpeg);
    EXPECT_EQ(preselectedFormat(QString("jpg")), ExportFormat::jpeg);
    EXPECT_EQ(preselectedFormat(QString("image/jpeg")), ExportFormat::jpeg);
    EXPECT_EQ(preselectedFormat(QString("tiff")), ExportFormat::tiff);
    EXPECT_EQ(preselectedFormat(QString("GIF")), ExportFormat::gif);
    EXPECT_EQ(preselectedFormat(QString("bmp")), ExportFormat::bmp);
    EXPECT_EQ(preselectedFormat(QString("image/x-ms-bmp")), ExportFormat::bmp);
    EXPECT_EQ(preselectedFormat(QString("webp")), ExportFormat::webp);
    EXPECT_EQ(preselectedFormat(QString("heif")), ExportFormat::heic);
    EXPECT_EQ(preselectedFormat(QString("image/heic")), ExportFormat::heic);
    EXPECT_EQ(preselectedFormat(QString("png")), ExportFormat::png);
    // A capture or a pasted image (no source), a PDF page and formats we cannot write: PNG.
    EXPECT_EQ(preselectedFormat(std::nullopt), ExportFormat::png);
    EXPECT_EQ(preselectedFormat(QString("pdf")), ExportFormat::png);
    EXPECT_EQ(preselectedFormat(QString("application/pdf")), ExportFormat::png);
    EXPECT_EQ(preselectedFormat(QString("svg")), ExportFormat::png);
    EXPECT_EQ(preselectedFormat(QString("")), ExportFormat::png);
}

TEST(ExportFormats, SuggestedNameInLocalTimeWithAsciiDigits) {
    const QDateTime morning(QDate(2024, 3, 7), QTime(9, 5, 4), Qt::LocalTime);
    EXPECT_EQ(suggestedBaseName(morning), "Vellumix-2024-03-07-090504");

    // The same moment expressed in another zone is still named by the local clock.
    const QDateTime local(QDate(2023, 12, 31), QTime(23, 59, 59), Qt::LocalTime);
    const QDateTime sameMomentElsewhere = local.toTimeZone(QTimeZone(5 * 3600 + 1800));
    EXPECT_EQ(suggestedBaseName(sameMomentElsewhere), "Vellumix-2023-12-31-235959");

    // Whatever the user's language, the digits stay ASCII.
    const QLocale before;
    QLocale::setDefault(QLocale(QLocale::Arabic, QLocale::Egypt));
    EXPECT_EQ(suggestedBaseName(morning), "Vellumix-2024-03-07-090504");
    QLocale::setDefault(before);
}
