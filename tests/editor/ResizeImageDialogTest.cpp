#include "editor/ResizeImageDialog.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include <gtest/gtest.h>
#include <vector>

using namespace vellumix;

namespace {

// A dialog as the editor opens it, with every callback recorded.
struct OpenDialog {
    ResizeImageDialog dialog;
    std::vector<QSize> applied;
    int closes = 0;

    explicit OpenDialog(QSize size) : dialog(size, nullptr) {
        dialog.onApply = [this](QSize s) { applied.push_back(s); };
        dialog.onClose = [this] { ++closes; };
        dialog.show();
        dialog.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
    }

    QString width() const { return dialog.widthField()->text(); }
    QString height() const { return dialog.heightField()->text(); }
    QString ratio() const { return dialog.aspectRatioLabel()->text(); }
};

// Types into whatever has focus, as a person at the keyboard does.
void type(QWidget* window, const QString& text) {
    QTest::keyClicks(QApplication::focusWidget() ? QApplication::focusWidget() : window, text);
}

void press(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
    QTest::keyClick(QApplication::focusWidget(), key, modifiers);
}

} // namespace

TEST(ResizeImageDialog, OpensWithTheImageSizeLockedAndTheWidthReadyToType) {
    OpenDialog d(QSize(1920, 1080));
    EXPECT_EQ(d.dialog.windowTitle(), "Resize Image");
    EXPECT_EQ(d.dialog.size(), QSize(280, 220));
    EXPECT_FALSE(d.dialog.isModal());
    EXPECT_EQ(d.dialog.headingLabel()->text(), "Resize Image");
    EXPECT_TRUE(d.dialog.headingLabel()->font().bold());
    EXPECT_EQ(d.width(), "1920");
    EXPECT_EQ(d.height(), "1080");
    EXPECT_EQ(d.ratio(), "16 : 9");
    EXPECT_TRUE(d.dialog.lockButton()->isChecked());
    EXPECT_EQ(d.dialog.lockButton()->accessibleName(), "Aspect ratio lock");
    EXPECT_EQ(d.dialog.lockButton()->toolTip(), "Aspect ratio locked — click to unlock");
    EXPECT_FALSE(d.dialog.lockButton()->icon().isNull());
    EXPECT_EQ(d.dialog.cancelButton()->text(), "Cancel");
    EXPECT_EQ(d.dialog.okButton()->text(), "OK");
    EXPECT_TRUE(d.dialog.okButton()->isDefault());
    EXPECT_EQ(QApplication::focusWidget(), d.dialog.widthField());
    EXPECT_EQ(d.dialog.widthField()->selectedText(), "1920");
}

// The linking and rounding rules are the aspect lock's (ResizeRulesTest); here typing and the
// lock button reach them.
TEST(ResizeImageDialog, TheLockLinksTheSidesAsTheyAreTyped) {
    OpenDialog d(QSize(300, 200));
    type(&d.dialog, "301"); // replaces the selected width
    EXPECT_EQ(d.height(), "201");
    EXPECT_EQ(d.ratio(), "1.5 : 1");
    press(Qt::Key_Tab); // into the height, all of it selected
    EXPECT_EQ(QApplication::focusWidget(), d.dialog.heightField());
    type(&d.dialog, "101");
    EXPECT_EQ(d.width(), "152");

    QToolButton* lock = d.dialog.lockButton();
    QTest::mouseClick(lock, Qt::LeftButton);
    EXPECT_EQ(lock->toolTip(), "Aspect ratio unlocked — click to lock");
    QTest::mouseClick(d.dialog.widthField(), Qt::LeftButton);
    press(Qt::Key_A, Qt::ControlModifier);
    type(&d.dialog, "404");
    EXPECT_EQ(d.height(), "101");
    EXPECT_EQ(d.ratio(), "4 : 1");
    QTest::mouseClick(lock, Qt::LeftButton);
    EXPECT_DOUBLE_EQ(d.dialog.lockedRatio(), 4);
}

TEST(ResizeImageDialog, EscapeOrCancelClosesWithoutApplying) {
    for (const bool escape : {true, false}) {
        OpenDialog d(QSize(300, 200));
        type(&d.dialog, "600");
        escape ? press(Qt::Key_Escape) : QTest::mouseClick(d.dialog.cancelButton(), Qt::LeftButton);
        EXPECT_FALSE(d.dialog.isVisible()) << escape;
        EXPECT_TRUE(d.applied.empty()) << escape;
        EXPECT_EQ(d.closes, 1) << escape;
    }
}

TEST(ResizeImageDialog, ReturnAppliesTheTypedSizeAndCloses) {
    OpenDialog d(QSize(300, 200));
    type(&d.dialog, "600");
    press(Qt::Key_Return);
    EXPECT_FALSE(d.dialog.isVisible());
    ASSERT_EQ(d.applied.size(), 1u);
    EXPECT_EQ(d.applied[0], QSize(600, 400));
    EXPECT_EQ(d.closes, 1);
}

TEST(ResizeImageDialog, OkWithoutTwoSizesStaysOpen) {
    OpenDialog d(QSize(300, 200));
    press(Qt::Key_Tab);
    press(Qt::Key_Backspace); // the selected height is gone
    press(Qt::Key_Return);
    EXPECT_TRUE(d.dialog.isVisible());
    QTest::mouseClick(d.dialog.okButton(), Qt::LeftButton);
    EXPECT_TRUE(d.dialog.isVisible());
    EXPECT_TRUE(d.applied.empty());

    // Locked at 300 : 200, a width of 1 links a height of 1 (0.67 rounded) — a valid size.
    QTest::mouseClick(d.dialog.widthField(), Qt::LeftButton);
    press(Qt::Key_A, Qt::ControlModifier);
    type(&d.dialog, "1");
    EXPECT_EQ(d.height(), "1");
    QTest::mouseClick(d.dialog.okButton(), Qt::LeftButton);
    ASSERT_EQ(d.applied.size(), 1u);
    EXPECT_EQ(d.applied[0], QSize(1, 1));
}
