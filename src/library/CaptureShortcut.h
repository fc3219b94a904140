#pragma once

#include <QKeySequence>
#include <QString>

#include <cstdint>
#include <optional>
#include <span>

namespace vellumix::shortcut {

// Stored modifier bits (the encoding "captureModifierFlags" keeps on disk) and the keys they
// stand for on a PC keyboard.
constexpr std::uint32_t ctrlFlag = 0x100;   // stored as "command"
constexpr std::uint32_t shiftFlag = 0x200;  // "shift"
constexpr std::uint32_t altFlag = 0x800;    // "option"
constexpr std::uint32_t superFlag = 0x1000; // "control"
constexpr std::uint32_t modifierMask = ctrlFlag | shiftFlag | altFlag | superFlag;

/// Key code 0 is the A key's position, but a stored 0 always means "no shortcut".
constexpr std::uint32_t noKeyCode = 0;
/// Print Screen, the key desktops give their own screenshot tool; it sits where F13 would.
constexpr std::uint32_t printKeyCode = 105;

/// One key a shortcut can use: its layout-independent stored code, its display name, the X
/// keysym of its unshifted symbol (from X11/keysymdef.h) and Qt's key.
struct ShortcutKey {
    std::uint32_t code;
    QStringView name;
    std::uint32_t keysym;
    int qtKey;
};

/// Every key a shortcut can be recorded with, in one table.
std::span<const ShortcutKey> shortcutKeys();

const ShortcutKey* keyForCode(std::uint32_t code);
/// Letters match in either case, so a keysym read at any level finds its key.
const ShortcutKey* keyForKeysym(std::uint32_t keysym);
/// Also accepts the shifted digits of the US layout ("^" is the key "6") and Backtab, for
/// sessions where the physical key's unshifted symbol cannot be asked for.
const ShortcutKey* keyForQtKey(int qtKey);

/// "A", "6", "F5", "Return", "Print"; an unnamed code reads "(24)".
QString keyName(std::uint32_t code);
/// "Ctrl+Shift+6": modifiers in the order Ctrl, Alt, Shift, Super, then the key's name. Empty
/// for key code 0.
QString displayText(std::uint32_t code, std::uint32_t flags);
/// The key sequence shown beside the status menu's "Capture" item; empty for no shortcut or a
/// key Qt cannot name.
QKeySequence menuKeySequence(std::uint32_t code, std::uint32_t flags);

/// Only the four shortcut modifiers count; others (Keypad, GroupSwitch) are dropped.
std::uint32_t flagsFromModifiers(Qt::KeyboardModifiers modifiers);
Qt::KeyboardModifiers modifiersFromFlags(std::uint32_t flags);

/// Whether a key pressed while recording becomes the shortcut: it needs a modifier besides
/// Shift, so that plain typing is never taken.
bool isRecordable(std::uint32_t flags);

/// The recorder's label: the shortcut, "Click to record…" (or "—" when disabled) for none,
/// "Recording…" while it records.
QString recorderText(std::uint32_t code, std::uint32_t flags, bool enabled, bool recording);

/// Whether a key press (flags in the stored encoding) starts a capture and is swallowed. The
/// custom shortcut must match exactly, extra modifiers included. With `overrideNative` on,
/// plain Print is taken as well; Print with modifiers only when it is the custom shortcut.
bool startsCapture(std::uint32_t keyCode, std::uint32_t flags, std::uint32_t customCode,
                   std::uint32_t customFlags, bool overrideNative);

} // namespace vellumix::shortcut
