#pragma once

#include <QImage>
#include <QRect>
#include <QString>

#include <functional>
#include <memory>

class QScreen;

namespace vellumix {

/// One frozen screen: its pixels and where it sits on the desktop.
struct ScreenGrab {
    QImage image;                ///< Device pixels, device pixel ratio 1.
    QRect geometry;              ///< The screen, desktop coordinates in logical units.
    double devicePixelRatio = 1; ///< Device pixels per logical unit on that screen.
};

/// How a screen's pixels are obtained. The X11 route reads them straight from the server; a
/// Wayland session needs the Screenshot portal, which answers later over D-Bus, so the result
/// comes back through callbacks rather than a return value.
class ScreenGrabber {
public:
    virtual ~ScreenGrabber() = default;
    /// Grabs `screen` once. Exactly one of `done` and `failed` runs, on the main thread, either
    /// before this returns or later from the event loop. `failed` gets a readable reason.
    virtual void grab(QScreen* screen, std::function<void(ScreenGrab)> done,
                      std::function<void(QString reason)> failed) = 0;
};

/// QScreen::grabWindow(0) on the X server: synchronous, device pixels, one screen.
class X11ScreenGrabber final : public ScreenGrabber {
public:
    void grab(QScreen* screen, std::function<void(ScreenGrab)> done,
              std::function<void(QString reason)> failed) override;
};

/// The grabber for this session: the Screenshot portal when the session uses portals (Wayland,
/// also through XWayland), the X server otherwise. Logs the route chosen.
std::unique_ptr<ScreenGrabber> makeScreenGrabber();

} // namespace vellumix
