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

TEST(ExportFormats, LabelsExtensionsTypesAndFiltersAgreeInDialogOrder) {
    EXPECT_EQ(labels(),
              (std::vector<QString>{"PNG", "JPEG", "HEIC", "TIFF", "GIF", "BMP", "WebP"}));
    for (ExportFormat f : allExportFormats) {
        const QStringList extensions = fileExtensions(f);
        ASSERT_FALSE(extensions.isEmpty());
        EXPECT_EQ(mimeType(f), "image/" + formatLabel(f).toLower());
        EXPECT_EQ(nameFilter(f),
                  QStringLiteral("%1 (*.%2)").arg(formatLabel(f), extensions.join(" *.")));
        for (const QString& extension : extensions) {
            EXPECT_EQ(formatForExtension(extension.toUpper()), f) << extension.toStdString();
        }
    }
    // The first extension is the one appended to a name without one.
    EXPECT_EQ(fileExtensions(ExportFormat::jpeg), (QStringList{"jpg", "jpeg", "jpe"}));
    EXPECT_EQ(fileExtensions(ExportFormat::bmp).front(), "bmp");
    for (const char* unknown : {"pdf", "", ".png", "pngx"}) {
        EXPECT_EQ(formatForExtension(unknown), std::nullopt) << unknown;
    }
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
