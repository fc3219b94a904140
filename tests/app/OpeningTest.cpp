#include "app/DocumentOpener.h"
#include "app/OpenPanel.h"
#include "bundle/ProjectBundle.h"
#include "canvas/AnnotationCanvasView.h"
#include "editor/EditorModel.h"
#include "imaging/OpeningRules.h"
#include "library/DefaultsStore.h"
#include "model/ImageCodec.h"
#include "library/Settings.h"
#include "support/Eventually.h"
#include "support/HeicFixture.h"
#include "support/TestFiles.h"

#include <QApplication>
#include <QBuffer>
#include <QClipboard>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMimeData>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QProcess>
#include <QSpinBox>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QUrl>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace test_support;
using namespace vellumix::test;

namespace {

QImage filled(int width, int height, QColor colour) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(colour);
    return image;
}

QString makeBundle(const QString& path, const QImage& image) {
    EXPECT_TRUE(static_cast<bool>(bundle::write(image, {}, path, BundleServices{})));
    return path;
}

// Every test gets its own store folder: history bundles land in a temporary XDG_DATA_HOME.
struct OpenerFixture {
    QTemporaryDir dir;
    Settings settings{DefaultsStore(dir.filePath("defaults.json"))};
    std::unique_ptr<DocumentOpener> opener;

    OpenerFixture() {
        qputenv("XDG_DATA_HOME", dir.filePath("data").toUtf8());
        opener = std::make_unique<DocumentOpener>(settings);
    }
    QString file(const QString& name) const { return dir.filePath(name); }
    qsizetype historyBundles() const {
        return QDir(dir.filePath("data/Vellumix"))
            .entryList({QStringLiteral("*.vellumix")}, QDir::Dirs)
            .size();
    }
};

} // namespace

TEST(OpeningRules, FilesAreClassifiedByContentNotByName) {
    QTemporaryDir dir;
    ASSERT_TRUE(filled(8, 8, Qt::red).save(dir.filePath("shot.png")));
    ASSERT_TRUE(filled(8, 8, Qt::red).save(dir.filePath("photo.png"), "JPEG"));
    ASSERT_TRUE(writeHeicPicture(dir.filePath("holiday.jpg")));
    writeBytes(dir.filePath("notes.png"), "not an image at all\n");
    writeBytes(dir.filePath("empty.png"), {});
    writeThreePages(dir.filePath("document.bin"));
    ASSERT_TRUE(QDir(dir.path()).mkdir(QStringLiteral("plain")));
    makeBundle(dir.filePath("saved.vellumix"), filled(8, 8, Qt::blue));

    const InputFile png = classifyInput(dir.filePath("shot.png"));
    EXPECT_EQ(png.kind, InputKind::image);
    EXPECT_EQ(png.sourceFormat, QStringLiteral("png"));
    const InputFile jpeg = classifyInput(dir.filePath("photo.png"));
    EXPECT_EQ(jpeg.kind, InputKind::image);
    EXPECT_EQ(jpeg.sourceFormat, QStringLiteral("jpeg"));
    const InputFile pdf = classifyInput(dir.filePath("document.bin"));
    EXPECT_EQ(pdf.kind, InputKind::pdf);
    EXPECT_EQ(pdf.sourceFormat, QStringLiteral("pdf"));
    EXPECT_EQ(classifyInput(dir.filePath("saved.vellumix")).kind, InputKind::bundle);
    const InputFile heic = classifyInput(dir.filePath("holiday.jpg"));
    EXPECT_EQ(heic.kind, InputKind::image);
    EXPECT_EQ(heic.sourceFormat, QStringLiteral("heic"));
    // Named from their first bytes, under a name that says nothing.
    for (const char* format : {"bmp", "tiff", "webp"}) {
        const QString path = dir.filePath(QStringLiteral("picture-%1.bin").arg(format));
        ASSERT_TRUE(filled(8, 8, Qt::red).save(path, format)) << format;
        EXPECT_EQ(classifyInput(path).sourceFormat, QString::fromLatin1(format));
        EXPECT_EQ(readImageFile(path).size(), QSize(8, 8)) << format;
    }

    EXPECT_EQ(classifyInput(dir.filePath("notes.png")).kind, InputKind::none);
    EXPECT_EQ(classifyInput(dir.filePath("empty.png")).kind, InputKind::none);
    EXPECT_EQ(classifyInput(dir.filePath("missing.png")).kind, InputKind::none);
    EXPECT_EQ(classifyInput(dir.filePath("plain")).kind, InputKind::none);
}

