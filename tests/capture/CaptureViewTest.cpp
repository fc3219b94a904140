#include "capture/CaptureView.h"

#include "canvas/CanvasChrome.h"
#include "capture/CaptureController.h"

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QTest>

#include <gtest/gtest.h>
#include <optional>

using namespace vellumix;

namespace {

// Every pixel of the synthetic grab spells out its own coordinates, so a crop can be checked
// pixel by pixel: red and green hold the low bytes of x and y, blue their high nibbles.
QImage coordinateImage(QSize size) {
    QImage image(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (int x = 0; x < size.width(); ++x) {
            line[x] = qRgb(x & 0xff, y & 0xff, ((x >> 8) & 0xf) | ((y >> 8) << 4));
        }
    }
    return image;
}

QPoint coordinateAt(const QImage& image, int x, int y) {
    const QRgb p = image.pixel(x, y);
    return {qRed(p) | ((qBlue(p) & 0xf) << 8), qGreen(p) | ((qBlue(p) >> 4) << 8)};
}

// Stands in for the X server: hands back a prepared grab, or fails.
class FakeGrabber final : public ScreenGrabber {
public:
    std::optional<ScreenGrab> result;
    QString failure;
    int calls = 0;
    QScreen* screenAsked = nullptr;

    void grab(QScreen* screen, std::function<void(ScreenGrab)> done,
              std::function<void(QString)> failed) override {
        ++calls;
        screenAsked = screen;
        if (result) {
            done(*result);
        } else {
            failed(failure);
        }
    }
};

// QTest::mouseMove sends no buttons; a drag needs move events with the button held.
void moveWithButton(QWidget* widget, QPoint to) {
    QMouseEvent move(QEvent::MouseMove, to, widget->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                     Qt::NoModifier);
    QApplication::sendEvent(widget, &move);
}

// The extent of the pixels whose red channel is below `threshold`.
QRect darkerThan(const QImage& image, int threshold) {
    QRect extent;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            if (qRed(image.pixel(x, y)) < threshold) {
                extent |= QRect(x, y, 1, 1);
            }
        }
    }
    return extent;
}

CaptureView* visibleOverlay() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (auto* view = qobject_cast<CaptureView*>(widget); view && view->isVisible()) {
            return view;
        }
    }
    return nullptr;
}

// The real controller and overlay on a synthetic screen, driven with QTest events.
class CaptureTest : public ::testing::Test {
protected:
    FakeGrabber* grabber = nullptr;
    std::unique_ptr<CaptureController> controller;
    std::optional<QImage> captured;
    int cancels = 0;

    void SetUp() override {
        auto fake = std::make_unique<FakeGrabber>();
        grabber = fake.get();
        controller = std::make_unique<CaptureController>(std::move(fake));
        controller->onCaptured = [this](QImage image) { captured = std::move(image); };
        controller->onCancelled = [this] { ++cancels; };
    }
    void TearDown() override {
        controller.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    // Starts a capture of a screen at `geometry` with ratio `ratio`; returns the overlay.
    CaptureView* start(QRect geometry, double ratio) {
        const QSize pixels(qRound(geometry.width() * ratio), qRound(geometry.height() * ratio));
        grabber->result = ScreenGrab{coordinateImage(pixels), geometry, ratio};
        controller->start();
        CaptureView* view = visibleOverlay();
        if (view != nullptr) {
            EXPECT_TRUE(QTest::qWaitForWindowExposed(view));
        }
        return view;
    }
    static void drag(QWidget* view, QPoint from, QPoint to) {
        QTest::mousePress(view, Qt::LeftButton, {}, from);
        moveWithButton(view, (from + to) / 2);
        moveWithButton(view, to);
        QTest::mouseRelease(view, Qt::LeftButton, {}, to);
    }
    // The captured image is `width` × `height` and its corners are grab pixels (x0, y0) and
    // (x1, y1).
    void expectCapture(int width, int height, QPoint first, QPoint last) {
        ASSERT_TRUE(captured.has_value());
        EXPECT_EQ(captured->size(), QSize(width, height));
        EXPECT_EQ(captured->devicePixelRatio(), 1.0);
        EXPECT_EQ(coordinateAt(*captured, 0, 0), first);
        EXPECT_EQ(coordinateAt(*captured, width - 1, height - 1), last);
        EXPECT_EQ(coordinateAt(*captured, width - 1, 0), QPoint(last.x(), first.y()));
        EXPECT_EQ(cancels, 0);
        EXPECT_FALSE(controller->isRunning());
    }
};

} // namespace

