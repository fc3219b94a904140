#include "capture/ScrollCapture.h"

#include "capture/ScrollProgressView.h"
#include "x11/X11Wheel.h"

#include <QScreen>

#include <algorithm>

namespace vellumix {

namespace {

// Long enough for the overlay to unmap and the window below to repaint, and for a scrolled
// window to redraw (terminals at once, toolkits with smooth scrolling in about this time).
constexpr int firstGrabDelayMs = 250;
constexpr int settleMs = 150;
// A grab the same as the last after this many turns of the wheel: the end of the content.
constexpr int stillStepsToStop = 2;
// Each step scrolls about this share of the area, so consecutive strips overlap well.
constexpr double stepShare = 0.75;
constexpr int maxNotches = 10;
constexpr int progressGap = 12;

} // namespace

ScrollCapture::ScrollCapture(ScreenGrabber& grabber, QScreen* screen, QRectF logicalArea,
                             QRect deviceCrop, QPoint screenOrigin)
    : m_grabber(grabber)
    , m_screen(screen)
    , m_logicalArea(logicalArea)
    , m_deviceCrop(deviceCrop)
    , m_wheelPoint(screenOrigin + deviceCrop.center()) {
    m_settle.setSingleShot(true);
    connect(&m_settle, &QTimer::timeout, this, &ScrollCapture::grabNext);
}

ScrollCapture::~ScrollCapture() {
    delete m_progress;
}

void ScrollCapture::start() {
    auto* progress = new ScrollProgressView;
    m_progress = progress;
    progress->onEscape = [this] { finish(); };
    // Beside the area where there is room, so it is never in the picture; over the area's
    // corner otherwise, hidden while the wheel turns and the grab is taken.
    const QRect screen = m_screen ? m_screen->geometry() : QRect();
    const QRect area = m_logicalArea.toAlignedRect();
    const QSize size(ScrollProgressView::viewWidth, ScrollProgressView::viewHeight);
    const QList<QPoint> places = {
        {area.right() + progressGap, area.top()},
        {area.left() - progressGap - size.width(), area.top()},
        {area.left(), area.bottom() + progressGap},
        {area.left(), area.top() - progressGap - size.height()},
    };
    const auto fits = [&](QPoint place) {
        return screen.contains(QRect(place, size)) && !QRect(place, size).intersects(area);
    };
    const auto place = std::find_if(places.begin(), places.end(), fits);
    m_progressOverArea = place == places.end();
    progress->move(m_progressOverArea ? screen.topLeft() + QPoint(progressGap, progressGap)
                                      : *place);
    if (!m_progressOverArea) {
        progress->show();
    }
    m_settle.start(firstGrabDelayMs);
}

void ScrollCapture::grabNext() {
    if (m_finished || !m_screen) {
        finish();
        return;
    }
    QPointer<ScrollCapture> self(this);
    m_grabber.grab(
        m_screen,
        [self](const ScreenGrab& grab) {
            if (self) {
                self->grabbed(grab);
            }
        },
        [self](const QString&) {
            if (self) {
                self->finish();
            }
        });
}

void ScrollCapture::grabbed(const ScreenGrab& grab) {
    if (m_finished) {
        return;
    }
    const bool first = m_stitcher.height() == 0;
    QImage strip = grab.image.copy(m_deviceCrop);
    strip.setDevicePixelRatio(1);
    using Step = capture::ScrollStitcher::Step;
    const Step step = m_stitcher.add(strip);
    if (m_progress) {
        m_progress->setProgress(m_stitcher.height(), strip);
        m_progress->show();
    }
    if (step == Step::Appended) {
        m_stillSteps = 0;
        if (!first) {
            const int perNotch = std::max(1, m_stitcher.lastAdvance() / m_notches);
            m_notches =
                std::clamp(int(m_deviceCrop.height() * stepShare / perNotch), 1, maxNotches);
        }
        scroll();
    } else if (step == Step::Unchanged && ++m_stillSteps < stillStepsToStop) {
        scroll();
    } else {
        finish();
    }
}

void ScrollCapture::scroll() {
    if (m_progress && m_progressOverArea) {
        m_progress->hide();
    }
    for (int notch = 0; notch < m_notches; ++notch) {
        if (!x11WheelDown(m_wheelPoint)) {
            finish();
            return;
        }
    }
    m_settle.start(settleMs);
}

void ScrollCapture::finish() {
    if (m_finished) {
        return;
    }
    m_finished = true;
    m_settle.stop();
    if (m_progress) {
        m_progress->hide();
        m_progress->deleteLater();
    }
    if (const auto finished = onFinished) {
        finished(m_stitcher.image());
    }
}

} // namespace vellumix