TEST(OpeningRules, HeifIsTheFtypBoxNamingAHeifBrand) {
    // size, "ftyp", major brand, minor version, compatible brands
    const auto ftyp = [](quint32 size, const QByteArray& brands) {
        return bigEndian(size) + "ftyp" + brands.left(4) + QByteArray(4, '\0') + brands.mid(4);
    };
    const std::pair<QByteArray, bool> cases[] = {
        {ftyp(24, "heicmif1"), true},       // an iPhone photo
        {ftyp(24, "mif1heic"), true},       // the generic image brand first
        {ftyp(28, "msf1hevcmsf1"), true},   // an image sequence
        {ftyp(28, "mp42isomheic"), true},   // named among the compatible brands only
        {ftyp(24, "mp42isom"), false},      // a video
        {ftyp(20, "mp42isomheic"), false},  // the brand lies past the box's end
        {ftyp(24, "heic").left(15), false}, // cut short
        {QByteArray(8, '\0') + "heicmif1", false},
        {"\x89PNG\r\n\x1a\n" + QByteArray(16, '\0'), false},
    };
    for (const auto& [head, heif] : cases) {
        EXPECT_EQ(looksLikeHeif(head), heif) << head.toHex().toStdString();
    }
}

TEST(OpeningRules, PageNumbersClampToTheDocument) {
    EXPECT_EQ(clampPageNumber(1, 3), 1);
    EXPECT_EQ(clampPageNumber(2, 3), 2);
    EXPECT_EQ(clampPageNumber(0, 3), 1);
    EXPECT_EQ(clampPageNumber(-3, 3), 1);
    EXPECT_EQ(clampPageNumber(9, 3), 3);
    EXPECT_EQ(clampPageNumber(1, 0), 0);
}

TEST(OpeningRules, TheOpenPanelOffersImagesPdfsAndProjects) {
    const QStringList filters = openPanelNameFilters();
    ASSERT_EQ(filters.size(), 4);
    // Qt reads these without plugins; scripts/setup.sh installs the WebP and TIFF plugins;
    // HEIC and HEIF go through libheif.
    for (const char* pattern : {"*.png", "*.jpg", "*.jpeg", "*.heic", "*.heif", "*.gif", "*.bmp",
                                "*.webp", "*.tif", "*.tiff", "*.pdf", "*.vellumix"}) {
        EXPECT_TRUE(filters.front().contains(QLatin1String(pattern))) << pattern;
    }
    EXPECT_FALSE(filters[1].contains(QLatin1String("*.pdf")));
    EXPECT_EQ(filters[2], QStringLiteral("PDF documents (*.pdf)"));
    EXPECT_EQ(filters[3], QStringLiteral("Vellumix projects (*.vellumix)"));
}

