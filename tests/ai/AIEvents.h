#pragma once

// What a local model call reported, for the tests of its client.

#include "ai/AIService.h"

#include <QTest>

#include <string>

namespace vellumix::test {

// "status: Thinking… | text: It is | complete", so a failing comparison shows what arrived.
inline std::string describe(const QList<AIEvent>& events) {
    static const char* names[] = {"status", "text", "failed", "complete"};
    QStringList lines;
    for (const AIEvent& e : events) {
        lines << QString::fromLatin1(names[int(e.kind)]) +
                     (e.text.isEmpty() ? QString() : QStringLiteral(": ") + e.text);
    }
    return lines.join(QStringLiteral(" | ")).toStdString();
}

// Whether the call ended (complete or failed) within `ms`.
inline bool awaitEnd(const QList<AIEvent>& events, int ms) {
    return QTest::qWaitFor(
        [&events] {
            return !events.isEmpty() && (events.back().kind == AIEvent::Kind::complete ||
                                         events.back().kind == AIEvent::Kind::failed);
        },
        ms);
}

} // namespace vellumix::test
