#include "capture/CaptureController.h"

#include "capture/CaptureGeometry.h"
#include "capture/CaptureView.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

#include <iostream>

namespace vellumix {

CaptureController::CaptureController(std::unique_ptr<ScreenGrabber> grabber)
    : m_grabber(std::move(grabber)), m_self(std::make_shared<CaptureController*>(this)) {}

CaptureController::~CaptureController() {
    *m_self = nullptr;
    closeOverlay();
}

void CaptureController::start() {
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
    view->onComplete = [this, grab = std::move(grab)](QRectF logicalSelection) {
        const QRect crop = capture::deviceCropRect(logicalSelection, grab.geometry,
                                                   grab.devicePixelRatio, grab.image.size());
        closeOverlay();
        m_running = false;
        if (crop.isEmpty()) {
            if (const auto cancelled = onCancelled) {
                cancelled();
            }
            return;
        }
        QImage image = grab.image.copy(crop);
        image.setDevicePixelRatio(1);
        // A copy: the owner may destroy this controller, and with it onCaptured, from inside.
        if (const auto captured = onCaptured) {
            captured(std::move(image));
        }
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

void CaptureController::fail(const QString& reason) {
    std::cout << "Screen capture error: " << reason.toStdString() << std::endl;
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