TEST_F(CaptureTest, OverlayCoversTheGrabbedScreen) {
    CaptureView* view = start(QRect(0, 0, 400, 300), 1.0);
    ASSERT_NE(view, nullptr);
    EXPECT_EQ(grabber->calls, 1);
    EXPECT_NE(grabber->screenAsked, nullptr);
    EXPECT_EQ(view->geometry(), QRect(0, 0, 400, 300));
    EXPECT_TRUE(view->windowFlags() & Qt::FramelessWindowHint);
    EXPECT_TRUE(view->windowFlags() & Qt::WindowStaysOnTopHint);
    EXPECT_TRUE(controller->isRunning());
    // A second start while one runs is ignored.
    controller->start();
    EXPECT_EQ(grabber->calls, 1);
}

TEST_F(CaptureTest, SecondScreenAtOneAndAHalfCropsFromItsOwnOrigin) {
    CaptureView* view = start(QRect(1920, 0, 640, 360), 1.5);
    ASSERT_NE(view, nullptr);
    drag(view, {201, 101}, {101, 51});
    // Local 101..201 × 51..101 is 151.5..301.5 × 76.5..151.5: pixels 151..301 × 76..151.
    expectCapture(151, 76, {151, 76}, {301, 151});
    EXPECT_EQ(visibleOverlay(), nullptr);
}

TEST_F(CaptureTest, DraggingPastTheEdgeStopsAtTheScreen) {
    CaptureView* view = start(QRect(0, 0, 640, 360), 1.25);
    ASSERT_NE(view, nullptr);
    drag(view, {600, 300}, {700, 400});
    // 600..640 × 300..360 units: pixels 750..799 × 375..449.
    expectCapture(50, 75, {750, 375}, {799, 449});
}

TEST_F(CaptureTest, TinyDragsCancel) {
    CaptureView* view = start(QRect(0, 0, 400, 300), 2.0);
    ASSERT_NE(view, nullptr);
    drag(view, {20, 20}, {24, 120}); // 4 units wide
    EXPECT_EQ(cancels, 1);
    EXPECT_FALSE(captured.has_value());
    EXPECT_FALSE(controller->isRunning());
    EXPECT_EQ(visibleOverlay(), nullptr);
}

// A click captures the topmost window under it, clipped to the screen (here the second of two,
// at ratio 2); a click over no window still cancels.
TEST_F(CaptureTest, ClickCapturesTheTopmostWindowUnderIt) {
    const QRect screen(1000, 0, 400, 300);
    const std::vector<QRectF> frames = {{900, 50, 200, 100}, {1050, 20, 200, 200}};
    struct Click {
        QPoint at; // view coordinates
        QSize size;
        QPoint first;
    };
    for (const Click& click :
         {Click{{60, 60}, {200, 200}, {0, 100}}, Click{{120, 60}, {400, 400}, {100, 40}}}) {
        captured.reset();
        CaptureView* view = start(screen, 2.0);
        ASSERT_NE(view, nullptr);
        view->setWindowFrames(frames);
        QTest::mouseClick(view, Qt::LeftButton, {}, click.at);
        ASSERT_TRUE(captured.has_value());
        EXPECT_EQ(captured->size(), click.size);
        EXPECT_EQ(coordinateAt(*captured, 0, 0), click.first);
    }
    CaptureView* view = start(screen, 2.0);
    ASSERT_NE(view, nullptr);
    view->setWindowFrames(frames);
    QTest::mouseClick(view, Qt::LeftButton, {}, QPoint(350, 280));
    EXPECT_EQ(cancels, 1);
}

