#pragma once

#include <functional>

namespace vellumix {

/// Turns SIGTERM, SIGINT and SIGHUP (logging out, `kill`, Ctrl+C in a terminal) into a call of
/// `quit` on the main thread, so that the app shuts down as if the user had quit it and every
/// editor window saves on its way out. Call once, after the application object exists.
void quitOnTerminationSignals(std::function<void()> quit);

} // namespace vellumix
