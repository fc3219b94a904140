#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace vellumix {

/// Keeps one listener subscribed; destroying (or resetting) it unsubscribes. Safe to outlive the
/// notifier it came from.
class Subscription {
public:
    Subscription() = default;
    explicit Subscription(std::function<void()> cancel) : m_cancel(std::move(cancel)) {}
    Subscription(Subscription&& other) noexcept : m_cancel(std::exchange(other.m_cancel, {})) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            m_cancel = std::exchange(other.m_cancel, {});
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;
    ~Subscription() { reset(); }

    void reset() {
        if (auto cancel = std::exchange(m_cancel, {})) {
            cancel();
        }
    }

private:
    std::function<void()> m_cancel;
};

/// A change notification any number of listeners can follow. A listener removed while a
/// notification is under way is not called after its removal (its owner may be half gone);
/// one added meanwhile first hears the next notification.
template <class... Args> class Listeners {
public:
    Listeners() = default;
    Listeners(const Listeners&) = delete;
    Listeners& operator=(const Listeners&) = delete;

    [[nodiscard]] Subscription subscribe(std::function<void(Args...)> listener) {
        const int id = m_nextId++;
        m_entries->push_back({id, std::move(listener)});
        return Subscription([weak = std::weak_ptr(m_entries), id] {
            if (const auto entries = weak.lock()) {
                std::erase_if(*entries, [id](const Entry& e) { return e.id == id; });
            }
        });
    }

    void notify(Args... args) const {
        std::vector<int> ids;
        for (const Entry& e : *m_entries) {
            ids.push_back(e.id);
        }
        for (int id : ids) {
            const auto it = std::find_if(m_entries->begin(), m_entries->end(),
                                         [id](const Entry& e) { return e.id == id; });
            if (it != m_entries->end()) {
                // A copy: the listener may unsubscribe itself while it runs.
                const auto listener = it->listener;
                listener(args...);
            }
        }
    }

    bool empty() const { return m_entries->empty(); }

private:
    struct Entry {
        int id;
        std::function<void(Args...)> listener;
    };
    std::shared_ptr<std::vector<Entry>> m_entries = std::make_shared<std::vector<Entry>>();
    int m_nextId = 0;
};

} // namespace vellumix
