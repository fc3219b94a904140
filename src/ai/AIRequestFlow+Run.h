#pragma once

// What the request flow's files share: one running request and the guard on its callbacks.

#include "ai/AIRequestFlow.h"
#include "ai/CloudModelClient.h"
#include "ai/LocalModelClient.h"

namespace vellumix {

struct AIRequestFlow::Run {
    AIProvider provider = AIProvider::localModel;
    QString query;
    QString apiKey;
    bool live = true;
    // One member per step: a call is never destroyed from inside its own callback.
    std::unique_ptr<LocalModelCall> localClassify;
    std::unique_ptr<LocalModelCall> localRequest;
    std::unique_ptr<GeminiCall> cloudClassify;
    std::unique_ptr<GeminiCall> cloudRequest;
};

namespace flow {

// A step's callback runs only while its request is the live one. It holds the request weakly:
// the request owns the call that owns the callback.
template <class R, class F> auto guarded(const std::shared_ptr<R>& run, F f) {
    return [weak = std::weak_ptr<R>(run), f = std::move(f)](auto&&... args) {
        if (const auto locked = weak.lock(); locked && locked->live) {
            f(locked, std::forward<decltype(args)>(args)...);
        }
    };
}

} // namespace flow

} // namespace vellumix
