#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

namespace vellumix::test {

/// A real llama-server on a free port of 127.0.0.1, started by a test and stopped by it (by its
/// process, on destruction). The binary comes from $VELLUMIX_LLAMA_SERVER, which
/// scripts/test.sh sets after building it once per machine.
class LlamaServerProcess {
public:
    LlamaServerProcess() = default;
    ~LlamaServerProcess();
    LlamaServerProcess(const LlamaServerProcess&) = delete;
    LlamaServerProcess& operator=(const LlamaServerProcess&) = delete;

    /// The binary, or empty when it is not there.
    static QString binary();
    /// Whether a missing binary fails the tests instead of skipping them (under scripts/test.sh).
    static bool required();
    /// What to tell when the binary is missing.
    static QString missingMessage();

    /// Starts the server on the model file with a context large enough for the instruction
    /// texts; false when it could not be started.
    bool start(const QString& modelPath);
    /// Waits until GET /health answers `status`: 200 once the model is loaded, 503 while it
    /// loads. False when it did not within `ms` (or the server exited).
    bool awaitHealth(int status, int ms);
    QString baseUrl() const;
    /// The server's own output so far, for a failure message.
    QString output() const;

private:
    QProcess m_process;
    QString m_logPath;
    int m_port = 0;
};

} // namespace vellumix::test
