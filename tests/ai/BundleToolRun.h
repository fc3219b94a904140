#pragma once

// Runs the bundle command in-process and keeps what it printed.

#include "BundleTool.h"

#include <QTextStream>

namespace vellumix::test {

struct ToolRun {
    int status;
    QString out;
    QString err;
};

inline ToolRun runTool(const QStringList& args) {
    QString out;
    QString err;
    QTextStream outStream(&out);
    QTextStream errStream(&err);
    const int status = runBundleTool(args, outStream, errStream);
    return {status, out, err};
}

} // namespace vellumix::test
