// Runs the keychain in a process of its own: the backend is chosen once per process, and the
// bus (none, or one with a Secret Service that never answers) is the caller's.
// usage: keychain_probe            read and save, printing what came back and the problem
//        keychain_probe ask        asks whether a key is stored, printing the answer
#include "desktop/SecretServiceKeychain.h"

#include <QElapsedTimer>
#include <QGuiApplication>

#include <cstdio>

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    vellumix::SecretServiceKeychain keychain(QStringLiteral("vellumix.test.probe"), 5000, 500);
    if (app.arguments().value(1) == QLatin1String("ask")) {
        QElapsedTimer clock;
        clock.start();
        bool returned = false;
        keychain.askStored(QStringLiteral("geminiAPIKey"), [&](std::optional<bool> stored) {
            std::printf("stored=%s after-return=%s within-timeout=%s\n",
                        !stored   ? "unknown"
                        : *stored ? "yes"
                                  : "no",
                        returned ? "yes" : "no", clock.elapsed() < 1500 ? "yes" : "no");
            app.quit();
        });
        returned = true;
        return app.exec();
    }
    const bool read = keychain.read(QStringLiteral("geminiAPIKey")).has_value();
    const bool saved = keychain.save(QStringLiteral("x"), QStringLiteral("geminiAPIKey"));
    std::printf("read=%s save=%s\n%s\n", read ? "some" : "none", saved ? "true" : "false",
                qPrintable(keychain.lastProblem()));
    return 0;
}
