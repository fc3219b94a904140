#pragma once

// What the assistant's console lines may carry. A desktop-launched app's standard output goes
// to the system journal, which is kept on disk: a line carries no image data and no key, only a
// short excerpt of what a server sent, and the text recognised on screen only where a person is
// watching the output.

#include "process/ConsoleLog.h"

#include <QString>

#include <nlohmann/json.hpp>

namespace vellumix::console {


/// The most characters of a server's text that one console line carries.
inline constexpr int serverTextLimit = 200;

/// `text` cut to its first `limit` characters (as a reader counts them), "…" appended when cut.
QString excerpt(const QString& text, int limit = serverTextLimit);

/// A copy of `value` in which every inline image's "data" string reads "<N characters>".
nlohmann::json withoutImageData(nlohmann::json value);

/// Whether a context line may print the summary itself: only on a terminal, or when
/// VELLUMIX_LOG_CONTEXT is "1".
bool showsContextText(bool outputIsTerminal, const QString& logContextSetting);
/// The same for the process's standard output (`fd` 1) or standard error (2).
bool showsContextText(int fd = 1);

} // namespace vellumix::console