TEST(OpeningRules, ClipboardPrefersAnOpenableFileAndFallsBackToItsImage) {
    QTemporaryDir dir;
    const QString pdfPath = writeThreePages(dir.filePath("doc.pdf"));
    writeBytes(dir.filePath("notes.txt"), "text\n");

    EXPECT_FALSE(clipboardInput(nullptr));
    QMimeData empty;
    EXPECT_FALSE(clipboardInput(&empty));
    QMimeData onlyText;
    onlyText.setText(QStringLiteral("hello"));
    EXPECT_FALSE(clipboardInput(&onlyText));
    QMimeData unopenableUrl;
    unopenableUrl.setUrls({QUrl::fromLocalFile(dir.filePath("notes.txt"))});
    EXPECT_FALSE(clipboardInput(&unopenableUrl));

    QMimeData copiedFile;
    copiedFile.setUrls(
        {QUrl::fromLocalFile(dir.filePath("notes.txt")), QUrl::fromLocalFile(pdfPath)});
    const auto fromFile = clipboardInput(&copiedFile);
    ASSERT_TRUE(fromFile);
    ASSERT_TRUE(fromFile->file);
    EXPECT_EQ(fromFile->file->kind, InputKind::pdf);
    EXPECT_EQ(fromFile->file->path, pdfPath);

    QMimeData held;
    held.setImageData(filled(30, 20, Qt::green));
    const auto fromImage = clipboardInput(&held);
    ASSERT_TRUE(fromImage);
    EXPECT_FALSE(fromImage->file);
    EXPECT_EQ(fromImage->image.size(), QSize(30, 20));
    EXPECT_FALSE(fromImage->sourceFormat);

    // An image copied from a file that is gone: the image opens, named after the file's type.
    QMimeData heldWithUrl;
    heldWithUrl.setImageData(filled(30, 20, Qt::green));
    heldWithUrl.setUrls({QUrl::fromLocalFile(dir.filePath("gone/Shot.JPG"))});
    const auto named = clipboardInput(&heldWithUrl);
    ASSERT_TRUE(named);
    EXPECT_FALSE(named->file);
    EXPECT_EQ(named->sourceFormat, QStringLiteral("jpg"));

    // Encoded bytes as another program offers them; a huge declared size is refused.
    QMimeData encoded;
    QByteArray png;
    {
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        filled(12, 7, Qt::blue).save(&buffer, "PNG");
    }
    encoded.setData(QStringLiteral("image/png"), png);
    const auto decoded = clipboardInput(&encoded);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->image.size(), QSize(12, 7));
    QMimeData huge;
    huge.setData(QStringLiteral("image/png"), hugePngHeader());
    EXPECT_FALSE(clipboardInput(&huge));
}

TEST(DocumentOpener, UnopenableInputsOpenNothingAndTheAppGoesOn) {
    OpenerFixture f;
    // What classifyInput refuses (OpeningRules) opens nothing; so do a PDF without pages and a
    // PNG whose declared size is too big to decode.
    writeBytes(f.file("notes.txt"), "plain words\n");
    writeBytes(f.file("zero.pdf"), zeroPagePdf());
    writeBytes(f.file("huge.png"), hugePngHeader());
    ASSERT_EQ(classifyInput(f.file("huge.png")).kind, InputKind::image);
    ASSERT_EQ(QImageReader(f.file("huge.png")).size(), QSize(100000, 100000));

    for (const char* name : {"notes.txt", "zero.pdf", "huge.png"}) {
        EXPECT_FALSE(f.opener->openPath(f.file(QLatin1String(name)))) << name;
    }
    const QString qpdf = QStandardPaths::findExecutable(QStringLiteral("qpdf"));
    if (!qpdf.isEmpty()) {
        const QString plain = writeThreePages(f.file("plain.pdf"));
        ASSERT_EQ(QProcess::execute(qpdf, {"--encrypt", "user", "owner", "256", "--", plain,
                                           f.file("locked.pdf")}),
                  0);
        EXPECT_FALSE(f.opener->openPath(f.file("locked.pdf")));
    } else {
        std::printf("qpdf is not installed: the locked-PDF case is skipped\n");
    }
    QGuiApplication::clipboard()->clear();
    EXPECT_FALSE(f.opener->openFromClipboard());
    EXPECT_TRUE(f.opener->editors().empty());
    EXPECT_EQ(f.historyBundles(), 0);

    ASSERT_TRUE(filled(64, 48, Qt::red).save(f.file("good.png")));
    ASSERT_TRUE(f.opener->openPath(f.file("good.png")));
    ASSERT_EQ(f.opener->editors().size(), 1u);
    EditorWindowController* editor = f.opener->editors().front();
    EXPECT_EQ(editor->model().image().size(), QSize(64, 48));
    EXPECT_EQ(f.historyBundles(), 1);
    // Closed with an annotation, its bundle opens again with it.
    ASSERT_TRUE(editor->bundlePath());
    const QString bundlePath = *editor->bundlePath();
    ShapeAnnotation shape;
    shape.rect = QRectF(6, 6, 20, 10);
    editor->canvasView()->document().setAnnotationsWithoutUndo({shape});
    editor->close();
    EXPECT_TRUE(f.opener->editors().empty());
    ASSERT_TRUE(f.opener->openPath(bundlePath));
    EXPECT_EQ(f.opener->editors().back()->canvasView()->document().annotations().size(), 1u);
    // A truncated PNG is either refused or opened with what could be read; never a crash.
    QByteArray png;
    QBuffer buffer(&png);
    buffer.open(QIODevice::WriteOnly);
    filled(300, 200, Qt::white).save(&buffer, "PNG");
    writeBytes(f.file("cut.png"), png.left(png.size() / 3));
    f.opener->openPath(f.file("cut.png"));
}

