#pragma once

#include "capture/ScreenGrabber.h"

#include <QDBusConnection>
#include <QObject>

#include <chrono>

namespace vellumix {

/// The Screenshot portal (org.freedesktop.portal.Screenshot) for Wayland sessions, where a client
/// cannot read the screen itself. The portal writes a PNG of the desktop and names it in the
/// Response signal of a Request object; the grabber reads it, cuts out the asked-for screen and
/// deletes the file.
class PortalScreenGrabber final : public ScreenGrabber {
public:
    static constexpr std::chrono::milliseconds defaultTimeout{30000};

    static inline const QString desktopPortal = QStringLiteral("org.freedesktop.portal.Desktop");

    /// `bus` is the connection the portal is called on; `timeout` is how long to wait for the
    /// Response before giving up (the portal may show a dialog, so it is generous); `service`
    /// is the portal's bus name (tests run their own under another name).
    explicit PortalScreenGrabber(QDBusConnection bus = QDBusConnection::sessionBus(),
                                 std::chrono::milliseconds timeout = defaultTimeout,
                                 QString service = desktopPortal);
    ~PortalScreenGrabber() override;
    PortalScreenGrabber(const PortalScreenGrabber&) = delete;
    PortalScreenGrabber& operator=(const PortalScreenGrabber&) = delete;

    /// Asks the portal for a non-interactive screenshot and answers later, from the event loop
    /// (at once only without a screen or a bus). Pending requests are dropped silently when the
    /// grabber is destroyed.
    void grab(QScreen* screen, std::function<void(ScreenGrab)> done,
              std::function<void(QString reason)> failed) override;

private:
    QDBusConnection m_bus;
    std::chrono::milliseconds m_timeout;
    QString m_service;
    // Parent of the requests in flight, so they go with the grabber.
    QObject m_requests;
};

namespace capture {

/// The part of a portal screenshot that shows one screen, in device pixels.
///
/// The portal hands back the whole desktop. When `image` has the size of `virtualGeometry`
/// (the desktop's logical bounding box) times `devicePixelRatio`, the screen's rectangle,
/// relative to the desktop's top-left and scaled the same way, is cut out. Any other size is
/// taken to be the screen alone and returned whole. The result has device pixel ratio 1.
QImage portalImageForScreen(const QImage& image, const QRect& screenGeometry,
                            const QRect& virtualGeometry, double devicePixelRatio);

} // namespace capture

} // namespace vellumix
