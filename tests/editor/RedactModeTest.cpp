// The Redact mode of the image-edit session in a real window, with the real text recognition
// behind "Find Sensitive Text".
#include "EditorWindowFixture.h"
#include "editor/RedactionBar.h"
#include "editor/RedactionMarks.h"
#include "support/TextPictures.h"

#include <QFont>
#include <QPainter>

namespace vellumix {

namespace {

QImage pictureWithAnEmailAddress() {
    return test::textPicture(
        QSize(640, 200), 22,
        {{QPoint(30, 60), QStringLiteral("Release notes for the spring update")},
         {QPoint(30, 130), QStringLiteral("Contact jane.doe@example.com today")}});
}

bool allOf(const QImage& image, const QRect& area, QRgb colour) {
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            if ((image.pixel(x, y) & 0xffffff) != (colour & 0xffffff)) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

class RedactModeTest : public EditorWindowTest {
protected:
    RedactionBar* bar() const { return window->redactionBar(); }
    RedactionMarks& marks() const { return window->redactionMarks(); }
};

TEST_F(RedactModeTest, DraggedAreasAreRedactedOnApplyAsOneStep) {
    openImage(400, 300);
    EXPECT_FALSE(bar()->isVisible());
    editImageButton()->click();
    ASSERT_TRUE(bar()->isVisible());
    EXPECT_FALSE(bar()->findButton()->isEnabled());

    bar()->modeButton()->click();
    ASSERT_TRUE(marks().isActive());
    const QRectF crop = *doc().cropRect;
    // Drags mark areas instead of moving the crop.
    dragOnCanvas({40, 40}, {140, 80});
    dragOnCanvas({200, 200}, {260, 240});
    EXPECT_EQ(*doc().cropRect, crop);
    ASSERT_EQ(marks().marks().size(), 2u);
    EXPECT_EQ(bar()->statusText(), "2 areas");
    EXPECT_EQ(doc().image().pixel(50, 50), qRgb(255, 255, 255)); // nothing changes before Apply

    applyEditButton()->click();
    EXPECT_EQ(doc().activeTool(), Tool::select);
    EXPECT_FALSE(bar()->isVisible());
    EXPECT_TRUE(allOf(doc().image(), QRect(20, 20, 100, 40), qRgb(0, 0, 0)));
    EXPECT_TRUE(allOf(doc().image(), QRect(180, 180, 60, 40), qRgb(0, 0, 0)));
    EXPECT_EQ(doc().image().pixel(10, 10), qRgb(255, 255, 255));
    EXPECT_EQ(doc().undoStack().undoText(), "Redact Areas");

    doc().undoStack().undo();
    EXPECT_TRUE(allOf(doc().image(), QRect(20, 20, 100, 40), qRgb(255, 255, 255)));

    // The next session starts without marks, and cancelling one drops what was marked.
    editImageButton()->click();
    EXPECT_TRUE(marks().marks().empty());
    bar()->modeButton()->click();
    dragOnCanvas({40, 40}, {140, 80});
    cancelEditButton()->click();
    EXPECT_TRUE(allOf(doc().image(), QRect(20, 20, 100, 40), qRgb(255, 255, 255)));
    EXPECT_EQ(doc().undoStack().count(), 1);
}

TEST_F(RedactModeTest, MarksTurnAndMirrorWithThePicture) {
    openImage(400, 300);
    editImageButton()->click();
    bar()->modeButton()->click();
    dragOnCanvas({40, 40}, {140, 80}); // image pixels (20, 20) to (120, 60)
    imageEditButton("rotate-right")->click();
    ASSERT_EQ(marks().marks().size(), 1u);
    // A quarter turn clockwise: x' = 300 − y, y' = x in the new 300 × 400 picture.
    EXPECT_EQ(marks().marks()[0].rect, QRectF(260, 40, 40, 100));
    imageEditButton("flip-horizontal")->click();
    EXPECT_EQ(marks().marks()[0].rect, QRectF(40, 40, 40, 100));
    applyEditButton()->click();
    EXPECT_EQ(doc().image().size(), QSize(300, 400));
    EXPECT_TRUE(allOf(doc().image(), QRect(20, 20, 40, 100), qRgb(0, 0, 0)));
    EXPECT_EQ(doc().image().pixel(70, 50), qRgb(255, 255, 255));
    // Turned as well as redacted: the session's one step is named after all of it.
    EXPECT_EQ(doc().undoStack().undoText(), "Edit Image");
}

TEST_F(RedactModeTest, SensitiveTextIsProposedAndOnlyWhatStaysSwitchedOnIsHidden) {
    EditorDocument document;
    document.image = pictureWithAnEmailAddress();
    window = open(std::move(document));
    editImageButton()->click();
    bar()->modeButton()->click();
    bar()->styleButton(imageops::RedactionStyle::pixelate)->click();
    bar()->findButton()->click();
    EXPECT_EQ(bar()->statusText(), "Looking for sensitive text…");
    ASSERT_TRUE(QTest::qWaitFor([&] { return !marks().marks().empty(); }, 20000));
    ASSERT_EQ(marks().marks().size(), 1u);
    const RedactionMark proposal = marks().marks()[0];
    EXPECT_EQ(proposal.label, "Email address");
    // Around the address on the second line, not the first line nor the whole second one.
    const QRectF inImage = proposal.rect.translated(-20, -20);
    EXPECT_GT(inImage.top(), 80);
    EXPECT_LT(inImage.bottom(), 160);
    EXPECT_GT(inImage.left(), 90);
    EXPECT_LT(inImage.right(), 520);
    EXPECT_EQ(bar()->statusText(), "1 area");
    EXPECT_TRUE(window->grab().save(QDir::temp().filePath("vellumix-redact-mode.png")));

    // Switched off and on again by clicks, then applied: pixelated, so not one white pixel of
    // paper is left between the letters.
    const QPointF middle = proposal.rect.center();
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, at(middle));
    EXPECT_EQ(marks().enabledCount(), 0);
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, at(middle));
    EXPECT_EQ(marks().enabledCount(), 1);
    const QImage before = doc().image();
    applyEditButton()->click();
    EXPECT_EQ(doc().undoStack().undoText(), "Redact Area");
    const QRect hidden = inImage.toAlignedRect().adjusted(4, 4, -4, -4);
    EXPECT_FALSE(allOf(doc().image(), hidden, qRgb(255, 255, 255)));
    int darkPixels = 0;
    for (int y = hidden.top(); y <= hidden.bottom(); ++y) {
        for (int x = hidden.left(); x <= hidden.right(); ++x) {
            darkPixels += qGray(doc().image().pixel(x, y)) < 100;
        }
    }
    EXPECT_EQ(darkPixels, 0) << "glyph strokes survived the pixelation";
    // Outside the proposal nothing changed: the first line is intact.
    EXPECT_EQ(doc().image().copy(0, 0, 640, 80).convertToFormat(QImage::Format_RGB32),
              before.copy(0, 0, 640, 80).convertToFormat(QImage::Format_RGB32));
}

} // namespace vellumix
