#include "library/PresetMenu.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QTemporaryDir>
#include <QTest>
#include <QWidgetAction>

#include <functional>
#include <gtest/gtest.h>

using namespace vellumix;

namespace {

// Colours no style draws with, so that pixels tell the highlight and the label apart.
const QColor highlight(200, 0, 200);
const QColor highlightedText(255, 255, 0);
const QColor windowText(0, 0, 0);

bool near(const QColor& a, const QColor& b, int tolerance = 40) {
    return a.alpha() > 200 && std::abs(a.red() - b.red()) <= tolerance &&
           std::abs(a.green() - b.green()) <= tolerance &&
           std::abs(a.blue() - b.blue()) <= tolerance;
}

int countIn(const QImage& image, const QRect& area, const std::function<bool(QColor)>& test) {
    int count = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            count += test(image.pixelColor(x, y));
        }
    }
    return count;
}

// Hand-worked places in a 188 × 34 row.
const QRect labelArea(68, 8, 80, 18);
const QRect trashArea(164, 10, 14, 14);
const QPoint rowMiddle(100, 17);
const QPoint trashMiddle(171, 17);

class PresetMenuTest : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QDateTime now;
    StyleLibrary library{dir.path(), [this] { return now; }};
    PresetMenuController controller{library, Tool::rect};
    std::vector<PresetEntry> applied;
    std::vector<PresetEntry> deleted;

    void SetUp() override {
        // Away from where menus open, whatever the last test did.
        QCursor::setPos(0, 0);
        QApplication::processEvents();
        controller.onApply = [this](const PresetEntry& p) { applied.push_back(p); };
        // As the editor does: the trash deletes from the library.
        controller.onDelete = [this](const PresetEntry& p) {
            deleted.push_back(p);
            library.deletePreset(p.id, controller.tool());
        };
        QPalette palette = controller.menu()->palette();
        palette.setColor(QPalette::Highlight, highlight);
        palette.setColor(QPalette::HighlightedText, highlightedText);
        palette.setColor(QPalette::WindowText, windowText);
        controller.menu()->setPalette(palette);
    }
    void TearDown() override { controller.menu()->close(); }

    void save(QDate day, QTime time, const AnnotationStyle& style = {}, Tool tool = Tool::rect) {
        now = QDateTime(day, time, Qt::LocalTime);
        library.addPreset(style, tool);
    }
    QMenu* open() {
        controller.rebuild();
        QMenu* menu = controller.menu();
        menu->popup(QPoint(40, 40));
        EXPECT_TRUE(QTest::qWaitForWindowExposed(menu));
        return menu;
    }
    std::vector<PresetRowView*> rows() const {
        std::vector<PresetRowView*> list;
        for (QAction* action : controller.menu()->actions()) {
            if (auto* row = qobject_cast<QWidgetAction*>(action)) {
                list.push_back(qobject_cast<PresetRowView*>(row->defaultWidget()));
            }
        }
        return list;
    }
    QStringList labels() const {
        QStringList list;
        for (PresetRowView* row : rows()) {
            list << row->label();
        }
        return list;
    }
    // Clicks and moves go through the menu's window, so Qt finds the row or trash under them.
    void click(PresetRowView* row, QPoint at) {
        QMenu* menu = controller.menu();
        QTest::mouseClick(menu->windowHandle(), Qt::LeftButton, {}, row->mapTo(menu, at));
    }
    void key(Qt::Key key) { QTest::keyClick(controller.menu()->windowHandle(), key); }
    bool isEmptyMenu() const {
        const QList<QAction*> actions = controller.menu()->actions();
        return actions.size() == 1 && !qobject_cast<QWidgetAction*>(actions[0]) &&
               actions[0]->text() == QStringLiteral("No saved styles") && !actions[0]->isEnabled();
    }
};

} // namespace

TEST_F(PresetMenuTest, RowsShowTheToolsPresetsNewestFirstByTheirTimes) {
    open(); // no file yet
    EXPECT_TRUE(isEmptyMenu());
    controller.menu()->close();
    AnnotationStyle thick;
    thick.lineWidth = 5;
    save({2025, 3, 7}, {14, 25, 59}, thick);
    save({2025, 3, 7}, {15, 0}, {}, Tool::arrow);
    save({2025, 11, 2}, {9, 5});
    open();
    EXPECT_EQ(labels(), (QStringList{"11/2, 9:05 AM", "3/7, 2:25 PM"}));
    ASSERT_EQ(rows().size(), 2u);
    EXPECT_EQ(rows()[1]->style(), thick);
    EXPECT_EQ(rows()[0]->tool(), Tool::rect);
    EXPECT_EQ(rows()[0]->height(), 34);
    EXPECT_GE(rows()[0]->width(), 188);
    // Screen readers read each row by its time, through the menu and the row alike.
    EXPECT_EQ(controller.menu()->actions()[1]->text(), QStringLiteral("3/7, 2:25 PM"));
    QAccessibleInterface* row = QAccessible::queryAccessibleInterface(rows()[1]);
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->text(QAccessible::Name), QStringLiteral("3/7, 2:25 PM"));

    // Each showing reads the file again; another tool sees only its own.
    controller.menu()->close();
    save({2025, 12, 1}, {0, 30});
    open();
    EXPECT_EQ(labels(), (QStringList{"12/1, 12:30 AM", "11/2, 9:05 AM", "3/7, 2:25 PM"}));
    controller.menu()->close();
    controller.setTool(Tool::arrow);
    open();
    EXPECT_EQ(labels(), QStringList{"3/7, 3:00 PM"});
    controller.menu()->close();
    controller.setTool(Tool::oval); // presets of other tools only
    open();
    EXPECT_TRUE(isEmptyMenu());
}

