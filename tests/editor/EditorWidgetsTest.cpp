#include "editor/ColorWell.h"
#include "editor/SplitButtons.h"

#include <QAccessible>
#include <QAccessibleActionInterface>
#include <QApplication>
#include <QColorDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QStyleFactory>
#include <QTest>
#include <QTextEdit>
#include <QVBoxLayout>

#include <gtest/gtest.h>
#include <memory>

using namespace vellumix;

namespace {

void showActive(QWidget& window) {
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
}

// One editor-like window: a focusable plain button, the split button inside a container (the
// footer group), a line edit (the prompt field) and a text editor (a text box being edited).
struct FooterWindow {
    QWidget window;
    QPushButton* other = new QPushButton(QStringLiteral("Copy"));
    QWidget* footer = new QWidget;
    SaveSplitButton* button = new SaveSplitButton(footer);
    QLineEdit* prompt = new QLineEdit;
    QTextEdit* textBox = new QTextEdit;
    int mainClicks = 0;
    int chevronClicks = 0;

    FooterWindow() {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(other);
        layout->addWidget(footer);
        layout->addWidget(prompt);
        layout->addWidget(textBox);
        button->setTitle(QStringLiteral("Save"));
        button->setFixedSize(120, 30);
        footer->setFixedSize(130, 40);
        button->onMainClick = [this] { ++mainClicks; };
        button->onChevronClick = [this] { ++chevronClicks; };
    }
};

void pressAt(QWidget* widget, int x) {
    const QPoint point(x, widget->height() / 2);
    QTest::mousePress(widget, Qt::LeftButton, {}, point);
    QTest::mouseRelease(widget, Qt::LeftButton, {}, point);
}

} // namespace

TEST(SaveSplitButton, PressSplitsAtTheChevronBoundary) {
    FooterWindow w;
    showActive(w.window);
    SaveSplitButton* b = w.button;
    EXPECT_EQ(b->chevronRect(), QRect(96, 0, 24, 30));

    pressAt(b, 96); // width - 24: the first column of the chevron
    EXPECT_EQ(w.chevronClicks, 1);
    EXPECT_EQ(w.mainClicks, 0);
    pressAt(b, 95); // width - 25: the divider column still belongs to the main part
    EXPECT_EQ(w.mainClicks, 1);
    EXPECT_EQ(w.chevronClicks, 1);
    pressAt(b, 0);
    pressAt(b, 119);
    EXPECT_EQ(w.mainClicks, 2);
    EXPECT_EQ(w.chevronClicks, 2);

    // The callback runs on the press itself, before any release.
    QTest::mousePress(b, Qt::LeftButton, {}, QPoint(10, 15));
    EXPECT_EQ(w.mainClicks, 3);
    QTest::mouseRelease(b, Qt::LeftButton, {}, QPoint(10, 15));

    QTest::mouseClick(b, Qt::RightButton, {}, QPoint(10, 15));
    EXPECT_EQ(w.mainClicks, 3);
    EXPECT_EQ(w.chevronClicks, 2);
}

