#include "x11/X11Wheel.h"

#include <QGuiApplication>

#include <xcb/xcb.h>
#include <xcb/xtest.h>

namespace vellumix {

namespace {

// X's wheel-down button.
constexpr std::uint8_t wheelDownButton = 5;

xcb_connection_t* connection() {
    auto* x11 = qApp ? qApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

} // namespace

bool x11WheelAvailable() {
    xcb_connection_t* c = connection();
    if (c == nullptr) {
        return false;
    }
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_test_id);
    return extension != nullptr && extension->present;
}

bool x11WheelDown(QPoint rootPixel) {
    if (!x11WheelAvailable()) {
        return false;
    }
    xcb_connection_t* c = connection();
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(c)).data->root;
    xcb_test_fake_input(c, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root,
                        static_cast<std::int16_t>(rootPixel.x()),
                        static_cast<std::int16_t>(rootPixel.y()), 0);
    xcb_test_fake_input(c, XCB_BUTTON_PRESS, wheelDownButton, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
    xcb_test_fake_input(c, XCB_BUTTON_RELEASE, wheelDownButton, XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                        0);
    xcb_flush(c);
    return true;
}

} // namespace vellumix
