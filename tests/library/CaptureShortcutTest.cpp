#include "library/CaptureShortcut.h"

#include <QSet>

#include <gtest/gtest.h>

using namespace vellumix;
using namespace vellumix::shortcut;

namespace {

// The stored defaults: Ctrl+Shift+6.
constexpr std::uint32_t six = 22;
constexpr std::uint32_t ctrlShift = 0x300;

} // namespace

TEST(CaptureShortcutMatch, DefaultsLeavePrintToTheDesktopAndTakeCtrlShift6) {
    EXPECT_FALSE(startsCapture(105, 0, six, ctrlShift, false));
    EXPECT_TRUE(startsCapture(six, 0x300, six, ctrlShift, false));
    EXPECT_FALSE(startsCapture(105, 0x300, six, ctrlShift, false));
    // Another key with the same modifiers, and the same key with fewer.
    EXPECT_FALSE(startsCapture(21, 0x300, six, ctrlShift, false));
    EXPECT_FALSE(startsCapture(six, 0x100, six, ctrlShift, false));
}

TEST(CaptureShortcutMatch, OverrideTakesPlainPrintOnly) {
    // Choosing the override stores no custom shortcut.
    EXPECT_TRUE(startsCapture(105, 0, 0, 0, true));
    EXPECT_FALSE(startsCapture(105, 0x100, 0, 0, true));
    EXPECT_FALSE(startsCapture(105, 0x1200, 0, 0, true));
    EXPECT_FALSE(startsCapture(six, 0x300, 0, 0, true));
    // A custom shortcut still works beside it, and Ctrl+Print fires when it is the custom one.
    EXPECT_TRUE(startsCapture(six, 0x300, six, ctrlShift, true));
    EXPECT_TRUE(startsCapture(105, 0x100, 105, 0x100, true));
    EXPECT_FALSE(startsCapture(105, 0x900, 105, 0x100, true));
    // Print itself is not special without the override.
    EXPECT_TRUE(startsCapture(105, 0x100, 105, 0x100, false));
    EXPECT_FALSE(startsCapture(105, 0, 105, 0x100, false));
}

TEST(CaptureShortcutMatch, ExtraModifiersDoNotMatchButOtherStateBitsAreIgnored) {
    EXPECT_FALSE(startsCapture(six, 0x1300, six, ctrlShift, false)); // Ctrl+Shift+Super+6
    EXPECT_FALSE(startsCapture(six, 0xB00, six, ctrlShift, false));  // Ctrl+Alt+Shift+6
    // Bits outside the four modifiers are no modifier at all.
    EXPECT_TRUE(startsCapture(six, 0x300 | 0x10000, six, ctrlShift, false));
    EXPECT_TRUE(startsCapture(105, 0x4000, 0, 0, true));
}

TEST(CaptureShortcutMatch, KeyCodeZeroIsNoShortcutEverywhere) {
    // 0 is where the A key sits, yet Ctrl+A never fires a stored "0".
    EXPECT_FALSE(startsCapture(0, 0x100, 0, 0x100, false));
    EXPECT_FALSE(startsCapture(0, 0, 0, 0, false));
    EXPECT_EQ(displayText(0, 0x100), QString());
    EXPECT_TRUE(menuKeySequence(0, 0x100).isEmpty());
    EXPECT_EQ(recorderText(0, 0x100, true, false), QStringLiteral("Click to record…"));
    EXPECT_EQ(recorderText(0, 0, false, false), QStringLiteral("—"));
    EXPECT_EQ(keyName(0), QStringLiteral("A"));
}

TEST(CaptureShortcutText, ModifiersInLinuxOrderThenTheKey) {
    EXPECT_EQ(displayText(22, 0x300), QStringLiteral("Ctrl+Shift+6"));
    EXPECT_EQ(displayText(122, 0x1B00), QStringLiteral("Ctrl+Alt+Shift+Super+F1"));
    EXPECT_EQ(displayText(26, 0x800), QStringLiteral("Alt+7"));
    EXPECT_EQ(displayText(105, 0), QStringLiteral("Print"));
    EXPECT_EQ(displayText(1, 0x1200), QStringLiteral("Shift+Super+S"));
    EXPECT_EQ(displayText(24, 0x100), QStringLiteral("Ctrl+(24)"));
}

TEST(CaptureShortcutText, KeyNamesBesideLettersAndDigits) {
    EXPECT_EQ(keyName(36), QStringLiteral("Return"));
    EXPECT_EQ(keyName(48), QStringLiteral("Tab"));
    EXPECT_EQ(keyName(49), QStringLiteral("Space"));
    EXPECT_EQ(keyName(51), QStringLiteral("Backspace"));
    EXPECT_EQ(keyName(103), QStringLiteral("F11"));
    EXPECT_EQ(keyName(4294967295u), QStringLiteral("(4294967295)"));
}

