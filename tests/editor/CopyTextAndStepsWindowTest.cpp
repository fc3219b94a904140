#include "EditorWindowFixture.h"
#include "editor/AnalysisCache.h"
#include "editor/SplitButtons.h"
#include "editor/StatusToast.h"
#include "model/Steps.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QMenu>

#include <atomic>

namespace {

// In image pixels; the canvas shows the image at (20, 20).
VisionAnalysis twoColumns() {
    VisionAnalysis analysis;
    analysis.lines = {{QStringLiteral("Left column"), QRectF(10, 10, 120, 20)},
                      {QStringLiteral("Right column"), QRectF(250, 10, 120, 20)}};
    return analysis;
}

} // namespace

namespace vellumix {

class CopyTextWindowTest : public EditorWindowTest {
protected:
    std::shared_ptr<std::atomic<int>> runs = std::make_shared<std::atomic<int>>(0);

    // The window analyses `analysis` instead of its picture, off the main thread as usual.
    void analyseAs(VisionAnalysis analysis) {
        window->visionAnalysis().setAnalyzer(
            [runs = runs, analysis](const QImage&, const std::atomic<bool>&) {
                ++*runs;
                return analysis;
            });
    }
    QMenu* contextMenuAt(QPointF canvasPoint) {
        const QPoint at = this->at(canvasPoint);
        QContextMenuEvent event(QContextMenuEvent::Mouse, at, canvas()->mapToGlobal(at));
        QApplication::sendEvent(canvas(), &event);
        QMenu* menu = canvas()->lastContextMenu();
        if (menu) {
            menu->close();
        }
        return menu;
    }
    static QAction* action(QMenu* menu, const QString& title) {
        for (QAction* a : menu ? menu->actions() : QList<QAction*>()) {
            if (a->text() == title) {
                return a;
            }
        }
        return nullptr;
    }
    QString toast() const {
        return window->statusToast() ? window->statusToast()->message() : QString();
    }
    bool toastShows(const QString& text) {
        return QTest::qWaitFor([&] { return toast() == text; }, 5000);
    }
};

TEST_F(CopyTextWindowTest, CopyTextFromTheMenuTakesTheWholePictureOrTheSelectedArea) {
    openImage(400, 300);
    analyseAs(twoColumns());
    QGuiApplication::clipboard()->setText(QStringLiteral("before"));

    QAction* copy = action(contextMenuAt({200, 250}), QStringLiteral("Copy Text"));
    ASSERT_NE(copy, nullptr);
    copy->trigger();
    // The first time the analysis runs in the background; the window says so meanwhile.
    EXPECT_EQ(toast(), QStringLiteral("Reading text…"));
    ASSERT_TRUE(toastShows(QStringLiteral("Copied 2 lines")));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("Left column\nRight column"));
    EXPECT_TRUE(window->statusToast()->isVisible());

    // A rectangle over the right column: only its line, from the kept analysis.
    doc().setAnnotationsWithoutUndo({rectAt(QRectF(280, 25, 60, 30))});
    copy = action(contextMenuAt({282, 40}), QStringLiteral("Copy Text"));
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(doc().selectedIndices(), std::set<int>{0});
    copy->trigger();
    EXPECT_EQ(toast(), QStringLiteral("Copied 1 line")); // kept: answered at once
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("Right column"));
    EXPECT_EQ(runs->load(), 1);

    // The toast goes away by itself.
    EXPECT_TRUE(QTest::qWaitFor([&] { return !window->statusToast()->isVisible(); }, 5000));
}

TEST_F(CopyTextWindowTest, NothingRecognisedLeavesTheClipboardAlone) {
    openImage(400, 300);
    analyseAs(VisionAnalysis());
    QGuiApplication::clipboard()->setText(QStringLiteral("keep me"));
    window->copyText();
    ASSERT_TRUE(toastShows(QStringLiteral("No text found")));
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("keep me"));
}

TEST_F(CopyTextWindowTest, TheSaveMenuOffersCopyTextAfterASeparator) {
    openImage(400, 300);
    analyseAs(twoColumns());
    showSaveModeMenu();
    QMenu* menu = nullptr;
    for (QMenu* m : window->findChildren<QMenu*>()) {
        if (action(m, QStringLiteral("Copy Text"))) {
            menu = m;
        }
    }
    ASSERT_NE(menu, nullptr);
    const QList<QAction*> items = menu->actions();
    ASSERT_GE(items.size(), 2);
    EXPECT_EQ(items.back()->text(), QStringLiteral("Copy Text"));
    EXPECT_TRUE(items[items.size() - 2]->isSeparator());
    items.back()->trigger();
    menu->close();
    ASSERT_TRUE(toastShows(QStringLiteral("Copied 2 lines")));
}

TEST_F(CopyTextWindowTest, TheStepButtonPlacesNumbersWhereTheCanvasIsClicked) {
    openImage(400, 300);
    QToolButton* step = tool(Tool::step);
    EXPECT_EQ(step->toolTip(), QStringLiteral("Step"));
    EXPECT_FALSE(step->icon().isNull());
    QTest::mouseClick(step, Qt::LeftButton);
    EXPECT_EQ(window->model().activeTool(), Tool::step);
    EXPECT_TRUE(textControls()->isVisible()); // the font size, alone
    EXPECT_FALSE(fontFamilyPopUp()->isVisible());
    EXPECT_TRUE(fontSizePopUp()->isVisible());

    for (QPointF p : {QPointF(100, 100), QPointF(200, 120)}) {
        QTest::mouseClick(canvas(), Qt::LeftButton, {}, at(p));
    }
    ASSERT_EQ(doc().annotations().size(), 2u);
    EXPECT_EQ(steps::stepNumber(doc().annotations()[1]), 2);
    EXPECT_NEAR(geometry::bounds(doc().annotations()[1]).center().x(), 200, 1);

    // Right-clicking a step offers the renumbering, disabled while the steps are 1, 2.
    QAction* renumber = action(contextMenuAt({100, 100}), QStringLiteral("Renumber Steps"));
    ASSERT_NE(renumber, nullptr);
    EXPECT_FALSE(renumber->isEnabled());
}

TEST(StatusToast, SitsAtTheBottomCentreHoldingItsWholeMessage) {
    QWidget host;
    host.resize(600, 400);
    host.show();
    StatusToast toast(&host);
    toast.showMessage(QStringLiteral("Copied 10 lines"));
    ASSERT_TRUE(toast.isVisible());
    QFont bold = toast.font();
    bold.setBold(true);
    // Painted in bold inside 14 units of padding each side, nothing cut short.
    EXPECT_EQ(QFontMetrics(bold).elidedText(toast.message(), Qt::ElideRight, toast.width() - 28),
              toast.message());
    EXPECT_NEAR(toast.geometry().center().x(), 300, 1);
    EXPECT_GT(toast.y(), 300);
    EXPECT_LT(toast.geometry().bottom(), 400);

    // A new message replaces the old one and follows the host's size.
    toast.showMessage(QStringLiteral("No text found"), 0);
    host.resize(300, 200);
    EXPECT_EQ(toast.message(), QStringLiteral("No text found"));
    EXPECT_NEAR(toast.geometry().center().x(), 150, 1);
    EXPECT_LT(toast.geometry().bottom(), 200);
}

} // namespace vellumix
