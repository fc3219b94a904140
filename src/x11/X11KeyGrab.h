#pragma once

#include <QAbstractNativeEventFilter>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

typedef struct xcb_connection_t xcb_connection_t;
typedef struct _XCBKeySymbols xcb_key_symbols_t;

namespace vellumix {

/// Global key combinations on X11: passive grabs on the root window, so that a combination
/// reaches this program whichever window has the focus. Each combination is grabbed with and
/// without CapsLock and NumLock, which must not change what a key press means.
class X11KeyGrab final : public QAbstractNativeEventFilter {
public:
    /// Modifier masks of the core protocol.
    static constexpr std::uint16_t shiftMask = 1, controlMask = 4, altMask = 8, superMask = 64;

    struct Combination {
        std::uint32_t keysym = 0;
        /// Of the four masks above.
        std::uint16_t modifiers = 0;
        bool operator==(const Combination&) const = default;
    };

    /// Null outside an X11 session (or XWayland under a Wayland session, where grabs see no
    /// native window's keys).
    static std::unique_ptr<X11KeyGrab> create();
    /// Over a given connection (tests use their own X server); installs no event filter.
    explicit X11KeyGrab(xcb_connection_t* connection);
    ~X11KeyGrab() override;
    X11KeyGrab(const X11KeyGrab&) = delete;
    X11KeyGrab& operator=(const X11KeyGrab&) = delete;

    /// Replaces the grabbed combinations with `combinations` and returns those the X server
    /// refused because another client holds them (BadAccess), or whose keysym no key of the
    /// current layout produces.
    std::vector<Combination> grab(const std::vector<Combination>& combinations);
    /// Releases every grab.
    void ungrabAll();

    /// A grabbed combination was pressed: its keysym as grabbed, and the modifiers held
    /// (CapsLock and NumLock left out).
    std::function<void(Combination pressed)> onPress;

    /// Handles one X event; true when it was a press of a grabbed combination.
    bool handleEvent(const void* xcbEvent);
    bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

private:
    struct Grabbed {
        Combination combination;
        std::vector<std::uint8_t> keycodes;
    };

    std::uint16_t numLockMask();
    std::vector<std::uint8_t> keycodesFor(std::uint32_t keysym);

    xcb_connection_t* m_connection = nullptr;
    xcb_key_symbols_t* m_symbols = nullptr;
    std::uint32_t m_root = 0;
    std::vector<Grabbed> m_grabbed;
};

} // namespace vellumix