TEST(CaptureShortcutMenu, KeySequenceOfTheStoredShortcut) {
    EXPECT_EQ(menuKeySequence(22, 0x300), QKeySequence(QStringLiteral("Ctrl+Shift+6")));
    EXPECT_EQ(menuKeySequence(105, 0), QKeySequence(Qt::Key_Print));
    EXPECT_EQ(menuKeySequence(122, 0x1800), QKeySequence(Qt::META | Qt::ALT | Qt::Key_F1));
    EXPECT_EQ(menuKeySequence(36, 0x100), QKeySequence(Qt::CTRL | Qt::Key_Return));
    // Qt has no key for a code outside the table.
    EXPECT_TRUE(menuKeySequence(24, 0x300).isEmpty());
}

TEST(CaptureShortcutModifiers, FourModifiersBothWaysOthersDropped) {
    EXPECT_EQ(flagsFromModifiers(Qt::ControlModifier | Qt::ShiftModifier), 0x300u);
    EXPECT_EQ(flagsFromModifiers(Qt::AltModifier), 0x800u);
    EXPECT_EQ(flagsFromModifiers(Qt::MetaModifier), 0x1000u);
    EXPECT_EQ(flagsFromModifiers(Qt::ControlModifier | Qt::KeypadModifier), 0x100u);
    EXPECT_EQ(flagsFromModifiers(Qt::GroupSwitchModifier), 0u);
    EXPECT_EQ(modifiersFromFlags(0x1200), Qt::ShiftModifier | Qt::MetaModifier);
    EXPECT_EQ(modifiersFromFlags(0x900), Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(modifiersFromFlags(0x20000), Qt::KeyboardModifiers());
}

TEST(CaptureShortcutModifiers, RecordingNeedsAModifierOtherThanShiftAlone) {
    EXPECT_FALSE(isRecordable(0));
    EXPECT_FALSE(isRecordable(0x10200)); // Shift with a stray state bit
    EXPECT_TRUE(isRecordable(0xA00));
    EXPECT_TRUE(isRecordable(0x1000));
}

TEST(CaptureShortcutKeys, LookupsByKeysymAndQtKey) {
    // Keysyms as keysymdef.h has them.
    EXPECT_EQ(keyForCode(22)->keysym, 0x36u);
    EXPECT_EQ(keyForCode(105)->keysym, 0xff61u);
    EXPECT_EQ(keyForCode(122)->keysym, 0xffbeu);
    EXPECT_EQ(keyForCode(10), nullptr);

    EXPECT_EQ(keyForKeysym(0x36)->code, 22u);
    EXPECT_EQ(keyForKeysym(0x61)->code, 0u);     // a
    EXPECT_EQ(keyForKeysym(0x41)->code, 0u);     // A
    EXPECT_EQ(keyForKeysym(0x4d)->code, 46u);    // M
    EXPECT_EQ(keyForKeysym(0xffc9)->code, 111u); // F12
    EXPECT_EQ(keyForKeysym(0x5e), nullptr);      // asciicircum: a shifted symbol
    EXPECT_EQ(keyForKeysym(0xffe3), nullptr);    // Control_L

    EXPECT_EQ(keyForQtKey(Qt::Key_6)->code, 22u);
    EXPECT_EQ(keyForQtKey(Qt::Key_AsciiCircum)->code, 22u);
    EXPECT_EQ(keyForQtKey(Qt::Key_Exclam)->code, 18u);
    EXPECT_EQ(keyForQtKey(Qt::Key_Backtab)->code, 48u);
    EXPECT_EQ(keyForQtKey(Qt::Key_Print)->code, 105u);
    EXPECT_EQ(keyForQtKey(Qt::Key_Control), nullptr);
}

TEST(CaptureShortcutKeys, TableHasOneRowPerKeyInEveryColumn) {
    // 26 letters, 10 digits, Return, Tab, Space, Backspace, F1...F12 and Print.
    ASSERT_EQ(shortcutKeys().size(), 53u);
    QSet<std::uint32_t> codes, keysyms;
    QSet<int> qtKeys;
    QSet<QString> names;
    for (const ShortcutKey& key : shortcutKeys()) {
        codes.insert(key.code);
        keysyms.insert(key.keysym);
        qtKeys.insert(key.qtKey);
        names.insert(key.name.toString());
    }
    EXPECT_EQ(codes.size(), 53);
    EXPECT_EQ(keysyms.size(), 53);
    EXPECT_EQ(qtKeys.size(), 53);
    EXPECT_EQ(names.size(), 53);
}
