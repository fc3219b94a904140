#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QString>

#include <functional>
#include <utility>

class QTcpServer;
class QTcpSocket;

namespace vellumix::test {

/// An HTTP/1.1 server on 127.0.0.1 for tests of network clients: it records every request and
/// answers as the test says, including badly (late, never, cut off, or streamed in chunks).
/// It runs on the test's own event loop, so the test must spin it (QTest::qWaitFor).
class FakeHttpServer : public QObject {
public:
    using Headers = QList<std::pair<QByteArray, QByteArray>>;

    struct Request {
        QByteArray method;
        QByteArray target; ///< path and query, as sent
        Headers headers;
        QByteArray body;
        /// The first header of that name, compared case-insensitively; empty when absent.
        QByteArray header(const QByteArray& name) const;
    };

    struct Response {
        int status = 200;
        Headers headers; ///< Content-Length or Transfer-Encoding is added
        QByteArray body;
        int delayMs = 0;          ///< wait before the status line
        bool neverAnswer = false; ///< keep the connection open and silent
        /// Announce the whole body but close the connection after this many bytes of it.
        qsizetype closeAfterBodyBytes = -1;
        /// When not empty, sent instead of `body` with chunked transfer encoding, one chunk
        /// every `chunkIntervalMs` (streamed answers).
        QList<QByteArray> chunks;
        int chunkIntervalMs = 0;

        static Response json(int status, QByteArray body);
    };
    using Handler = std::function<Response(const Request&)>;

    FakeHttpServer();
    ~FakeHttpServer() override;

    /// Listens on a free port of 127.0.0.1.
    bool start();
    /// Closes the listener and every connection.
    void stop();
    /// "http://127.0.0.1:PORT"
    QString baseUrl() const;

    /// Decides every answer from here on.
    void setHandler(Handler handler) { m_handler = std::move(handler); }
    /// The same answer for every request.
    void answerWith(Response response);

    const QList<Request>& requests() const { return m_requests; }
    /// Connections the client closed while its request still waited for an answer.
    int abandonedRequests() const { return m_abandoned; }

private:
    struct Connection;

    void accept();
    void readFrom(Connection& connection);
    void respond(QTcpSocket* socket, const Response& response);
    void streamChunks(QTcpSocket* socket, QList<QByteArray> chunks, int intervalMs);

    QTcpServer* m_server = nullptr;
    QList<Connection*> m_connections;
    QList<Request> m_requests;
    Handler m_handler;
    int m_abandoned = 0;
};

} // namespace vellumix::test
