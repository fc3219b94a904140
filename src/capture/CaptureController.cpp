#include "capture/CaptureController.h"

#include "ai/ConsoleText.h"
#include "capture/CaptureGeometry.h"
#include "capture/CaptureView.h"
#include "capture/Countdown.h"
#include "capture/CountdownView.h"
#include "capture/ScrollCapture.h"
#include "desktop/DisplaySession.h"
#include "x11/X11Wheel.h"
#include "x11/X11Windows.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace vellumix {

CaptureController::CaptureController(std::unique_ptr<ScreenGrabber> grabber)
    : m_grabber(std::move(grabber)), m_self(std::make_shared<CaptureController*>(this)) {}

CaptureController::~CaptureController() {
    *m_self = nullptr;
    closeOverlay();
    // The count may be ending in a call from the counter itself: both go once it has returned.
    if (m_countdown) {
        QObject::disconnect(m_countdown.get(), nullptr, nullptr, nullptr);
        m_countdown.release()->deleteLater();
        m_counter->onCancel = nullptr;
        m_counter->hide();
        m_counter.release()->deleteLater();
    }
    if (m_scroll) {
        // It may be the caller (from its callback): it goes later, its picture unclaimed.
        m_scroll->onFinished = nullptr;
        m_scroll->stop();
        m_scroll->deleteLater();
    }
}

void CaptureController::grabNow() {
    if (m_running) {
        return;
    }
    QScreen* screen = QGuiApplication::screenAt(QCursor::pos());
    if (screen == nullptr) {
        screen = QGuiApplication::primaryScreen();
    }
    if (screen == nullptr) {
        fail(QStringLiteral("no screen"));
        return;
    }
    m_running = true;
    const std::weak_ptr<CaptureController*> self = m_self;
    m_grabber->grab(
        screen,
        [self, screen = QPointer<QScreen>(screen)](ScreenGrab grab) {
            if (const auto alive = self.lock(); alive && *alive) {
                (*alive)->showOverlay(screen, std::move(grab));
            }
        },
        [self](QString reason) {
            if (const auto alive = self.lock(); alive && *alive) {
                (*alive)->fail(reason);
            }
        });
}

void CaptureController::showOverlay(QScreen* screen, ScreenGrab grab) {
    if (grab.image.isNull() || grab.geometry.isEmpty() || grab.devicePixelRatio <= 0) {
        fail(QStringLiteral("the grab holds no pixels"));
        return;
    }
    auto* view = new CaptureView(grab.image, grab.geometry, grab.devicePixelRatio);
    m_view = view;
    if (screen != nullptr) {
        view->setScreen(screen);
        view->setGeometry(grab.geometry);
    }
    // Under Wayland, XWayland included, the window tree and synthetic input reach at most the
    // X clients: window clicks and scrolling capture are offered on an X11 session only.
    const bool x11Session = detectDisplaySession().kind == DisplaySession::Kind::x11;
    // Taken before the overlay is shown, so it is not among them.
    std::vector<QRectF> frames;
    for (const QRect& frame : x11Session ? x11TopLevelFrames() : std::vector<QRect>{}) {
        const double ratio = grab.devicePixelRatio;
        frames.emplace_back(frame.x() / ratio, frame.y() / ratio, frame.width() / ratio,
                            frame.height() / ratio);
    }
    view->setWindowFrames(std::move(frames));
    // Scrolling needs synthetic wheel input, which only the X server offers.
    if (x11Session && x11WheelAvailable()) {
        view->onScroll = [this, screen = QPointer<QScreen>(screen), grab](QRectF selection) {
            startScrolling(screen, grab, selection);
        };
    }
    view->onComplete = [this, grab = std::move(grab)](QRectF logicalSelection) {
        const QRect crop = capture::deviceCropRect(logicalSelection, grab.geometry,
                                                   grab.devicePixelRatio, grab.image.size());
        closeOverlay();
        QImage image = crop.isEmpty() ? QImage() : grab.image.copy(crop);
        image.setDevicePixelRatio(1);
        handBack(std::move(image));
    };
    view->onCancel = [this] {
        closeOverlay();
        m_running = false;
        if (const auto cancelled = onCancelled) {
            cancelled();
        }
    };
    // A Wayland compositor places windows itself (a tiling one shares the output among them):
    // only a full-screen window is sure to cover the whole output. On X11 the override-redirect
    // window takes the screen's geometry as it is.
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        view->showFullScreen();
    } else {
        view->show();
    }
}

void CaptureController::startScrolling(QScreen* screen, const ScreenGrab& grab,
                                       QRectF logicalSelection) {
    const QRect crop = capture::deviceCropRect(logicalSelection, grab.geometry,
                                               grab.devicePixelRatio, grab.image.size());
    closeOverlay();
    if (crop.isEmpty() || screen == nullptr) {
        handBack({});
        return;
    }
    const QPoint origin = (QPointF(grab.geometry.topLeft()) * grab.devicePixelRatio).toPoint();
    auto* scroll = new ScrollCapture(*m_grabber, screen, logicalSelection, crop, origin);
    m_scroll = scroll;
    scroll->onFinished = [this, scroll](QImage image) {
        scroll->deleteLater();
        handBack(std::move(image));
    };
    scroll->start();
}

// The end of a capture: the picture to the owner, or a cancel when there is none.
void CaptureController::handBack(QImage image) {
    m_running = false;
    // Copies: the owner may destroy this controller, and with it the callbacks, from inside.
    if (image.isNull()) {
        if (const auto cancelled = onCancelled) {
            cancelled();
        }
    } else if (const auto captured = onCaptured) {
        captured(std::move(image));
    }
}

void CaptureController::fail(const QString& reason) {
    console::print(QStringLiteral("Screen capture error: ") + reason);
    closeOverlay();
    m_running = false;
    if (const auto failed = onFailed) {
        failed();
    }
}

void CaptureController::closeOverlay() {
    if (m_view) {
        // Called from the view's own event handlers: it goes once they have returned.
        m_view->hide();
        m_view->deleteLater();
        m_view = nullptr;
    }
}

} // namespace vellumix
