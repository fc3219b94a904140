// Stands in for a Secret Service that is slow to start: it owns org.freedesktop.secrets on the
// session bus and takes every call without ever answering. Prints "ready" once it owns the name.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>

#include <cstdio>

namespace {

class Silent final : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection&) override {
        // Claimed, so the bus sends no error back; the caller waits for its own timeout.
        message.setDelayedReply(true);
        return true;
    }
};

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    Silent silent;
    if (!bus.registerVirtualObject(QStringLiteral("/"), &silent, QDBusConnection::SubPath) ||
        !bus.registerService(QStringLiteral("org.freedesktop.secrets"))) {
        std::fprintf(stderr, "could not own org.freedesktop.secrets\n");
        return 1;
    }
    std::printf("ready\n");
    std::fflush(stdout);
    return app.exec();
}