TEST(SaveSplitButton, ReturnRunsTheMainPartOnlyWhileShownAndEnabled) {
    FooterWindow w;
    showActive(w.window);
    w.other->setFocus();
    ASSERT_EQ(QApplication::focusWidget(), w.other);

    QTest::keyClick(w.other, Qt::Key_Return);
    EXPECT_EQ(w.mainClicks, 1);
    QTest::keyClick(w.other, Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(w.mainClicks, 2);
    // The modifiers held do not matter.
    int expected = w.mainClicks;
    for (const Qt::KeyboardModifiers held :
         {Qt::KeyboardModifiers(Qt::ShiftModifier), Qt::KeyboardModifiers(Qt::ControlModifier),
          Qt::KeyboardModifiers(Qt::AltModifier), Qt::ControlModifier | Qt::ShiftModifier}) {
        QTest::keyClick(w.other, Qt::Key_Return, held);
        QTest::keyClick(w.other, Qt::Key_Enter, held | Qt::KeypadModifier);
        expected += 2;
        EXPECT_EQ(w.mainClicks, expected) << held.toInt();
    }
    w.mainClicks = 2;

    w.footer->hide(); // an ancestor hidden (the image-edit footer is shown instead)
    QTest::keyClick(w.other, Qt::Key_Return);
    EXPECT_EQ(w.mainClicks, 2);
    w.footer->show();
    w.button->setEnabled(false);
    QTest::keyClick(w.other, Qt::Key_Return);
    EXPECT_EQ(w.mainClicks, 2);
    w.button->setEnabled(true);
    QTest::keyClick(w.other, Qt::Key_Return);
    EXPECT_EQ(w.mainClicks, 3);
    EXPECT_EQ(w.chevronClicks, 0);
}

TEST(SaveSplitButton, ReturnStaysWithAFocusedLineEditOrTextEditor) {
    FooterWindow w;
    showActive(w.window);
    int submitted = 0;
    QObject::connect(w.prompt, &QLineEdit::returnPressed, [&] { ++submitted; });

    w.prompt->setFocus();
    QTest::keyClicks(w.prompt, QStringLiteral("circle the logo"));
    QTest::keyClick(w.prompt, Qt::Key_Return);
    QTest::keyClick(w.prompt, Qt::Key_Enter, Qt::KeypadModifier);
    EXPECT_EQ(submitted, 2);
    EXPECT_EQ(w.mainClicks, 0);

    w.textBox->setFocus();
    QTest::keyClicks(w.textBox, QStringLiteral("ab"));
    QTest::keyClick(w.textBox, Qt::Key_Return);
    QTest::keyClick(w.textBox, Qt::Key_Return, Qt::ShiftModifier);
    QTest::keyClicks(w.textBox, QStringLiteral("c"));
    EXPECT_EQ(w.textBox->toPlainText(), QStringLiteral("ab\n\nc"));
    EXPECT_EQ(w.mainClicks, 0);

    // Once the field loses the focus, Return saves again.
    w.other->setFocus();
    QTest::keyClick(w.other, Qt::Key_Return);
    EXPECT_EQ(w.mainClicks, 1);
    EXPECT_EQ(submitted, 2);
}

TEST(SaveSplitButton, KeyboardFocusAndAccessibility) {
    FooterWindow w;
    showActive(w.window);

    // A click leaves the focus where it was; Tab reaches the button.
    w.other->setFocus();
    QTest::mouseClick(w.button, Qt::LeftButton, {}, QPoint(10, 15));
    EXPECT_EQ(QApplication::focusWidget(), w.other);
    QTest::keyClick(w.other, Qt::Key_Tab);
    ASSERT_EQ(QApplication::focusWidget(), w.button);
    QTest::keyClick(w.button, Qt::Key_Space);
    EXPECT_EQ(w.mainClicks, 2);
    QTest::keyClick(w.button, Qt::Key_Down, Qt::AltModifier);
    EXPECT_EQ(w.chevronClicks, 1);

    QAccessibleInterface* a11y = QAccessible::queryAccessibleInterface(w.button);
    ASSERT_NE(a11y, nullptr);
    EXPECT_EQ(a11y->role(), QAccessible::ButtonMenu);
    EXPECT_EQ(a11y->text(QAccessible::Name), QStringLiteral("Save"));
    EXPECT_TRUE(a11y->text(QAccessible::Description).contains(QStringLiteral("menu")));
    w.button->setTitle(QStringLiteral("Export to Desktop"));
    EXPECT_EQ(a11y->text(QAccessible::Name), QStringLiteral("Export to Desktop"));
    QAccessibleActionInterface* actions = a11y->actionInterface();
    ASSERT_NE(actions, nullptr);
    EXPECT_TRUE(actions->actionNames().contains(QAccessibleActionInterface::pressAction()));
    actions->doAction(QAccessibleActionInterface::showMenuAction());
    EXPECT_EQ(w.chevronClicks, 2);
    actions->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(w.mainClicks, 3);
}

TEST(AIProviderButton, AnyPressRunsOnClick) {
    QWidget window;
    auto* provider = new AIProviderButton(&window);
    provider->setTitle(QStringLiteral("Google Gemini (Flash)"));
    provider->setFixedSize(180, 28);
    int clicks = 0;
    provider->onClick = [&] { ++clicks; };
    showActive(window);

    for (const int x : {0, 90, 155, 156, 179}) {
        pressAt(provider, x);
    }
    EXPECT_EQ(clicks, 5);
    provider->setFocus(Qt::TabFocusReason);
    QTest::keyClick(provider, Qt::Key_Space);
    EXPECT_EQ(clicks, 6);
    EXPECT_GE(provider->sizeHint().width(),
              provider->fontMetrics().horizontalAdvance(provider->title()) + 24);

    QAccessibleInterface* a11y = QAccessible::queryAccessibleInterface(provider);
    ASSERT_NE(a11y, nullptr);
    EXPECT_EQ(a11y->role(), QAccessible::Button);
    EXPECT_EQ(a11y->text(QAccessible::Name), QStringLiteral("Google Gemini (Flash)"));
}

TEST(SaveSplitButton, OnlyThePressedSideIsDrawnSunken) {
    const std::unique_ptr<QStyle> fusion(QStyleFactory::create(QStringLiteral("Fusion")));
    FooterWindow w;
    w.button->setStyle(fusion.get());
    showActive(w.window);
    const QImage idle = w.button->grab().toImage();

    QTest::mousePress(w.button, Qt::LeftButton, {}, QPoint(20, 15));
    const QImage mainDown = w.button->grab().toImage();
    QTest::mouseRelease(w.button, Qt::LeftButton, {}, QPoint(20, 15));
    QTest::mousePress(w.button, Qt::LeftButton, {}, QPoint(110, 15));
    const QImage chevronDown = w.button->grab().toImage();
    QTest::mouseRelease(w.button, Qt::LeftButton, {}, QPoint(110, 15));
    const QImage released = w.button->grab().toImage();

    const auto sameIn = [](const QImage& a, const QImage& b, const QRect& area) {
        return a.copy(area) == b.copy(area);
    };
    const QRect mainSide(0, 0, 95, 30);
    const QRect chevronSide(96, 0, 24, 30);
    EXPECT_FALSE(sameIn(idle, mainDown, mainSide));
    EXPECT_TRUE(sameIn(idle, mainDown, chevronSide));
    EXPECT_TRUE(sameIn(idle, chevronDown, mainSide));
    EXPECT_FALSE(sameIn(idle, chevronDown, chevronSide));
    EXPECT_EQ(released, idle);
}

// --- Colour wells and the shared panel ---

namespace {

class ColorWellTest : public ::testing::Test {
protected:
    QWidget window;
    ColorWell* stroke = new ColorWell(QStringLiteral("Stroke color"), true, &window);
    ColorWell* fill = new ColorWell(QStringLiteral("Fill color"), true, &window);
    std::vector<Color> strokeChanges;
    std::vector<Color> fillChanges;
    SharedColorPanel& panel = SharedColorPanel::instance();

    void SetUp() override {
        auto* layout = new QHBoxLayout(&window);
        layout->addWidget(stroke);
        layout->addWidget(fill);
        stroke->onColorChanged = [this](const Color& c) { strokeChanges.push_back(c); };
        fill->onColorChanged = [this](const Color& c) { fillChanges.push_back(c); };
        stroke->setColor(Color::rgb(1, 0, 0));
        fill->setColor(Color::rgb(0, 0, 1, 0.5));
        showActive(window);
    }
    void TearDown() override {
        panel.close();
        panel.redirect = nullptr;
    }

    static void click(ColorWell* well) {
        QTest::mouseClick(well->swatchButton(), Qt::LeftButton, {}, QPoint(11, 11));
    }
    // The dialog's own fields, found by their labels as a user finds them.
    QWidget* dialogField(const QString& labelPart) {
        for (QLabel* label : panel.dialog()->findChildren<QLabel*>()) {
            if (label->text().contains(labelPart) && label->buddy()) {
                return label->buddy();
            }
        }
        return nullptr;
    }
    void typeInDialog(const QString& labelPart, const QString& text) {
        QWidget* field = dialogField(labelPart);
        ASSERT_NE(field, nullptr) << labelPart.toStdString();
        QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(field, text);
    }
};

void expectColor(const Color& actual, double r, double g, double b, double a,
                 double tolerance = 1e-4) {
    EXPECT_NEAR(actual.red, r, tolerance);
    EXPECT_NEAR(actual.green, g, tolerance);
    EXPECT_NEAR(actual.blue, b, tolerance);
    EXPECT_NEAR(actual.alpha, a, tolerance);
}

} // namespace

TEST_F(ColorWellTest, SwatchClickOpensTheSharedPanelForThatWell) {
    EXPECT_FALSE(panel.isVisible());
    click(stroke);
    EXPECT_TRUE(panel.isVisible());
    EXPECT_EQ(panel.target(), stroke);
    EXPECT_EQ(panel.dialog()->currentColor().rgba(), qRgba(255, 0, 0, 255));

    click(fill); // re-targets the one panel
    EXPECT_EQ(panel.target(), fill);
    EXPECT_EQ(panel.dialog()->currentColor().rgba(), qRgba(0, 0, 255, 128));
    EXPECT_TRUE(strokeChanges.empty());
    EXPECT_TRUE(fillChanges.empty());

    // A well showing no colour opens the panel on the opaque colour.
    fill->setColor(Color::rgb(0.2, 0.4, 0.8, 0));
    click(stroke);
    click(fill);
    EXPECT_EQ(panel.dialog()->currentColor().rgba(), qRgba(51, 102, 204, 255));
    EXPECT_TRUE(fillChanges.empty());
}

TEST_F(ColorWellTest, DialogEditsReachTheTargetWellWithAlpha) {
    click(stroke);
    typeInDialog(QStringLiteral("HTML"), QStringLiteral("#3366cc"));
    ASSERT_FALSE(strokeChanges.empty());
    expectColor(strokeChanges.back(), 0.2, 0.4, 0.8, 1);
    typeInDialog(QStringLiteral("lpha"), QStringLiteral("128"));
    expectColor(strokeChanges.back(), 0.2, 0.4, 0.8, 128.0 / 255);
    expectColor(stroke->color(), 0.2, 0.4, 0.8, 128.0 / 255);
    EXPECT_TRUE(fillChanges.empty());
    expectColor(fill->color(), 0, 0, 1, 0.5);
}

TEST_F(ColorWellTest, RedirectTakesTheChangeInsteadOfTheWell) {
    std::vector<Color> redirected;
    bool editingText = true;
    panel.redirect = [&](const Color& c) {
        if (editingText) {
            redirected.push_back(c);
        }
        return editingText;
    };
    click(stroke);
    typeInDialog(QStringLiteral("HTML"), QStringLiteral("#00ff00"));
    ASSERT_FALSE(redirected.empty());
    expectColor(redirected.back(), 0, 1, 0, 1);
    EXPECT_TRUE(strokeChanges.empty());
    expectColor(stroke->color(), 1, 0, 0, 1);

    editingText = false;
    typeInDialog(QStringLiteral("HTML"), QStringLiteral("#ffff00"));
    ASSERT_FALSE(strokeChanges.empty());
    expectColor(strokeChanges.back(), 1, 1, 0, 1);
}

TEST_F(ColorWellTest, ColoursOutsideSrgbAreConvertedAndClamped) {
    // Extended RGB: 1.5 and -0.25 lie outside sRGB; the alpha 0.6 is stored as a half float.
    expectColor(SharedColorPanel::srgbColor(QColor::fromRgbF(1.5f, -0.25f, 0.5f, 0.6f)), 1, 0, 0.5,
                0.6, 1e-3);
    // HSV 120°, full saturation, half value is (0, 0.5, 0).
    expectColor(SharedColorPanel::srgbColor(QColor::fromHsvF(1.0f / 3, 1, 0.5f)), 0, 0.5, 0, 1,
                1e-3);
    // CMYK with magenta and yellow full is red.
    expectColor(SharedColorPanel::srgbColor(QColor::fromCmykF(0, 1, 1, 0)), 1, 0, 0, 1);

    // A platform colour helper can hand over such colours; none reaches the well raw.
    click(stroke);
    emit panel.dialog()->currentColorChanged(QColor::fromRgbF(2.0f, 0.5f, -1.0f, 1.0f));
    ASSERT_EQ(strokeChanges.size(), 1u);
    expectColor(strokeChanges.back(), 1, 0.5, 0, 1, 1e-3);
}

TEST_F(ColorWellTest, ClearButtonAndSetColorMakeNoColourCallback) {
    int clears = 0;
    stroke->onClear = [&] { ++clears; };
    QTest::mouseClick(stroke->clearButton(), Qt::LeftButton);
    EXPECT_EQ(clears, 1);
    EXPECT_TRUE(stroke->color().isClear());
    EXPECT_TRUE(strokeChanges.empty());

    ColorWell plain(QStringLiteral("Font color"), false);
    EXPECT_EQ(plain.clearButton(), nullptr);

    // setColor shows the colour, in the panel too when it follows the well, without a callback.
    click(fill);
    fill->setColor(Color::rgb(1, 1, 0, 1));
    EXPECT_EQ(panel.dialog()->currentColor().rgba(), qRgba(255, 255, 0, 255));
    panel.showColor(Color::rgb(0, 1, 1, 1)); // the selection changed
    EXPECT_EQ(panel.dialog()->currentColor().rgba(), qRgba(0, 255, 255, 255));
    EXPECT_TRUE(fillChanges.empty());
    EXPECT_TRUE(strokeChanges.empty());
}

TEST_F(ColorWellTest, ClosedOrDestroyedWellsLeaveNoTarget) {
    // The canvas closes the panel on a mouse press; later dialog edits reach nobody.
    click(stroke);
    panel.close();
    EXPECT_FALSE(panel.isVisible());
    EXPECT_EQ(panel.target(), nullptr);
    typeInDialog(QStringLiteral("HTML"), QStringLiteral("#123456"));
    EXPECT_TRUE(strokeChanges.empty());

    // Deleting the followed well (its editor went away) clears the target and closes the panel.
    auto* doomed = new ColorWell(QStringLiteral("Font color"), false, &window);
    window.layout()->addWidget(doomed);
    doomed->show();
    int doomedChanges = 0;
    doomed->onColorChanged = [&](const Color&) { ++doomedChanges; };
    click(doomed);
    ASSERT_EQ(panel.target(), doomed);
    delete doomed;
    EXPECT_EQ(panel.target(), nullptr);
    EXPECT_FALSE(panel.isVisible());
    click(fill); // and takes the next well
    EXPECT_EQ(panel.target(), fill);

    // Closing the window hides its wells: the panel closes with them.
    click(stroke);
    window.close();
    EXPECT_EQ(panel.target(), nullptr);
    EXPECT_FALSE(panel.isVisible());
}

TEST_F(ColorWellTest, SwatchLooksRightOnLightAndDarkPalettes) {
    const std::unique_ptr<QStyle> fusion(QStyleFactory::create(QStringLiteral("Fusion")));
    struct Case {
        QColor window, base, mid, highlight;
    };
    const Case cases[] = {
        {QColor(0xef, 0xef, 0xef), Qt::white, QColor(0xa0, 0xa0, 0xa0), QColor(0x30, 0x8c, 0xc6)},
        {QColor(0x2a, 0x2e, 0x32), QColor(0x1b, 0x1e, 0x20), QColor(0x5a, 0x5f, 0x64),
         QColor(0x3d, 0xae, 0xe9)}};
    for (const Case& c : cases) {
        QPalette palette;
        palette.setColor(QPalette::Window, c.window);
        palette.setColor(QPalette::Base, c.base);
        palette.setColor(QPalette::Mid, c.mid);
        palette.setColor(QPalette::Highlight, c.highlight);
        ColorWell well(QStringLiteral("Stroke color"), true);
        well.setStyle(fusion.get());
        well.setPalette(palette);
        well.move(400, 400); // away from the pointer, which would light the frame up
        well.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&well));
        QWidget* swatch = well.swatchButton();
        const auto pixel = [&](int x, int y) { return swatch->grab().toImage().pixelColor(x, y); };

        well.setColor(Color::rgb(0, 0.5, 0));
        EXPECT_EQ(pixel(0, 11), c.mid);
        EXPECT_EQ(pixel(21, 21), c.mid);
        EXPECT_EQ(pixel(11, 11), QColor(0, 128, 0));

        // Half-transparent red over the checkerboard: a light and a grey square differ.
        well.setColor(Color::rgb(1, 0, 0, 0.5));
        EXPECT_NE(pixel(3, 3), pixel(8, 3));
        EXPECT_EQ(pixel(3, 3).red(), 255);

        // No colour: the base colour with a red slash from bottom-left to top-right.
        well.setColor(Color::clear());
        EXPECT_EQ(pixel(4, 4), c.base);
        const QColor onSlash = pixel(11, 10);
        EXPECT_GT(onSlash.red(), onSlash.green() + 60);

        // Followed by the panel: the frame takes the highlight colour.
        click(&well);
        EXPECT_EQ(pixel(0, 11), c.highlight);
        panel.close();
        EXPECT_EQ(pixel(0, 11), c.mid);
    }
}
