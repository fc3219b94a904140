#include "Modules.h"

#include "ConsoleLog.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <map>
#include <mutex>
#include <string>
#include <system_error>

#ifndef VELLUMIX_MODULE_DIR_FROM_BIN
#define VELLUMIX_MODULE_DIR_FROM_BIN "../lib/vellumix"
#endif

namespace vellumix {

namespace {

std::filesystem::path moduleFolder() {
    if (const char* overridden = std::getenv("VELLUMIX_MODULE_DIR"); overridden && *overridden) {
        return overridden;
    }
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error) {
        return {};
    }
    return (program.parent_path() / VELLUMIX_MODULE_DIR_FROM_BIN).lexically_normal();
}

const void* load(const std::string& name) {
    const std::filesystem::path file = moduleFolder() / ("libvellumix-" + name + ".so");
    // Local binding: each module keeps its libraries' symbols to itself.
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        console::say(QStringLiteral("Module %1 unavailable: %2")
                         .arg(QString::fromStdString(name), QString::fromUtf8(dlerror())));
        return nullptr;
    }
    using Entry = const void* (*)();
    const std::string symbol = "vellumix_module_" + name;
    auto entry = reinterpret_cast<Entry>(dlsym(handle, symbol.c_str()));
    if (!entry) {
        console::say(QStringLiteral("Module %1 has no %2")
                         .arg(QString::fromStdString(name), QString::fromStdString(symbol)));
        return nullptr;
    }
    return entry();
}

} // namespace

const void* moduleEntryPoints(const char* name) {
    static std::mutex mutex;
    static std::map<std::string, const void*> loaded;
    const std::lock_guard lock(mutex);
    const auto [slot, isNew] = loaded.try_emplace(name, nullptr);
    if (isNew) {
        slot->second = load(name);
    }
    return slot->second;
}

} // namespace vellumix
