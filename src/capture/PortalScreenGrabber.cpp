#include "capture/PortalScreenGrabber.h"

#include "portals/PortalRequest.h"

#include <QFile>
#include <QImageReader>
#include <QPointer>
#include <QScreen>
#include <QUrl>

namespace vellumix {

namespace {

// The portal's file, read and removed, with the asked-for screen cut out of it.
void deliver(const QString& uri, QScreen* screen, const std::function<void(ScreenGrab)>& done,
             const std::function<void(QString)>& failed) {
    const QUrl url(uri);
    if (!url.isLocalFile()) {
        failed(QStringLiteral("the Screenshot portal returned no local file (\"%1\")").arg(uri));
        return;
    }
    const QString path = url.toLocalFile();
    QImageReader reader(path);
    const QImage image = reader.read();
    // The portal saves into the user's pictures folder; the file is ours to remove.
    QFile::remove(path);
    if (image.isNull()) {
        failed(QStringLiteral("cannot read the portal's screenshot %1: %2")
                   .arg(path, reader.errorString()));
        return;
    }
    if (!screen) {
        failed(QStringLiteral("the screen to capture went away"));
        return;
    }
    done(ScreenGrab{capture::portalImageForScreen(image, screen->geometry(),
                                                  screen->virtualGeometry(),
                                                  screen->devicePixelRatio()),
                    screen->geometry(), screen->devicePixelRatio()});
}

} // namespace

PortalScreenGrabber::PortalScreenGrabber(QDBusConnection bus, std::chrono::milliseconds timeout,
                                         QString service)
    : m_bus(std::move(bus)), m_timeout(timeout), m_service(std::move(service)) {}

PortalScreenGrabber::~PortalScreenGrabber() = default;

void PortalScreenGrabber::grab(QScreen* screen, std::function<void(ScreenGrab)> done,
                               std::function<void(QString reason)> failed) {
    if (screen == nullptr) {
        failed(QStringLiteral("no screen to capture"));
        return;
    }
    if (!m_bus.isConnected()) {
        failed(QStringLiteral("no session bus for the Screenshot portal: %1")
                   .arg(m_bus.lastError().message()));
        return;
    }
    PortalCall call;
    call.bus = m_bus;
    call.service = m_service;
    call.interface = QStringLiteral("org.freedesktop.portal.Screenshot");
    call.method = QStringLiteral("Screenshot");
    call.arguments = {QString()};
    call.options = {{QStringLiteral("modal"), true}, {QStringLiteral("interactive"), false}};
    call.timeout = m_timeout;
    call.onResponse = [screen = QPointer<QScreen>(screen), done,
                       failed](uint response, const QVariantMap& results) {
        switch (response) {
        case 0:
            deliver(results.value(QStringLiteral("uri")).toString(), screen, done, failed);
            break;
        case 1:
            failed(QStringLiteral("the screenshot was cancelled"));
            break;
        default:
            failed(QStringLiteral("the Screenshot portal could not take the screenshot "
                                  "(response %1)")
                       .arg(response));
            break;
        }
    };
    call.onFailure = std::move(failed);
    startPortalCall(std::move(call), &m_requests);
}

namespace capture {

QImage portalImageForScreen(const QImage& image, const QRect& screenGeometry,
                            const QRect& virtualGeometry, double devicePixelRatio) {
    const auto device = [devicePixelRatio](int logical) {
        return qRound(logical * devicePixelRatio);
    };
    const QSize desktopPixels(device(virtualGeometry.width()), device(virtualGeometry.height()));
    QImage result = image;
    if (screenGeometry != virtualGeometry && image.size() == desktopPixels) {
        const QRect crop(device(screenGeometry.x() - virtualGeometry.x()),
                         device(screenGeometry.y() - virtualGeometry.y()),
                         device(screenGeometry.width()), device(screenGeometry.height()));
        result = image.copy(crop.intersected(image.rect()));
    }
    result.setDevicePixelRatio(1);
    return result;
}

} // namespace capture

} // namespace vellumix