TEST(DocumentOpener, PdfPagesOpenAt144DpiOnWhiteWithTheirOwnBundle) {
    OpenerFixture f;
    const QString pdf = writeThreePages(f.file("three.pdf"));

    // Requested page → the page shown (by the colour of its square).
    const std::pair<int, QColor> cases[] = {
        {1, Qt::red}, {2, Qt::green}, {3, Qt::blue}, {0, Qt::red}, {9, Qt::blue}};
    for (const auto& [page, colour] : cases) {
        ASSERT_TRUE(f.opener->openPath(pdf, page)) << page;
        EditorWindowController* editor = f.opener->editors().back();
        const QImage image = editor->model().image();
        EXPECT_EQ(image.pixelColor(300, 300), colour) << page;
        EXPECT_EQ(image.pixelColor(5, 5), QColor(Qt::white)) << page;
        EXPECT_FALSE(image.hasAlphaChannel());
        EXPECT_EQ(f.opener->sourceFormat(editor), QStringLiteral("pdf"));
        ASSERT_TRUE(editor->bundlePath());
        // Written on the window's worker while it opens.
        EXPECT_TRUE(test::eventually(
            [&] { return bundle::readImage(*editor->bundlePath()).size() == image.size(); }));
    }

    ASSERT_TRUE(f.opener->openPath(pdf)); // page 1 by default
    const QImage first = f.opener->editors().back()->model().image();
    EXPECT_NEAR(first.width(), 1191, 1);
    EXPECT_NEAR(first.height(), 1684, 1);
    EXPECT_EQ(first.pixelColor(300, 300), QColor(Qt::red));
    ASSERT_TRUE(f.opener->openPath(pdf, 2)); // A5: 839 × 1191
    EXPECT_NEAR(f.opener->editors().back()->model().image().width(), 839, 1);
}

TEST(DocumentOpener, PromptFieldsShowTheStateTheAppGivesAndFollowItsChanges) {
    OpenerFixture f;
    PromptFieldState state{false, QStringLiteral("Add a Gemini API key in Settings")};
    f.opener->promptFieldState = [&state] { return state; };
    f.opener->openNewImage(QImage(40, 30, QImage::Format_RGB32), std::nullopt);
    f.opener->openNewImage(QImage(50, 30, QImage::Format_RGB32), std::nullopt);
    for (EditorWindowController* editor : f.opener->editors()) {
        EXPECT_FALSE(editor->promptField()->isEnabled());
        EXPECT_EQ(editor->promptField()->placeholderText(), state.placeholder);
    }
    // A key is saved in the settings window: every open window takes the new state at once.
    state = PromptFieldState{true, QStringLiteral("Ask Gemini…")};
    f.opener->refreshPromptFields();
    for (EditorWindowController* editor : f.opener->editors()) {
        EXPECT_TRUE(editor->promptField()->isEnabled());
        EXPECT_EQ(editor->promptField()->placeholderText(), QStringLiteral("Ask Gemini…"));
    }
}

