#include "ConsoleLog.h"

#include <cstdio>

namespace vellumix::console {

QString appLine(const QString& text) {
    return QStringLiteral("[Vellumix] ") + text;
}

QString geminiLine(const QString& text) {
    return QStringLiteral("[Gemini] ") + text;
}

QString saveFailedLine(const QString& reason) {
    return QStringLiteral("Save failed: ") + reason;
}

void print(const QString& line) {
    std::printf("%s\n", line.toUtf8().constData());
    std::fflush(stdout);
}

void say(const QString& text) {
    print(appLine(text));
}

} // namespace vellumix::console
