#include "BundleTool.h"

#include <QGuiApplication>

#include <cstdio>

namespace {

// Qt's notes about the session environment (a missing runtime folder, say) are noise for a
// command whose standard error carries one line per failure.
void quietMessages(QtMsgType type, const QMessageLogContext&, const QString& message) {
    if (type == QtDebugMsg || type == QtInfoMsg || message.startsWith(u"QStandardPaths:")) {
        return;
    }
    std::fprintf(stderr, "%s\n", qPrintable(message));
}

} // namespace

int main(int argc, char* argv[]) {
    qInstallMessageHandler(quietMessages);
    // Fonts and painting need a GUI application, never a display.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QGuiApplication app(argc, argv);
    QTextStream out(stdout);
    QTextStream err(stderr);
    return vellumix::runBundleTool(QGuiApplication::arguments().mid(1), out, err);
}
