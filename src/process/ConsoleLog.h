#pragma once

// The console: what the app prints goes to standard output only, where a terminal or the
// session's journal takes it. See ai/ConsoleText.h for what a line may carry.

#include <QString>

namespace vellumix::console {

/// The app's own lines start "[Vellumix] ", the cloud client's "[Gemini] ", and a save that did
/// not reach the disk reads "Save failed: " and the reason.
QString appLine(const QString& text);
QString geminiLine(const QString& text);
QString saveFailedLine(const QString& reason);

/// Writes one line to standard output, flushed at once so that it survives a crash.
void print(const QString& line);
/// `print(appLine(text))`.
void say(const QString& text);

} // namespace vellumix::console