TEST_F(CaptureTest, EscapeAndRightClickCancel) {
    CaptureView* view = start(QRect(0, 0, 400, 300), 1.0);
    ASSERT_NE(view, nullptr);
    QTest::mousePress(view, Qt::LeftButton, {}, QPoint(10, 10));
    moveWithButton(view, QPoint(200, 200));
    QTest::keyClick(view, Qt::Key_Escape);
    EXPECT_EQ(cancels, 1);
    EXPECT_EQ(visibleOverlay(), nullptr);
    // The release that follows the cancelled drag changes nothing.
    QTest::mouseRelease(view, Qt::LeftButton, {}, QPoint(200, 200));
    EXPECT_EQ(cancels, 1);
    EXPECT_FALSE(captured.has_value());

    view = start(QRect(0, 0, 400, 300), 1.0);
    ASSERT_NE(view, nullptr);
    QTest::mouseClick(view, Qt::RightButton, {}, QPoint(100, 100));
    EXPECT_EQ(cancels, 2);
    EXPECT_FALSE(captured.has_value());
    EXPECT_FALSE(controller->isRunning());
    EXPECT_EQ(visibleOverlay(), nullptr);
}

TEST_F(CaptureTest, DimsAroundTheSelectionAndShowsTheGrabUnscaledInside) {
    CaptureView* view = start(QRect(0, 0, 400, 300), 1.0);
    ASSERT_NE(view, nullptr);
    QTest::mousePress(view, Qt::LeftButton, {}, QPoint(100, 80));
    moveWithButton(view, QPoint(300, 200));
    const QImage shot = view->grab().toImage();
    ASSERT_EQ(shot.size(), QSize(400, 300));
    // Inside: the grab's own pixels.
    EXPECT_EQ(coordinateAt(shot, 200, 140), QPoint(200, 140));
    EXPECT_EQ(coordinateAt(shot, 110, 90), QPoint(110, 90));
    // Outside: black at 0.45 over the grab, so each channel keeps about 55 %.
    const QRgb dimmed = shot.pixel(250, 50); // grab pixel (250, 50) is (250, 50, 0)
    EXPECT_NEAR(qRed(dimmed), 138, 2);
    EXPECT_NEAR(qGreen(dimmed), 28, 2);
    const QRgb left = shot.pixel(50, 140);
    EXPECT_NEAR(qRed(left), 28, 2);
    EXPECT_NEAR(qGreen(left), 77, 2);
    QTest::keyClick(view, Qt::Key_Escape);
}

TEST(CaptureSizeLabel, HasTheFaceAndBoxOfTheCanvasReadOuts) {
    QImage white(400, 300, QImage::Format_RGB32);
    white.fill(Qt::white);
    CaptureView view(white, QRect(0, 0, 400, 300), 1);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    QTest::mousePress(&view, Qt::LeftButton, {}, QPoint(20, 20));
    moveWithButton(&view, QPoint(131, 81));
    // Below the selection only the label's box is darker than the dimmed white (140; the box
    // over it is 49). Each threshold lies halfway between box and background.
    const QRect label = darkerThan(view.grab().toImage().copy(0, 90, 400, 210), 95);

    QImage canvas(400, 100, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    render::drawLabel(painter, QPointF(0, 0), QStringLiteral("111 × 61 px"), 1);
    painter.end();
    const QRect readOut = darkerThan(canvas, 172); // the box over white is 89
    ASSERT_FALSE(readOut.isEmpty());
    EXPECT_NEAR(label.width(), readOut.width(), 1);
    EXPECT_NEAR(label.height(), readOut.height(), 1);
    QTest::keyClick(&view, Qt::Key_Escape);
}

TEST_F(CaptureTest, FailedGrabPrintsAndReportsOnlyTheFailure) {
    grabber->failure = QStringLiteral("no pixels");
    int failures = 0;
    controller->onFailed = [&failures] { ++failures; };
    testing::internal::CaptureStdout();
    controller->start();
    const std::string out = testing::internal::GetCapturedStdout();
    EXPECT_EQ(out, "Screen capture error: no pixels\n");
    EXPECT_EQ(visibleOverlay(), nullptr);
    EXPECT_FALSE(captured.has_value());
    EXPECT_EQ(cancels, 0);
    EXPECT_EQ(failures, 1);
    EXPECT_FALSE(controller->isRunning());
}

TEST_F(CaptureTest, OwnerMayDropTheControllerFromItsCallback) {
    controller->onCaptured = [this](QImage image) {
        captured = std::move(image);
        controller.reset();
    };
    CaptureView* view = start(QRect(0, 0, 400, 300), 1.0);
    ASSERT_NE(view, nullptr);
    drag(view, {10, 10}, {60, 40});
    EXPECT_FALSE(controller);
    ASSERT_TRUE(captured.has_value());
    EXPECT_EQ(captured->size(), QSize(50, 30));
}
