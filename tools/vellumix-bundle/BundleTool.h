#pragma once

#include <QStringList>
#include <QTextStream>

namespace vellumix {

/// The companion command: `create`, `info` and `render` on project bundles. Returns the exit
/// status; every failure is one line on `err`.
int runBundleTool(const QStringList& arguments, QTextStream& out, QTextStream& err);

} // namespace vellumix
