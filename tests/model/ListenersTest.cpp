#include "model/Listeners.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tuple>

using namespace vellumix;

TEST(Listeners, EveryLiveSubscriberHearsEachNotificationOnce) {
    Listeners<int> changed;
    std::string heard;
    std::optional<Subscription> a =
        changed.subscribe([&](int n) { heard += "a" + std::to_string(n); });
    Subscription b = changed.subscribe([&](int n) { heard += "b" + std::to_string(n); });
    changed.notify(1);
    a.reset(); // destroying the handle unsubscribes
    Subscription moved = std::move(b);
    changed.notify(2);
    EXPECT_EQ(heard, "a1b1b2");
    moved.reset();
    EXPECT_TRUE(changed.empty());
}

TEST(Listeners, ChangesDuringANotificationTakeEffectAtOnceForRemovalsAndNextTimeForAdditions) {
    Listeners<> changed;
    int first = 0, second = 0, late = 0;
    Subscription secondHandle, lateHandle;
    Subscription firstHandle = changed.subscribe([&] {
        ++first;
        secondHandle.reset(); // its owner is going: it must not be called now
        if (first == 1) {
            lateHandle = changed.subscribe([&] { ++late; });
        }
    });
    secondHandle = changed.subscribe([&] { ++second; });
    changed.notify();
    EXPECT_EQ(std::make_tuple(first, second, late), std::make_tuple(1, 0, 0));
    changed.notify();
    EXPECT_EQ(late, 1);
}
