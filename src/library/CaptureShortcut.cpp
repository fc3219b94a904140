#include "CaptureShortcut.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace vellumix::shortcut {

namespace {

// Codes are the key positions of the US-ANSI layout, so a stored shortcut names the same
// physical key whatever layout is active; keysyms are the unshifted symbols of those keys.
constexpr ShortcutKey keys[] = {
    {0, u"A", 0x61, Qt::Key_A},          {1, u"S", 0x73, Qt::Key_S},
    {2, u"D", 0x64, Qt::Key_D},          {3, u"F", 0x66, Qt::Key_F},
    {4, u"H", 0x68, Qt::Key_H},          {5, u"G", 0x67, Qt::Key_G},
    {6, u"Z", 0x7a, Qt::Key_Z},          {7, u"X", 0x78, Qt::Key_X},
    {8, u"C", 0x63, Qt::Key_C},          {9, u"V", 0x76, Qt::Key_V},
    {11, u"B", 0x62, Qt::Key_B},         {12, u"Q", 0x71, Qt::Key_Q},
    {13, u"W", 0x77, Qt::Key_W},         {14, u"E", 0x65, Qt::Key_E},
    {15, u"R", 0x72, Qt::Key_R},         {16, u"Y", 0x79, Qt::Key_Y},
    {17, u"T", 0x74, Qt::Key_T},         {18, u"1", 0x31, Qt::Key_1},
    {19, u"2", 0x32, Qt::Key_2},         {20, u"3", 0x33, Qt::Key_3},
    {21, u"4", 0x34, Qt::Key_4},         {22, u"6", 0x36, Qt::Key_6},
    {23, u"5", 0x35, Qt::Key_5},         {25, u"9", 0x39, Qt::Key_9},
    {26, u"7", 0x37, Qt::Key_7},         {28, u"8", 0x38, Qt::Key_8},
    {29, u"0", 0x30, Qt::Key_0},         {31, u"O", 0x6f, Qt::Key_O},
    {32, u"U", 0x75, Qt::Key_U},         {34, u"I", 0x69, Qt::Key_I},
    {35, u"P", 0x70, Qt::Key_P},         {36, u"Return", 0xff0d, Qt::Key_Return},
    {37, u"L", 0x6c, Qt::Key_L},         {38, u"J", 0x6a, Qt::Key_J},
    {40, u"K", 0x6b, Qt::Key_K},         {45, u"N", 0x6e, Qt::Key_N},
    {46, u"M", 0x6d, Qt::Key_M},         {48, u"Tab", 0xff09, Qt::Key_Tab},
    {49, u"Space", 0x20, Qt::Key_Space}, {51, u"Backspace", 0xff08, Qt::Key_Backspace},
    {96, u"F5", 0xffc2, Qt::Key_F5},     {97, u"F6", 0xffc3, Qt::Key_F6},
    {98, u"F7", 0xffc4, Qt::Key_F7},     {99, u"F3", 0xffc0, Qt::Key_F3},
    {100, u"F8", 0xffc5, Qt::Key_F8},    {101, u"F9", 0xffc6, Qt::Key_F9},
    {103, u"F11", 0xffc8, Qt::Key_F11},  {105, u"Print", 0xff61, Qt::Key_Print},
    {109, u"F10", 0xffc7, Qt::Key_F10},  {111, u"F12", 0xffc9, Qt::Key_F12},
    {118, u"F4", 0xffc1, Qt::Key_F4},    {120, u"F2", 0xffbf, Qt::Key_F2},
    {122, u"F1", 0xffbe, Qt::Key_F1},
};

// What Shift turns the digits into on a US keyboard, and Shift+Tab.
constexpr std::array<std::pair<int, int>, 11> shiftedUsKeys{{
    {Qt::Key_Exclam, Qt::Key_1},
    {Qt::Key_At, Qt::Key_2},
    {Qt::Key_NumberSign, Qt::Key_3},
    {Qt::Key_Dollar, Qt::Key_4},
    {Qt::Key_Percent, Qt::Key_5},
    {Qt::Key_AsciiCircum, Qt::Key_6},
    {Qt::Key_Ampersand, Qt::Key_7},
    {Qt::Key_Asterisk, Qt::Key_8},
    {Qt::Key_ParenLeft, Qt::Key_9},
    {Qt::Key_ParenRight, Qt::Key_0},
    {Qt::Key_Backtab, Qt::Key_Tab},
}};

template <class Predicate> const ShortcutKey* findKey(Predicate matches) {
    const auto found = std::find_if(std::begin(keys), std::end(keys), matches);
    return found == std::end(keys) ? nullptr : &*found;
}

} // namespace