TEST_F(PresetMenuTest, ClickingARowAppliesItsPresetAndClosesTheMenu) {
    AnnotationStyle blue;
    blue.strokeColor = Color::rgb(0, 0, 1);
    save({2025, 3, 7}, {14, 25}, blue);
    save({2025, 3, 8}, {10, 0});
    QMenu* menu = open();
    const QString olderId = library.loadPresets()[Tool::rect][1].id;
    click(rows()[1], rowMiddle);
    ASSERT_EQ(applied.size(), 1u);
    EXPECT_EQ(applied[0].id, olderId);
    EXPECT_EQ(applied[0].style, blue);
    EXPECT_FALSE(menu->isVisible());
    EXPECT_TRUE(deleted.empty());
}

TEST_F(PresetMenuTest, TrashDeletesThePresetAndItsRowWhileTheMenuStaysOpen) {
    save({2025, 3, 7}, {14, 25});
    save({2025, 3, 8}, {13, 5});
    save({2025, 3, 9}, {8, 15}, {}, Tool::arrow);
    QMenu* menu = open();
    ASSERT_EQ(rows()[0]->width(), 188); // short dates fit the usual width
    const int tallness = menu->height();
    QAbstractButton* trash = rows()[0]->findChild<QAbstractButton*>();
    ASSERT_NE(trash, nullptr);
    EXPECT_EQ(trash->geometry(), trashArea);
    QAccessibleInterface* trashAccessible = QAccessible::queryAccessibleInterface(trash);
    EXPECT_EQ(trashAccessible->text(QAccessible::Name), QStringLiteral("Delete"));
    EXPECT_EQ(trashAccessible->text(QAccessible::Description), QStringLiteral("Delete"));

    click(rows()[0], trashMiddle);
    ASSERT_EQ(deleted.size(), 1u);
    EXPECT_EQ(deleted[0].savedAt, QDateTime({2025, 3, 8}, {13, 5}, Qt::LocalTime));
    EXPECT_TRUE(applied.empty());
    EXPECT_TRUE(menu->isVisible());
    EXPECT_EQ(labels(), QStringList{"3/7, 2:25 PM"});
    EXPECT_EQ(library.loadPresets()[Tool::rect].size(), 1u);
    QTest::qWait(0); // the menu refits after the removal
    EXPECT_EQ(menu->height(), tallness - 34);

    // The last one goes: the menu says there is nothing left; the arrow's preset stays.
    click(rows()[0], trashMiddle);
    EXPECT_TRUE(menu->isVisible());
    EXPECT_TRUE(isEmptyMenu());
    EXPECT_TRUE(library.loadPresets()[Tool::rect].empty());
    EXPECT_EQ(library.loadPresets()[Tool::arrow].size(), 1u);
}

TEST_F(PresetMenuTest, HoverHighlightsTheRowAndTheTrashTurnsRed) {
    save({2025, 3, 7}, {14, 25});
    save({2025, 3, 8}, {13, 5});
    open();
    PresetRowView* first = rows()[0];
    PresetRowView* second = rows()[1];
    ASSERT_EQ(first->size(), QSize(188, 34)); // short dates fit the usual width
    const auto isHighlight = [](QColor c) { return near(c, highlight, 8); };
    const auto isLabel = [](QColor c) { return near(c, windowText); };
    const auto isLabelOnHighlight = [](QColor c) { return near(c, highlightedText); };
    const auto isRed = [](QColor c) { return c.red() > 180 && c.green() < 90 && c.blue() < 90; };

    QImage plain = first->grab().toImage();
    EXPECT_EQ(countIn(plain, first->rect(), isHighlight), 0);
    EXPECT_GT(countIn(plain, labelArea, isLabel), 20);
    EXPECT_GT(countIn(plain, trashArea, isLabel), 5);

    QTest::mouseMove(first, rowMiddle);
    EXPECT_TRUE(first->isRowHovered());
    QImage hovered = first->grab().toImage();
    // The rounded rectangle: x 4 to 154, y 2 to 32.
    EXPECT_TRUE(isHighlight(hovered.pixelColor(60, 3)));
    EXPECT_TRUE(isHighlight(hovered.pixelColor(153, 17)));
    for (QPoint outside : {QPoint(60, 1), QPoint(2, 17), QPoint(156, 17), QPoint(4, 2)}) {
        EXPECT_FALSE(isHighlight(hovered.pixelColor(outside))) << outside.x(); // (4, 2): rounded
    }
    EXPECT_GT(countIn(hovered, labelArea, isLabelOnHighlight), 20);
    EXPECT_EQ(countIn(hovered, labelArea, isLabel), 0);
    // The trash is beside the highlight, on the menu's background: it stays visible.
    EXPECT_GT(countIn(hovered, trashArea, isLabel), 5);
    EXPECT_EQ(countIn(hovered, trashArea, isRed), 0);

    // Onto the trash: it turns red, and the row stays highlighted.
    QTest::mouseMove(first, trashMiddle);
    EXPECT_TRUE(first->isTrashHovered());
    hovered = first->grab().toImage();
    EXPECT_GT(countIn(hovered, trashArea, isRed), 5);
    EXPECT_TRUE(isHighlight(hovered.pixelColor(60, 3)));

    // Onto the next row: the highlight moves with the pointer.
    QTest::mouseMove(second, rowMiddle);
    EXPECT_FALSE(first->isRowHovered());
    EXPECT_FALSE(first->isTrashHovered());
    EXPECT_EQ(countIn(first->grab().toImage(), first->rect(), isHighlight), 0);
    EXPECT_TRUE(isHighlight(second->grab().toImage().pixelColor(60, 3)));
}

