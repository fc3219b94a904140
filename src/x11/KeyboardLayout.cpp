#include "KeyboardLayout.h"

#include "library/CaptureShortcut.h"

#include <QGuiApplication>
#include <QKeyEvent>

#include <memory>
#include <xcb/xcb_keysyms.h>

namespace vellumix {

std::optional<std::uint32_t> unshiftedKeysym(std::uint32_t x11Keycode) {
    // Keycodes are one byte on the wire; anything else (0 from a synthetic event) is no key.
    if (x11Keycode < 8 || x11Keycode > 255 || !qGuiApp) {
        return std::nullopt;
    }
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (!x11 || !x11->connection()) {
        return std::nullopt;
    }
    // Allocated per call: the keymap can change under us, and recording is rare.
    const std::unique_ptr<xcb_key_symbols_t, decltype(&xcb_key_symbols_free)> symbols(
        xcb_key_symbols_alloc(x11->connection()), &xcb_key_symbols_free);
    if (!symbols) {
        return std::nullopt;
    }
    const xcb_keysym_t keysym =
        xcb_key_symbols_get_keysym(symbols.get(), static_cast<xcb_keycode_t>(x11Keycode), 0);
    if (keysym == XCB_NO_SYMBOL) {
        return std::nullopt;
    }
    return keysym;
}

std::optional<std::uint32_t> shortcutKeyCode(const QKeyEvent& event) {
    if (const auto keysym = unshiftedKeysym(event.nativeScanCode())) {
        if (const shortcut::ShortcutKey* key = shortcut::keyForKeysym(*keysym)) {
            return key->code;
        }
    }
    // Layouts whose unshifted level holds no table key (digits on AZERTY) still have Qt's key.
    if (const shortcut::ShortcutKey* key = shortcut::keyForQtKey(event.key())) {
        return key->code;
    }
    return std::nullopt;
}

} // namespace vellumix