TEST(DocumentOpener, ClipboardImagesAndCopiedFilesOpenWithTheirSourceFormat) {
    OpenerFixture f;
    QClipboard* clipboard = QGuiApplication::clipboard();

    clipboard->setImage(filled(40, 30, Qt::green));
    ASSERT_TRUE(f.opener->openFromClipboard());
    EditorWindowController* pasted = f.opener->editors().back();
    EXPECT_EQ(pasted->model().image().size(), QSize(40, 30));
    EXPECT_EQ(pasted->model().image().pixelColor(20, 15), QColor(Qt::green));
    EXPECT_EQ(f.opener->sourceFormat(pasted), std::nullopt);
    ASSERT_TRUE(pasted->bundlePath());

    ASSERT_TRUE(filled(50, 25, Qt::blue).save(f.file("copied.png"), "JPEG"));
    auto* copied = new QMimeData;
    copied->setUrls({QUrl::fromLocalFile(f.file("copied.png"))});
    clipboard->setMimeData(copied);
    ASSERT_TRUE(f.opener->openFromClipboard());
    EditorWindowController* fromFile = f.opener->editors().back();
    EXPECT_EQ(fromFile->model().image().size(), QSize(50, 25));
    EXPECT_EQ(f.opener->sourceFormat(fromFile), QStringLiteral("jpeg"));

    auto* copiedPdf = new QMimeData;
    copiedPdf->setUrls({QUrl::fromLocalFile(writeThreePages(f.file("doc.pdf")))});
    clipboard->setMimeData(copiedPdf);
    ASSERT_TRUE(f.opener->openFromClipboard());
    EXPECT_EQ(f.opener->sourceFormat(f.opener->editors().back()), QStringLiteral("pdf"));
    EXPECT_NEAR(f.opener->editors().back()->model().image().width(), 1191, 1);

    // A copied bundle opens as it is: no new history bundle.
    const QString saved = makeBundle(f.file("saved.vellumix"), filled(16, 16, Qt::red));
    const qsizetype bundlesBefore = f.historyBundles();
    auto* copiedBundle = new QMimeData;
    copiedBundle->setUrls({QUrl::fromLocalFile(saved)});
    clipboard->setMimeData(copiedBundle);
    ASSERT_TRUE(f.opener->openFromClipboard());
    EXPECT_EQ(f.opener->editors().back()->bundlePath(), saved);
    EXPECT_EQ(f.historyBundles(), bundlesBefore);
    clipboard->clear();
}

TEST(DocumentOpener, HeicOpensFromAPathAndACopiedFile) {
    OpenerFixture f;
    ASSERT_TRUE(writeHeicPicture(f.file("photo.HEIC")));

    ASSERT_TRUE(f.opener->openPath(f.file("photo.HEIC")));
    EditorWindowController* opened = f.opener->editors().back();
    EXPECT_TRUE(looksLikeHeicPicture(opened->model().image()));
    EXPECT_EQ(f.opener->sourceFormat(opened), QStringLiteral("heic"));
    ASSERT_TRUE(opened->bundlePath());
    EXPECT_TRUE(test::eventually(
        [&] { return looksLikeHeicPicture(bundle::readImage(*opened->bundlePath())); }));

    auto* copied = new QMimeData;
    copied->setUrls({QUrl::fromLocalFile(f.file("photo.HEIC"))});
    QGuiApplication::clipboard()->setMimeData(copied);
    ASSERT_TRUE(f.opener->openFromClipboard());
    EXPECT_TRUE(looksLikeHeicPicture(f.opener->editors().back()->model().image()));
    EXPECT_EQ(f.opener->editors().size(), 2u);
    QGuiApplication::clipboard()->clear();
}

