#include "SingleInstance.h"

#include "ai/ConsoleText.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QFileInfo>

namespace vellumix {

namespace {

const QString objectPath = QStringLiteral("/");

} // namespace

QStringList absolutePaths(const QStringList& files) {
    QStringList paths;
    for (const QString& file : files) {
        paths << QFileInfo(file).absoluteFilePath();
    }
    return paths;
}

bool SingleInstance::claim(const QStringList& files, bool capture, QDBusConnection bus,
                           int captureDelaySeconds) {
    if (!bus.isConnected()) {
        return true;
    }
    if (bus.registerService(serviceName)) {
        bus.registerObject(objectPath, this, QDBusConnection::ExportScriptableSlots);
        return true;
    }
    // Another launch owns the name: it opens the files (and captures), this one ends.
    const auto ask = [&bus](const QString& method, const QVariantList& arguments) {
        QDBusMessage call =
            QDBusMessage::createMethodCall(serviceName, objectPath, serviceName, method);
        call.setArguments(arguments);
        const QDBusMessage reply = bus.call(call, QDBus::BlockWithGui, 5000);
        if (reply.type() == QDBusMessage::ErrorMessage) {
            console::say(QStringLiteral("The running instance did not answer (%1); starting anyway")
                             .arg(reply.errorMessage()));
            return false;
        }
        return true;
    };
    if (!files.isEmpty() && !ask(QStringLiteral("Open"), {absolutePaths(files)})) {
        return true;
    }
    if (capture &&
        !(captureDelaySeconds > 0 ? ask(QStringLiteral("CaptureAfter"), {captureDelaySeconds})
                                  : ask(QStringLiteral("Capture"), {}))) {
        return true;
    }
    if (files.isEmpty() && !capture && !ask(QStringLiteral("Activate"), {})) {
        return true;
    }
    return false;
}

void SingleInstance::Open(const QStringList& paths) {
    if (onOpenFiles) {
        onOpenFiles(paths);
    }
}

} // namespace vellumix

namespace vellumix {

void SingleInstance::Capture() {
    CaptureAfter(0);
}

void SingleInstance::CaptureAfter(int seconds) {
    if (onCapture) {
        onCapture(seconds);
    }
}

void SingleInstance::Activate() {
    if (onActivate) {
        onActivate();
    }
}

} // namespace vellumix
