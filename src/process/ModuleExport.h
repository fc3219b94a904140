#pragma once

// Defines the one symbol a module exports (see process/Modules.h): its table of entry points.
// Modules are built with hidden visibility, so nothing else leaks out of them.
#define VELLUMIX_MODULE_ENTRY(name, table)                                                         \
    extern "C" __attribute__((visibility("default"))) const void* vellumix_module_##name() {       \
        return &(table);                                                                           \
    }
