#pragma once

/// Heavy libraries (poppler, OpenCV, libheif and libwebp, GIO, Qt Network) live in modules that
/// load the first time they are needed, so the idle tray process maps none of them. Each module
/// exports one function, `vellumix_module_<name>`, returning its table of entry points; the table
/// types are in the module headers next to this one.
///
/// Modules are looked for next to the running program, in the same place relative to it in the
/// build tree and in an installed tree (`lib/vellumix` beside `bin`), or in the folder named by
/// VELLUMIX_MODULE_DIR. A module that is missing or does not load is reported once on stdout;
/// the feature it carries then does nothing, as if its input were unreadable.
namespace vellumix {

/// The table module `name` exports, loaded on first use; null when the module is unavailable.
/// Thread-safe; a module is loaded at most once and stays loaded.
const void* moduleEntryPoints(const char* name);

template <class Table> const Table* loadModule(const char* name) {
    return static_cast<const Table*>(moduleEntryPoints(name));
}

} // namespace vellumix
