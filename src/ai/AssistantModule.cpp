#include "ai/AssistantModule.h"

#include "ai/AIService.h"
#include "ai/GeminiService.h"
#include "process/ModuleExport.h"

namespace vellumix {

namespace {

std::unique_ptr<CloudModelClient> cloudClient(CloudClientOptions options) {
    return std::make_unique<GeminiService>(std::move(options));
}

std::unique_ptr<LocalModelClient> localClient(LocalClientOptions options) {
    return std::make_unique<AIService>(std::move(options));
}

const AssistantModule entryPoints{&cloudClient, &localClient};

} // namespace

} // namespace vellumix

VELLUMIX_MODULE_ENTRY(assistant, vellumix::entryPoints)
