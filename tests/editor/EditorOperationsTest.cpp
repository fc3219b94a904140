#include "EditorWindowFixture.h"
#include "editor/ProjectSaveDialog.h"

#include <QClipboard>
#include <QMimeData>

namespace {

// A picture whose corners are told apart: red top-left, blue top-right, green bottom-left.
QImage cornersImage(int w, int h) {
    QImage image = whiteImage(w, h);
    image.setPixelColor(0, 0, Qt::red);
    image.setPixelColor(w - 1, 0, Qt::blue);
    image.setPixelColor(0, h - 1, Qt::green);
    return image;
}

} // namespace

TEST_F(EditorWindowTest, ASessionRotatesThenCancelRestoresEverything) {
    EditorDocument document;
    document.image = cornersImage(400, 300);
    const auto bundle = history.createBundle(document.image, {});
    ASSERT_TRUE(bundle);
    document.bundlePath = *bundle;
    document.initialAnnotations = {rectAt({40, 60, 80, 40})};
    window = open(std::move(document));

    QTest::mouseClick(editImageButton(), Qt::LeftButton);
    ASSERT_EQ(doc().activeTool(), Tool::editImage);
    EXPECT_TRUE(applyEditButton()->isVisible());
    EXPECT_FALSE(copyButton()->isVisible());
    QTest::mouseClick(imageEditButton("rotate-right"), Qt::LeftButton);
    EXPECT_EQ(window->model().image().size(), QSize(300, 400));
    // Turned clockwise: the red top-left corner is now the top-right one.
    EXPECT_EQ(window->model().image().pixelColor(299, 0), QColor(Qt::red));
    EXPECT_EQ(imageDims(), QStringLiteral("300 × 400 px"));
    EXPECT_EQ(doc().cropRect, QRectF(20, 20, 300, 400)); // the crop turned with it
    EXPECT_EQ(doc().undoStack().count(), 0);             // no undo steps inside a session
    // The bundle keeps the picture from before the session, as Cancel would restore it.
    QTest::qWait(BundleAutosave::annotationsDelayMs + 200);
    EXPECT_EQ(bundle::readImage(*bundle).size(), QSize(400, 300));

    QTest::mouseClick(cancelEditButton(), Qt::LeftButton);
    EXPECT_EQ(doc().activeTool(), Tool::select);
    EXPECT_EQ(window->model().image().size(), QSize(400, 300));
    EXPECT_EQ(window->model().image().pixelColor(0, 0), QColor(Qt::red));
    EXPECT_EQ(geometry::bounds(doc().annotations()[0]), QRectF(40, 60, 80, 40));
    EXPECT_EQ(bundle::readImage(*bundle).size(), QSize(400, 300));
    EXPECT_FALSE(doc().cropRect);
}

TEST_F(EditorWindowTest, ApplyingACropIsOneUndoableStep) {
    openImage(400, 300, {rectAt({100, 100, 50, 50})});
    canvas()->setFocus();
    QTest::keyClick(canvas(), Qt::Key_E);
    ASSERT_EQ(doc().activeTool(), Tool::editImage);
    QTest::mouseClick(imageEditButton("flip-horizontal"), Qt::LeftButton);
    // A crop from image pixel (100, 50), 350 wide: 50 past the right edge, 200 high.
    doc().cropRect = QRectF(120, 70, 350, 200);
    QTest::keyClick(window.get(), Qt::Key_Return); // Apply answers Return
    EXPECT_EQ(doc().activeTool(), Tool::select);
    const QImage& cropped = window->model().image();
    ASSERT_EQ(cropped.size(), QSize(350, 200));
    EXPECT_EQ(cropped.pixelColor(10, 10), QColor(Qt::white));
    EXPECT_EQ(cropped.pixelColor(320, 10), QColor(Qt::black)); // past the edge: blank colour
    // Image columns 80…130 mirror to 270…320 (canvas 290), then the crop moves it by −100.
    EXPECT_EQ(geometry::bounds(doc().annotations()[0]), QRectF(190, 50, 50, 50));
    EXPECT_EQ(doc().undoStack().undoText(), QStringLiteral("Edit Image"));
    doc().undoStack().undo();
    EXPECT_EQ(window->model().image().size(), QSize(400, 300));
    EXPECT_EQ(geometry::bounds(doc().annotations()[0]), QRectF(100, 100, 50, 50));
    EXPECT_EQ(imageDims(), QStringLiteral("400 × 300 px"));
    // An empty crop beeps and changes nothing.
    QTest::keyClick(canvas(), Qt::Key_E);
    doc().cropRect = QRectF(100, 100, 0, 40);
    QTest::mouseClick(applyEditButton(), Qt::LeftButton);
    EXPECT_EQ(window->model().image().size(), QSize(400, 300));
    EXPECT_EQ(doc().activeTool(), Tool::editImage);
}

