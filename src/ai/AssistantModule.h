#pragma once

#include "ai/CloudModelClient.h"
#include "ai/LocalModelClient.h"

#include <memory>

namespace vellumix {

/// The entry points of the assistant module: the model clients, with Qt Network behind them.
struct AssistantModule {
    std::unique_ptr<CloudModelClient> (*cloudClient)(CloudClientOptions options);
    std::unique_ptr<LocalModelClient> (*localClient)(LocalClientOptions options);
};

} // namespace vellumix
