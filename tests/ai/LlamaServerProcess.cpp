#include "LlamaServerProcess.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpServer>
#include <QTest>

#include <memory>
#include <signal.h>
#include <sys/prctl.h>

namespace vellumix::test {

namespace {

// A port nothing listens on right now.
int freePort() {
    QTcpServer probe;
    if (!probe.listen(QHostAddress::LocalHost, 0)) {
        return 0;
    }
    return probe.serverPort();
}

} // namespace

LlamaServerProcess::~LlamaServerProcess() {
    if (m_process.state() != QProcess::NotRunning) {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    if (!m_logPath.isEmpty()) {
        QFile::remove(m_logPath);
    }
}

QString LlamaServerProcess::binary() {
    const QString path = qEnvironmentVariable("VELLUMIX_LLAMA_SERVER");
    return !path.isEmpty() && QFileInfo(path).isExecutable() ? path : QString();
}

bool LlamaServerProcess::required() {
    return qEnvironmentVariable("VELLUMIX_REQUIRE_LLAMA_SERVER") == u"1";
}

QString LlamaServerProcess::missingMessage() {
    return QStringLiteral("No llama-server: set VELLUMIX_LLAMA_SERVER to the binary that "
                          "scripts/llama-server.sh prints (scripts/test.sh does both).");
}

bool LlamaServerProcess::start(const QString& modelPath) {
    const QString program = binary();
    m_port = freePort();
    if (program.isEmpty() || m_port == 0) {
        return false;
    }
    m_logPath = QDir::temp().filePath(QStringLiteral("vellumix-llama-server-%1.log").arg(m_port));
    m_process.setProcessChannelMode(QProcess::MergedChannels);
    // A test killed by its timeout takes its server along.
    m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
    m_process.setStandardOutputFile(m_logPath);
    // One slot and a cap on every answer: a test waits for a single request at a time, and no
    // answer runs away whatever the weights do. One thread that never spins: on a machine busy
    // with other tests, threads spinning for each other made a one-second request take minutes.
    const QStringList arguments{
        "-m",         modelPath, "--host", "127.0.0.1", "--port", QString::number(m_port),
        "-c",         "32768",   "-np",    "1",         "-n",     "2048",
        "-t",         "1",       "-tb",    "1",         "--poll", "0",
        "--no-warmup"};
    m_process.start(program, arguments);
    return m_process.waitForStarted(5000);
}

bool LlamaServerProcess::awaitHealth(int status, int ms) {
    QNetworkAccessManager network;
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < ms && m_process.state() != QProcess::NotRunning) {
        std::unique_ptr<QNetworkReply> reply(
            network.get(QNetworkRequest(QUrl(baseUrl() + QStringLiteral("/health")))));
        (void)QTest::qWaitFor([&reply] { return reply->isFinished(); }, 1000);
        if (reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == status) {
            return true;
        }
        QTest::qWait(50);
    }
    return false;
}

QString LlamaServerProcess::baseUrl() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(m_port);
}

QString LlamaServerProcess::output() const {
    QFile log(m_logPath);
    return log.open(QIODevice::ReadOnly) ? QString::fromUtf8(log.readAll().right(4000)) : QString();
}

} // namespace vellumix::test