TEST_F(EditorWindowTest, MergingDrawsTheAnnotationsIntoThePixels) {
    openImage(400, 300, {rectAt({40, 40, 100, 60}), rectAt({200, 200, 40, 40})});
    const AnnotationID first = idOf(doc().annotations()[0]);
    ASSERT_FALSE(doc().onMergeIntoImage.empty());
    doc().onMergeIntoImage.notify({first});
    ASSERT_EQ(doc().annotations().size(), 1u);
    // The left edge of the merged rectangle (x 40 on the canvas) is image column 20.
    EXPECT_EQ(window->model().image().pixelColor(20, 50).rgb(), SystemColors::red.toQColor().rgb());
    EXPECT_EQ(doc().undoStack().undoText(), QStringLiteral("Merge Annotation into Image"));
    doc().undoStack().undo();
    EXPECT_EQ(doc().annotations().size(), 2u);
    EXPECT_EQ(window->model().image().pixelColor(20, 50), QColor(Qt::white));
}

TEST_F(EditorWindowTest, ExportsAndCopiesTheFlattenedPicture) {
    settings.setCloseAfterSave(false);
    openImage(400, 300, {rectAt({40, 40, 100, 60})});
    // Exported in the format of the chosen name's extension.
    const QString jpeg = dir.filePath("out.jpg");
    ASSERT_TRUE(window->exportPicture(ExportFormat::jpeg, jpeg));
    QImageReader reader(jpeg);
    EXPECT_EQ(reader.format(), QByteArray("jpeg"));
    EXPECT_EQ(reader.size(), QSize(400, 300));
    EXPECT_TRUE(window->isVisible()); // close-after-save is off

    // With the annotations hidden the export holds the plain image.
    QTest::mouseClick(visibilityToggle(), Qt::LeftButton);
    const QString png = dir.filePath("plain.png");
    ASSERT_TRUE(window->exportPicture(ExportFormat::png, png));
    EXPECT_EQ(QImage(png).pixelColor(20, 40), QColor(Qt::white));
    QTest::mouseClick(visibilityToggle(), Qt::LeftButton);

    // A folder that cannot be written: nothing closes, nothing is written.
    EXPECT_FALSE(window->exportPicture(ExportFormat::png, dir.filePath("missing/sub/x.png")));
    EXPECT_TRUE(window->isVisible());

    // Copy puts the annotated picture on the clipboard; with close-after-save on it closes.
    settings.setCloseAfterSave(true);
    QTest::mouseClick(copyButton(), Qt::LeftButton);
    const QImage copied = QGuiApplication::clipboard()->image();
    ASSERT_EQ(copied.size(), QSize(400, 300));
    EXPECT_EQ(copied.pixelColor(20, 40).rgb(), SystemColors::red.toQColor().rgb());
    EXPECT_FALSE(window->isVisible());
}

TEST_F(EditorWindowTest, SavingAProjectReplacesOnlyWhenComplete) {
    settings.setCloseAfterSave(false);
    openImage(400, 300, {rectAt({40, 40, 100, 60})});
    const QString project = dir.filePath("work.vellumix");
    ASSERT_TRUE(window->writeProject(project));
    EXPECT_EQ(bundle::loadAnnotations(project).size(), 1u);
    EXPECT_EQ(bundle::readImage(project).size(), QSize(400, 300));
    EXPECT_EQ(settings.externalBundles().value(0), QFileInfo(project).absoluteFilePath());
    // Saved again over itself: replaced whole.
    CanvasDocument& document = window->canvasView()->document();
    document.setAnnotationsWithoutUndo({rectAt({10, 10, 5, 5}), rectAt({20, 20, 5, 5})});
    ASSERT_TRUE(window->writeProject(project));
    EXPECT_EQ(bundle::loadAnnotations(project).size(), 2u);
    EXPECT_EQ(QDir(dir.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              (QStringList{"defaults.json", "store", "work.vellumix"}));
    // A write that fails (a file squats where the new one is assembled) leaves the project.
    document.setAnnotationsWithoutUndo({});
    QFile squatter(
        dir.filePath(".work.vellumix.partial-%1").arg(QCoreApplication::applicationPid()));
    ASSERT_TRUE(squatter.open(QIODevice::WriteOnly));
    squatter.close();
    EXPECT_FALSE(window->writeProject(project));
    EXPECT_EQ(bundle::loadAnnotations(project).size(), 2u);
    EXPECT_TRUE(window->isVisible());
    // A folder of the user's that only has the name of a project is never replaced.
    const QString notes = dir.filePath("notes.vellumix");
    ASSERT_TRUE(QDir().mkpath(notes + "/keep"));
    EXPECT_FALSE(window->writeProject(notes));
    EXPECT_TRUE(QDir(notes + "/keep").exists());
}

// In the save panel an existing project is chosen like a file: replacing it is asked, and it
// is never entered.
TEST_F(EditorWindowTest, TheProjectPanelOffersToReplaceAProject) {
    const QString project = dir.filePath("work.vellumix");
    ASSERT_TRUE(bundle::write(whiteImage(10, 10), {}, project, BundleServices{}));
    for (const bool replace : {false, true}) {
        ProjectSaveDialog dialog(nullptr);
        QStringList asked;
        dialog.confirmReplace = [&](const QString& path) {
            asked << path;
            return replace;
        };
        dialog.setDirectory(dir.path());
        dialog.selectFile("work.vellumix");
        dialog.accept();
        EXPECT_EQ(asked, QStringList{project});
        EXPECT_EQ(dialog.result(), replace ? QDialog::Accepted : QDialog::Rejected);
        EXPECT_EQ(dialog.selectedFiles(), QStringList{project});
        EXPECT_EQ(QDir(dialog.directory()).absolutePath(), QDir(dir.path()).absolutePath());
    }
}
