#include "app/Application.h"
#include "app/IdleMemory.h"
#include "vision/OcrEnvironment.h"

#include <QApplication>

int main(int argc, char* argv[]) {
    // Text recognition runs one engine per core; OpenMP threads inside each would fight them.
    // The variable must be set before the process starts: without it, this restarts once.
    vellumix::ensureOcrThreadLimit(argc, argv);
    vellumix::IdleMemory::configureAllocator();
    QApplication qtApplication(argc, argv);
    vellumix::Application::describe();

    const auto launch = vellumix::LaunchRequest::fromArguments(QApplication::arguments());
    // A second launch hands its files (and --capture) to the running Vellumix and ends.
    vellumix::SingleInstance instance;
    if (!instance.claim(launch.files, launch.captureNow, QDBusConnection::sessionBus(),
                        launch.captureDelay)) {
        return 0;
    }
    vellumix::Application application(instance, launch);
    return application.run();
}
