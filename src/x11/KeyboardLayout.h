#pragma once

#include <cstdint>
#include <optional>

class QKeyEvent;

namespace vellumix {

/// The keysym of an X keycode's first level (what the key types without Shift), on the X
/// display this process runs on; none outside an X11 session or for an unmapped keycode.
std::optional<std::uint32_t> unshiftedKeysym(std::uint32_t x11Keycode);

/// The stored shortcut key code of a key press, none for a key a shortcut cannot use. Read
/// from the physical key's unshifted symbol where X11 can tell it (Shift+6 is the key "6" on
/// every layout that has a 6 there), otherwise from Qt's key with the US layout's shifted
/// digits folded back.
std::optional<std::uint32_t> shortcutKeyCode(const QKeyEvent& event);

} // namespace vellumix
