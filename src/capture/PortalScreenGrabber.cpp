#include "capture/PortalScreenGrabber.h"

#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QFile>
#include <QImageReader>
#include <QPointer>
#include <QRandomGenerator>
#include <QScreen>
#include <QTimer>
#include <QUrl>

namespace vellumix {

namespace {

const QString portalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString screenshotInterface = QStringLiteral("org.freedesktop.portal.Screenshot");
const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");

// Unique per call within the process; the portal only accepts [A-Za-z0-9_].
QString freshHandleToken() {
    static quint32 counter = 0;
    return QStringLiteral("vellumix_%1_%2")
        .arg(++counter)
        .arg(QRandomGenerator::global()->generate(), 8, 16, QLatin1Char('0'));
}

} // namespace

/// One Screenshot call from the call to its Response (or error, or timeout). Deletes itself
/// once finished; dies with the grabber when that goes first.
class PortalScreenshotRequest final : public QObject {
    Q_OBJECT
public:
    PortalScreenshotRequest(QObject* parent, QDBusConnection bus, QString service, QScreen* screen,
                            std::function<void(ScreenGrab)> done,
                            std::function<void(QString)> failed)
        : QObject(parent)
        , m_bus(std::move(bus))
        , portalService(std::move(service))
        , m_screen(screen)
        , m_done(std::move(done))
        , m_failed(std::move(failed)) {}

    ~PortalScreenshotRequest() override {
        unsubscribe();
        // The watcher may be the one emitting right now; it must not be deleted under itself.
        if (m_watcher) {
            m_watcher->deleteLater();
        }
    }

    void start(std::chrono::milliseconds timeout) {
        const QString token = freshHandleToken();
        // Subscribe first: the portal may emit Response before its reply to the call arrives.
        if (!subscribe(capture::portalRequestPath(m_bus.baseService(), token))) {
            fail(QStringLiteral("cannot listen for the Screenshot portal's answer on the session "
                                "bus (%1)")
                     .arg(m_bus.lastError().message()));
            return;
        }
        QDBusMessage call = QDBusMessage::createMethodCall(
            portalService, portalPath, screenshotInterface, QStringLiteral("Screenshot"));
        const QVariantMap options{{QStringLiteral("handle_token"), token},
                                  {QStringLiteral("modal"), true},
                                  {QStringLiteral("interactive"), false}};
        call << QString() << options;
        // A little past our own deadline, so an unanswered call ends in our timeout message.
        m_watcher = new QDBusPendingCallWatcher(
            m_bus.asyncCall(call, static_cast<int>(timeout.count()) + 1000));
        connect(m_watcher, &QDBusPendingCallWatcher::finished, this,
                &PortalScreenshotRequest::onCallFinished);

        m_timer.setSingleShot(true);
        connect(&m_timer, &QTimer::timeout, this, [this, timeout] {
            closePortalRequest();
            fail(QStringLiteral("the Screenshot portal did not answer within %1 s")
                     .arg(static_cast<double>(timeout.count()) / 1000.0));
        });
        m_timer.start(timeout);
    }

public Q_SLOTS:
    void onResponse(uint response, const QVariantMap& results) {
        if (m_finished) {
            return;
        }
        switch (response) {
        case 0:
            deliver(results.value(QStringLiteral("uri")).toString());
            break;
        case 1:
            fail(QStringLiteral("the screenshot was cancelled"));
            break;
        default:
            fail(QStringLiteral("the Screenshot portal could not take the screenshot "
                                "(response %1)")
                     .arg(response));
            break;
        }
    }

private:
    void onCallFinished(QDBusPendingCallWatcher* watcher) {
        watcher->deleteLater();
        m_watcher = nullptr;
        if (m_finished) {
            return;
        }
        const QDBusPendingReply<QDBusObjectPath> reply = *watcher;
        if (reply.isError()) {
            fail(QStringLiteral("the Screenshot portal call failed: %1 (%2)")
                     .arg(reply.error().message(), reply.error().name()));
            return;
        }
        // Portals older than the handle_token convention pick their own path: follow it.
        const QString handle = reply.value().path();
        if (handle != m_path) {
            unsubscribe();
            if (!subscribe(handle)) {
                fail(QStringLiteral("cannot listen for the Screenshot portal's answer on %1")
                         .arg(handle));
            }
        }
    }

    bool subscribe(const QString& path) {
        if (!m_bus.connect(portalService, path, requestInterface, QStringLiteral("Response"), this,
                           SLOT(onResponse(uint, QVariantMap)))) {
            return false;
        }
        m_path = path;
        return true;
    }

    void unsubscribe() {
        if (!m_path.isEmpty()) {
            m_bus.disconnect(portalService, m_path, requestInterface, QStringLiteral("Response"),
                             this, SLOT(onResponse(uint, QVariantMap)));
            m_path.clear();
        }
    }

    // Lets the portal take down a dialog nobody is waiting for any more.
    void closePortalRequest() {
        if (!m_path.isEmpty()) {
            m_bus.asyncCall(QDBusMessage::createMethodCall(portalService, m_path, requestInterface,
                                                           QStringLiteral("Close")));
        }
    }

    void deliver(const QString& uri) {
        const QUrl url(uri);
        if (!url.isLocalFile()) {
            fail(QStringLiteral("the Screenshot portal returned no local file (\"%1\")").arg(uri));
            return;
        }
        const QString path = url.toLocalFile();
        QImageReader reader(path);
        const QImage image = reader.read();
        // The portal saves into the user's pictures folder; the file is ours to remove.
        QFile::remove(path);
        if (image.isNull()) {
            fail(QStringLiteral("cannot read the portal's screenshot %1: %2")
                     .arg(path, reader.errorString()));
            return;
        }
        if (!m_screen) {
            fail(QStringLiteral("the screen to capture went away"));
            return;
        }
        ScreenGrab grab{capture::portalImageForScreen(image, m_screen->geometry(),
                                                      m_screen->virtualGeometry(),
                                                      m_screen->devicePixelRatio()),
                        m_screen->geometry(), m_screen->devicePixelRatio()};
        const auto done = std::move(m_done);
        finish();
        done(std::move(grab));
    }

    void fail(const QString& reason) {
        const auto failed = std::move(m_failed);
        finish();
        failed(reason);
    }

    // Everything is torn down before the callback runs, which may destroy the grabber and so
    // this request.
    void finish() {
        m_finished = true;
        m_timer.stop();
        unsubscribe();
        deleteLater();
    }

    QDBusConnection m_bus;
    QString portalService;
    QPointer<QScreen> m_screen;
    std::function<void(ScreenGrab)> m_done;
    std::function<void(QString)> m_failed;
    QPointer<QDBusPendingCallWatcher> m_watcher;
    QTimer m_timer;
    QString m_path;
    bool m_finished = false;
};

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
    auto* request = new PortalScreenshotRequest(&m_requests, m_bus, m_service, screen,
                                                std::move(done), std::move(failed));
    request->start(m_timeout);
}

namespace capture {

QString portalRequestPath(const QString& uniqueName, const QString& handleToken) {
    QString sender = uniqueName;
    if (sender.startsWith(QLatin1Char(':'))) {
        sender.remove(0, 1);
    }
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, handleToken);
}

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

#include "PortalScreenGrabber.moc"
