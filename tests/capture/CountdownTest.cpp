#include "capture/Countdown.h"

#include "support/Eventually.h"

#include <QElapsedTimer>

#include <gtest/gtest.h>

using vellumix::Countdown;

namespace {

constexpr int countMs = 15;

// What a second trigger or Escape does once the count shows `atTick`.
struct Script {
    const char* name;
    int seconds;
    int atTick;      // 0: nothing happens during the count
    int restartWith; // -1: cancel instead
    const char* events;
};

const Script scripts[] = {
    {"counts down, then finishes", 3, 0, 0, "3 2 1 done"},
    {"one second", 1, 0, 0, "1 done"},
    {"no delay finishes at once", 0, 0, 0, "done"},
    {"a second trigger starts over from its own number", 3, 2, 2, "3 2 2 1 done"},
    {"a second trigger of no delay finishes at once", 3, 3, 0, "3 done"},
    {"cancelled at the first count", 3, 3, -1, "3 cancelled"},
    {"cancelled at the last count", 2, 1, -1, "2 1 cancelled"},
};

} // namespace

TEST(Countdown, TicksEachSecondAndEndsOnce) {
    for (const Script& s : scripts) {
        SCOPED_TRACE(s.name);
        Countdown countdown{std::chrono::milliseconds(countMs)};
        QStringList events;
        bool reacted = false;
        bool ended = false;
        QObject::connect(&countdown, &Countdown::tick, [&](int left) {
            events << QString::number(left);
            if (left == s.atTick && !reacted) {
                reacted = true;
                s.restartWith < 0 ? countdown.cancel() : countdown.start(s.restartWith);
            }
        });
        QObject::connect(&countdown, &Countdown::finished, [&] {
            events << "done";
            ended = true;
        });
        QObject::connect(&countdown, &Countdown::cancelled, [&] {
            events << "cancelled";
            ended = true;
        });
        QElapsedTimer clock;
        clock.start();
        countdown.start(s.seconds);
        ASSERT_TRUE(vellumix::test::eventually([&] { return ended; }, 3000));
        EXPECT_EQ(events.join(' ').toStdString(), s.events);
        EXPECT_FALSE(countdown.isRunning());
        // Nothing more after the end (a stopped timer, a single signal).
        vellumix::test::eventually([] { return false; }, 3 * countMs);
        EXPECT_EQ(events.join(' ').toStdString(), s.events);
        if (s.atTick == 0) {
            // Each count lasts its interval: finishing takes the whole delay.
            EXPECT_GE(clock.elapsed(), s.seconds * countMs * 4 / 5);
        }
    }
}