std::span<const ShortcutKey> shortcutKeys() {
    return keys;
}

const ShortcutKey* keyForCode(std::uint32_t code) {
    return findKey([code](const ShortcutKey& key) { return key.code == code; });
}

const ShortcutKey* keyForKeysym(std::uint32_t keysym) {
    // XK_A...XK_Z sit 0x20 below their lower-case keysyms.
    if (keysym >= 0x41 && keysym <= 0x5a) {
        keysym += 0x20;
    }
    return findKey([keysym](const ShortcutKey& key) { return key.keysym == keysym; });
}

const ShortcutKey* keyForQtKey(int qtKey) {
    for (const auto& [shifted, plain] : shiftedUsKeys) {
        if (qtKey == shifted) {
            qtKey = plain;
            break;
        }
    }
    return findKey([qtKey](const ShortcutKey& key) { return key.qtKey == qtKey; });
}

QString keyName(std::uint32_t code) {
    if (const ShortcutKey* key = keyForCode(code)) {
        return key->name.toString();
    }
    return QLatin1Char('(') + QString::number(code) + QLatin1Char(')');
}

QString displayText(std::uint32_t code, std::uint32_t flags) {
    if (code == noKeyCode) {
        return {};
    }
    QStringList parts;
    if (flags & ctrlFlag) {
        parts << QStringLiteral("Ctrl");
    }
    if (flags & altFlag) {
        parts << QStringLiteral("Alt");
    }
    if (flags & shiftFlag) {
        parts << QStringLiteral("Shift");
    }
    if (flags & superFlag) {
        parts << QStringLiteral("Super");
    }
    parts << keyName(code);
    return parts.join(QLatin1Char('+'));
}

QKeySequence menuKeySequence(std::uint32_t code, std::uint32_t flags) {
    const ShortcutKey* key = code == noKeyCode ? nullptr : keyForCode(code);
    if (!key) {
        return {};
    }
    return QKeySequence(QKeyCombination(modifiersFromFlags(flags), Qt::Key(key->qtKey)));
}

std::uint32_t flagsFromModifiers(Qt::KeyboardModifiers modifiers) {
    std::uint32_t flags = 0;
    if (modifiers & Qt::ControlModifier) {
        flags |= ctrlFlag;
    }
    if (modifiers & Qt::ShiftModifier) {
        flags |= shiftFlag;
    }
    if (modifiers & Qt::AltModifier) {
        flags |= altFlag;
    }
    // Qt calls the Super (logo) key Meta on X11 and Wayland.
    if (modifiers & Qt::MetaModifier) {
        flags |= superFlag;
    }
    return flags;
}

Qt::KeyboardModifiers modifiersFromFlags(std::uint32_t flags) {
    Qt::KeyboardModifiers modifiers;
    modifiers.setFlag(Qt::ControlModifier, flags & ctrlFlag);
    modifiers.setFlag(Qt::ShiftModifier, flags & shiftFlag);
    modifiers.setFlag(Qt::AltModifier, flags & altFlag);
    modifiers.setFlag(Qt::MetaModifier, flags & superFlag);
    return modifiers;
}

bool isRecordable(std::uint32_t flags) {
    flags &= modifierMask;
    return flags != 0 && flags != shiftFlag;
}

QString recorderText(std::uint32_t code, std::uint32_t flags, bool enabled, bool recording) {
    if (recording) {
        return QStringLiteral("Recording…");
    }
    if (code == noKeyCode) {
        return enabled ? QStringLiteral("Click to record…") : QStringLiteral("—");
    }
    return displayText(code, flags);
}

bool startsCapture(std::uint32_t keyCode, std::uint32_t flags, std::uint32_t customCode,
                   std::uint32_t customFlags, bool overrideNative) {
    flags &= modifierMask;
    const bool customMatch =
        customCode != noKeyCode && keyCode == customCode && flags == customFlags;
    const bool nativeMatch = overrideNative && keyCode == printKeyCode;
    if (nativeMatch) {
        return flags == 0 || customMatch;
    }
    return customMatch;
}

} // namespace vellumix::shortcut
