#include "desktop/DisplaySession.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

using namespace vellumix;

namespace {
EnvironmentLookup environment(std::map<std::string, QString> values) {
    return [values](const char* name) {
        const auto it = values.find(name);
        return it == values.end() ? QString() : it->second;
    };
}
} // namespace

TEST(DisplaySession, PlatformAndEnvironmentDecideTheRoute) {
    const auto x11 = detectDisplaySession("xcb", environment({{"XDG_SESSION_TYPE", "x11"}}));
    EXPECT_EQ(x11.kind, DisplaySession::Kind::x11);
    EXPECT_FALSE(x11.usesPortals());

    const auto native = detectDisplaySession("wayland-egl", environment({}));
    EXPECT_EQ(native.kind, DisplaySession::Kind::wayland);
    EXPECT_TRUE(native.usesPortals());
    EXPECT_FALSE(native.viaXWayland);

    // Qt fell back to xcb inside a Wayland session: X11 grabs would miss native windows.
    const auto xwayland =
        detectDisplaySession("xcb", environment({{"WAYLAND_DISPLAY", "wayland-0"}}));
    EXPECT_TRUE(xwayland.usesPortals());
    EXPECT_TRUE(xwayland.viaXWayland);
    EXPECT_EQ(describe(xwayland), QStringLiteral("wayland via XWayland (xcb)"));

    EXPECT_EQ(detectDisplaySession("offscreen", environment({})).kind,
              DisplaySession::Kind::headless);
}
