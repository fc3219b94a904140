#include "capture/ScreenGrabber.h"

#include "ai/ConsoleText.h"
#include "capture/PortalScreenGrabber.h"
#include "desktop/DisplaySession.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

namespace vellumix {

void X11ScreenGrabber::grab(QScreen* screen, std::function<void(ScreenGrab)> done,
                            std::function<void(QString reason)> failed) {
    if (screen == nullptr) {
        failed(QStringLiteral("no screen to capture"));
        return;
    }
    // Window 0 is the root window: the whole screen as the server has it, in device pixels.
    QImage image = screen->grabWindow(0).toImage();
    if (image.isNull()) {
        failed(QStringLiteral("the %1 platform returned no pixels for screen \"%2\"")
                   .arg(QGuiApplication::platformName(), screen->name()));
        return;
    }
    image.setDevicePixelRatio(1);
    done(ScreenGrab{std::move(image), screen->geometry(), screen->devicePixelRatio()});
}

std::unique_ptr<ScreenGrabber> makeScreenGrabber() {
    const DisplaySession session = detectDisplaySession();
    // Under Wayland (XWayland included) the server shows a client only its own windows; the
    // compositor hands out the desktop through the Screenshot portal instead.
    if (session.usesPortals()) {
        console::say(QStringLiteral("capture route: Screenshot portal, session ") +
                     describe(session));
        return std::make_unique<PortalScreenGrabber>();
    }
    console::say(QStringLiteral("capture route: X11 screen grab, session ") + describe(session));
    return std::make_unique<X11ScreenGrabber>();
}

} // namespace vellumix
