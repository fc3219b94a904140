// Runs the keychain in a process without a session bus (the backend is chosen once per
// process, so this cannot be tested in-process).
#include "desktop/SecretServiceKeychain.h"

#include <QGuiApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    vellumix::SecretServiceKeychain keychain(QStringLiteral("vellumix.test.nobus"), 5000);
    const bool read = keychain.read(QStringLiteral("geminiAPIKey")).has_value();
    const bool saved = keychain.save(QStringLiteral("x"), QStringLiteral("geminiAPIKey"));
    std::printf("read=%s save=%s\n%s\n", read ? "some" : "none", saved ? "true" : "false",
                qPrintable(keychain.lastProblem()));
    return 0;
}