TEST(OpenPanel, PageControlFollowsTheSelectionAndChoosesThePage) {
    QTemporaryDir dir;
    writeThreePages(dir.filePath("three.pdf"));
    ASSERT_TRUE(filled(8, 8, Qt::red).save(dir.filePath("shot.png")));
    makeBundle(dir.filePath("saved.vellumix"), filled(8, 8, Qt::blue));

    const auto typeName = [](OpenPanel& panel, const QString& name) {
        auto* edit = panel.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        EXPECT_TRUE(edit);
        edit->setFocus();
        QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(edit, name);
        QTest::qWait(50);
    };

    {
        OpenPanel panel;
        panel.setDirectory(dir.path());
        panel.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
        QTest::qWait(200); // the folder is listed asynchronously
        auto* row = panel.findChild<QWidget*>(QStringLiteral("pdfPageRow"));
        auto* page = panel.findChild<QSpinBox*>(QStringLiteral("pdfPage"));
        ASSERT_TRUE(row && page);
        EXPECT_FALSE(row->isVisible());
        const auto* label = row->findChild<QLabel*>();
        ASSERT_TRUE(label);
        EXPECT_EQ(label->text(), QStringLiteral("PDF page:"));
        EXPECT_EQ(label->buddy(), page);

        // A click on the file in the list.
        auto* list = panel.findChild<QListView*>(QStringLiteral("listView"));
        ASSERT_TRUE(list);
        QModelIndex pdfItem;
        for (int r = 0; r < list->model()->rowCount(list->rootIndex()); ++r) {
            const QModelIndex index = list->model()->index(r, 0, list->rootIndex());
            if (index.data().toString() == QStringLiteral("three.pdf")) {
                pdfItem = index;
            }
        }
        ASSERT_TRUE(pdfItem.isValid());
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(pdfItem).center());
        ASSERT_TRUE(row->isVisible());
        EXPECT_EQ(page->maximum(), 3);
        EXPECT_EQ(page->value(), 1);

        page->setFocus();
        QTest::keyClick(page, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(page, QStringLiteral("7")); // past the end: the box keeps 1 … 3
        QTest::keyClick(page, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(page, QStringLiteral("2"));
        QTest::keyClick(page, Qt::Key_Return);
        ASSERT_EQ(panel.result(), QDialog::Accepted);
        ASSERT_TRUE(panel.request());
        EXPECT_EQ(panel.request()->path, dir.filePath("three.pdf"));
        EXPECT_EQ(panel.request()->page, 2);
    }
    {
        OpenPanel panel;
        panel.setDirectory(dir.path());
        panel.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
        QTest::qWait(200);
        auto* row = panel.findChild<QWidget*>(QStringLiteral("pdfPageRow"));
        typeName(panel, QStringLiteral("three.pdf"));
        EXPECT_TRUE(row->isVisible());
        typeName(panel, QStringLiteral("shot.png"));
        EXPECT_FALSE(row->isVisible());
        QTest::keyClick(panel.findChild<QLineEdit*>(QStringLiteral("fileNameEdit")),
                        Qt::Key_Return);
        ASSERT_TRUE(panel.request());
        EXPECT_EQ(panel.request()->path, dir.filePath("shot.png"));
        EXPECT_EQ(panel.request()->page, 1);
    }
    {
        // A bundle is a folder: Open chooses it instead of stepping inside.
        OpenPanel panel;
        panel.setDirectory(dir.path());
        panel.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&panel));
        QTest::qWait(200);
        typeName(panel, QStringLiteral("saved.vellumix"));
        QTest::keyClick(panel.findChild<QLineEdit*>(QStringLiteral("fileNameEdit")),
                        Qt::Key_Return);
        ASSERT_TRUE(panel.request());
        EXPECT_EQ(panel.request()->path, dir.filePath("saved.vellumix"));
    }
}
