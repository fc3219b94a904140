#pragma once

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QWidget>

namespace vellumix::bench {

/// Runs the event loop until `widget` has painted once (at most five seconds); false when it
/// never did. For benchmarks that end at a window's first frame.
inline bool waitForFirstPaint(QWidget* widget) {
    struct Counter final : QObject {
        bool painted = false;
        bool eventFilter(QObject* watched, QEvent* event) override {
            painted = painted || event->type() == QEvent::Paint;
            return QObject::eventFilter(watched, event);
        }
    } counter;
    widget->installEventFilter(&counter);
    QElapsedTimer guard;
    guard.start();
    while (!counter.painted && guard.elapsed() < 5000) {
        QApplication::processEvents();
    }
    widget->removeEventFilter(&counter);
    return counter.painted;
}

} // namespace vellumix::bench