TEST_F(PresetMenuTest, ArrowKeysReachTheRowsReturnAppliesDeleteDeletes) {
    save({2025, 3, 7}, {14, 25});
    save({2025, 3, 8}, {10, 0});
    save({2025, 3, 9}, {11, 45});
    QMenu* menu = open();
    const auto highlighted = [this] {
        QStringList list;
        for (PresetRowView* row : rows()) {
            if (row->isHighlighted()) {
                list << row->label();
            }
        }
        return list;
    };
    key(Qt::Key_Down);
    EXPECT_EQ(highlighted(), QStringList{"3/9, 11:45 AM"});
    EXPECT_TRUE(near(rows()[0]->grab().toImage().pixelColor(60, 3), highlight, 8));
    key(Qt::Key_Down);
    EXPECT_EQ(highlighted(), QStringList{"3/8, 10:00 AM"});

    // The pointer and the keys take turns: one highlight, and the keys go on from the pointer.
    QTest::mouseMove(rows()[0], QPoint(100, 17));
    EXPECT_EQ(highlighted(), QStringList{"3/9, 11:45 AM"});
    key(Qt::Key_Down);
    EXPECT_EQ(highlighted(), QStringList{"3/8, 10:00 AM"});

    // Delete removes the current row; the one below takes its place as current.
    key(Qt::Key_Delete);
    ASSERT_EQ(deleted.size(), 1u);
    EXPECT_EQ(deleted[0].savedAt, QDateTime({2025, 3, 8}, {10, 0}, Qt::LocalTime));
    EXPECT_TRUE(menu->isVisible());
    EXPECT_EQ(labels(), (QStringList{"3/9, 11:45 AM", "3/7, 2:25 PM"}));
    EXPECT_EQ(highlighted(), QStringList{"3/7, 2:25 PM"});

    key(Qt::Key_Up);
    EXPECT_EQ(highlighted(), QStringList{"3/9, 11:45 AM"});
    key(Qt::Key_Return);
    ASSERT_EQ(applied.size(), 1u);
    EXPECT_EQ(applied[0].savedAt, QDateTime({2025, 3, 9}, {11, 45}, Qt::LocalTime));
    EXPECT_FALSE(menu->isVisible());
}

TEST_F(PresetMenuTest, TextPresetsShowTheLetterAndLongDatesStayClearOfTheTrash) {
    AnnotationStyle text;
    text.fontColor = Color::rgb(0, 0.8, 0);
    text.strokeColor = Color::clear();
    controller.setTool(Tool::text);
    save({2025, 12, 28}, {22, 45}, text, Tool::text);
    save({2025, 3, 7}, {14, 25}, text, Tool::text);
    open();
    ASSERT_EQ(rows().size(), 2u);
    const auto isLetter = [](QColor c) { return c.green() > 150 && c.red() < 80 && c.blue() < 80; };
    const QImage shortRow = rows()[0]->grab().toImage();
    EXPECT_GT(countIn(shortRow, QRect(49, 8, 13, 18), isLetter), 10);
    EXPECT_EQ(countIn(shortRow, QRect(0, 0, 49, 34), isLetter), 0);

    // Rows share the menu's width; the label ends before the trash column, 24 from the right.
    const int width = rows()[0]->width();
    EXPECT_GE(width, 188);
    EXPECT_EQ(rows()[1]->width(), width);
    const QImage longRow = rows()[1]->grab().toImage();
    EXPECT_EQ(rows()[1]->label(), QStringLiteral("12/28, 10:45 PM"));
    const auto isLabel = [](QColor c) { return near(c, windowText); };
    EXPECT_GT(countIn(longRow, QRect(68, 8, 30, 18), isLabel), 10);
    EXPECT_EQ(countIn(longRow, QRect(width - 34, 8, 10, 18), isLabel), 0);
}
