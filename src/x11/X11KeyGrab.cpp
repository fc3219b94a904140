#include "x11/X11KeyGrab.h"

#include <QGuiApplication>

#include <algorithm>
#include <cstdlib>
#include <xcb/xcb.h>
#include <xcb/xcb_keysyms.h>

namespace vellumix {

namespace {

constexpr std::uint16_t relevantModifiers =
    X11KeyGrab::shiftMask | X11KeyGrab::controlMask | X11KeyGrab::altMask | X11KeyGrab::superMask;
// XK_Num_Lock.
constexpr xcb_keysym_t numLockKeysym = 0xff7f;

} // namespace

std::unique_ptr<X11KeyGrab> X11KeyGrab::create() {
    auto* x11 = qApp ? qApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    if (!x11 || !x11->connection()) {
        return nullptr;
    }
    auto grab = std::make_unique<X11KeyGrab>(x11->connection());
    qApp->installNativeEventFilter(grab.get());
    return grab;
}

X11KeyGrab::X11KeyGrab(xcb_connection_t* connection)
    : m_connection(connection)
    , m_symbols(xcb_key_symbols_alloc(connection))
    , m_root(xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root) {}

X11KeyGrab::~X11KeyGrab() {
    ungrabAll();
    if (m_symbols) {
        xcb_key_symbols_free(m_symbols);
    }
}

std::uint16_t X11KeyGrab::numLockMask() {
    // The mask NumLock sets is whichever modifier the server maps its key to (usually Mod2).
    std::uint16_t mask = 0;
    const std::vector<std::uint8_t> numLockCodes = keycodesFor(numLockKeysym);
    xcb_get_modifier_mapping_reply_t* reply = xcb_get_modifier_mapping_reply(
        m_connection, xcb_get_modifier_mapping(m_connection), nullptr);
    if (!reply) {
        return static_cast<std::uint16_t>(XCB_MOD_MASK_2);
    }
    const xcb_keycode_t* codes = xcb_get_modifier_mapping_keycodes(reply);
    const int perModifier = reply->keycodes_per_modifier;
    for (int modifier = 0; modifier < 8; ++modifier) {
        for (int k = 0; k < perModifier; ++k) {
            const xcb_keycode_t code = codes[modifier * perModifier + k];
            if (code != 0 &&
                std::find(numLockCodes.begin(), numLockCodes.end(), code) != numLockCodes.end()) {
                mask |= static_cast<std::uint16_t>(1u << modifier);
            }
        }
    }
    std::free(reply);
    return mask ? mask : static_cast<std::uint16_t>(XCB_MOD_MASK_2);
}

std::vector<std::uint8_t> X11KeyGrab::keycodesFor(std::uint32_t keysym) {
    std::vector<std::uint8_t> result;
    if (!m_symbols) {
        return result;
    }
    xcb_keycode_t* codes = xcb_key_symbols_get_keycode(m_symbols, keysym);
    for (xcb_keycode_t* code = codes; code && *code != XCB_NO_SYMBOL; ++code) {
        result.push_back(*code);
    }
    std::free(codes);
    return result;
}

std::vector<X11KeyGrab::Combination>
X11KeyGrab::grab(const std::vector<Combination>& combinations) {
    ungrabAll();
    std::vector<Combination> refused;
    const std::uint16_t numLock = numLockMask();
    const std::uint16_t lockVariants[] = {0, XCB_MOD_MASK_LOCK, numLock,
                                          static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | numLock)};
    for (const Combination& combination : combinations) {
        Grabbed grabbed{combination, keycodesFor(combination.keysym)};
        bool taken = grabbed.keycodes.empty();
        for (std::uint8_t keycode : grabbed.keycodes) {
            for (std::uint16_t variant : lockVariants) {
                const xcb_void_cookie_t cookie =
                    xcb_grab_key_checked(m_connection, 1, m_root, combination.modifiers | variant,
                                         keycode, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
                if (xcb_generic_error_t* error = xcb_request_check(m_connection, cookie)) {
                    taken = taken || error->error_code == XCB_ACCESS;
                    std::free(error);
                }
            }
        }
        if (taken) {
            refused.push_back(combination);
        }
        // Whatever part was granted is released with the rest later; a refused variant is
        // simply not ours.
        m_grabbed.push_back(std::move(grabbed));
    }
    xcb_flush(m_connection);
    return refused;
}

void X11KeyGrab::ungrabAll() {
    if (m_grabbed.empty()) {
        return;
    }
    const std::uint16_t numLock = numLockMask();
    const std::uint16_t lockVariants[] = {0, XCB_MOD_MASK_LOCK, numLock,
                                          static_cast<std::uint16_t>(XCB_MOD_MASK_LOCK | numLock)};
    for (const Grabbed& grabbed : m_grabbed) {
        for (std::uint8_t keycode : grabbed.keycodes) {
            for (std::uint16_t variant : lockVariants) {
                xcb_ungrab_key(m_connection, keycode, m_root,
                               grabbed.combination.modifiers | variant);
            }
        }
    }
    m_grabbed.clear();
    xcb_flush(m_connection);
}

bool X11KeyGrab::handleEvent(const void* xcbEvent) {
    const auto* event = static_cast<const xcb_generic_event_t*>(xcbEvent);
    if ((event->response_type & ~0x80) != XCB_KEY_PRESS) {
        return false;
    }
    const auto* press = static_cast<const xcb_key_press_event_t*>(xcbEvent);
    const auto held = static_cast<std::uint16_t>(press->state & relevantModifiers);
    for (const Grabbed& grabbed : m_grabbed) {
        if (grabbed.combination.modifiers != held ||
            std::find(grabbed.keycodes.begin(), grabbed.keycodes.end(), press->detail) ==
                grabbed.keycodes.end()) {
            continue;
        }
        if (onPress) {
            onPress(grabbed.combination);
        }
        return true;
    }
    return false;
}

bool X11KeyGrab::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*) {
    // The press of a grabbed combination is ours; the releases that follow it go on to Qt.
    return eventType == "xcb_generic_event_t" && handleEvent(message);
}

} // namespace vellumix
