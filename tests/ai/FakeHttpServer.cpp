#include "FakeHttpServer.h"

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace vellumix::test {

struct FakeHttpServer::Connection {
    QTcpSocket* socket = nullptr;
    QByteArray buffer;
    bool awaitingAnswer = false;
};

namespace {

QByteArray reasonPhrase(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 429:
        return "Too Many Requests";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

QByteArray head(const FakeHttpServer::Response& response, const QByteArray& lengthHeader) {
    QByteArray text = "HTTP/1.1 " + QByteArray::number(response.status) + ' ' +
                      reasonPhrase(response.status) + "\r\n";
    for (const auto& [name, value] : response.headers) {
        text += name + ": " + value + "\r\n";
    }
    return text + lengthHeader + "\r\n\r\n";
}

} // namespace

QByteArray FakeHttpServer::Request::header(const QByteArray& name) const {
    for (const auto& [key, value] : headers) {
        if (key.compare(name, Qt::CaseInsensitive) == 0) {
            return value;
        }
    }
    return {};
}

FakeHttpServer::Response FakeHttpServer::Response::json(int status, QByteArray body) {
    Response response;
    response.status = status;
    response.headers = {{"Content-Type", "application/json; charset=UTF-8"}};
    response.body = std::move(body);
    return response;
}

FakeHttpServer::FakeHttpServer() = default;

FakeHttpServer::~FakeHttpServer() {
    stop();
}

bool FakeHttpServer::start() {
    stop();
    m_server = new QTcpServer(this);
    connect(m_server, &QTcpServer::newConnection, this, &FakeHttpServer::accept);
    return m_server->listen(QHostAddress::LocalHost, 0);
}

void FakeHttpServer::stop() {
    for (Connection* connection : std::exchange(m_connections, {})) {
        connection->socket->disconnect(this);
        connection->socket->abort();
        connection->socket->deleteLater();
        delete connection;
    }
    if (m_server) {
        m_server->close();
        m_server->deleteLater();
        m_server = nullptr;
    }
}

QString FakeHttpServer::baseUrl() const {
    return QStringLiteral("http://127.0.0.1:%1").arg(m_server ? m_server->serverPort() : 0);
}

void FakeHttpServer::answerWith(Response response) {
    m_handler = [response](const Request&) { return response; };
}

void FakeHttpServer::accept() {
    while (QTcpSocket* socket = m_server->nextPendingConnection()) {
        auto* connection = new Connection{socket, {}, false};
        m_connections << connection;
        connect(socket, &QTcpSocket::readyRead, this,
                [this, connection] { readFrom(*connection); });
        connect(socket, &QTcpSocket::disconnected, this, [this, connection] {
            if (connection->awaitingAnswer) {
                ++m_abandoned;
            }
            m_connections.removeOne(connection);
            connection->socket->deleteLater();
            delete connection;
        });
    }
}

void FakeHttpServer::readFrom(Connection& connection) {
    connection.buffer += connection.socket->readAll();
    // One request at a time per connection: the next is read once this one is answered.
    while (!connection.awaitingAnswer) {
        const qsizetype headEnd = connection.buffer.indexOf("\r\n\r\n");
        if (headEnd < 0) {
            return;
        }
        const QList<QByteArray> lines = connection.buffer.left(headEnd).split('\n');
        const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
        Request request;
        request.method = requestLine.value(0);
        request.target = requestLine.value(1);
        for (qsizetype i = 1; i < lines.size(); ++i) {
            const qsizetype colon = lines[i].indexOf(':');
            if (colon > 0) {
                request.headers.append(
                    {lines[i].left(colon).trimmed(), lines[i].mid(colon + 1).trimmed()});
            }
        }
        const qsizetype length = request.header("Content-Length").toLongLong();
        if (connection.buffer.size() < headEnd + 4 + length) {
            return; // the body is still arriving
        }
        request.body = connection.buffer.mid(headEnd + 4, length);
        connection.buffer.remove(0, headEnd + 4 + length);
        m_requests << request;
        connection.awaitingAnswer = true;
        const Response response = m_handler ? m_handler(request) : Response::json(404, {});
        if (response.neverAnswer) {
            return;
        }
        QTcpSocket* socket = connection.socket;
        QTimer::singleShot(response.delayMs, socket,
                           [this, socket, response] { respond(socket, response); });
        return;
    }
}

void FakeHttpServer::respond(QTcpSocket* socket, const Response& response) {
    Connection* connection = nullptr;
    for (Connection* c : std::as_const(m_connections)) {
        if (c->socket == socket) {
            connection = c;
        }
    }
    if (!connection) {
        return;
    }
    if (!response.chunks.isEmpty()) {
        socket->write(head(response, "Transfer-Encoding: chunked"));
        streamChunks(socket, response.chunks, response.chunkIntervalMs);
        return;
    }
    socket->write(head(response, "Content-Length: " + QByteArray::number(response.body.size())));
    if (response.closeAfterBodyBytes >= 0) {
        socket->write(response.body.left(response.closeAfterBodyBytes));
        socket->flush();
        socket->disconnectFromHost();
        return;
    }
    socket->write(response.body);
    connection->awaitingAnswer = false;
    readFrom(*connection); // a request that came in behind this one
}

void FakeHttpServer::streamChunks(QTcpSocket* socket, QList<QByteArray> chunks, int intervalMs) {
    if (chunks.isEmpty()) {
        socket->write("0\r\n\r\n");
        for (Connection* c : std::as_const(m_connections)) {
            if (c->socket == socket) {
                c->awaitingAnswer = false;
                readFrom(*c);
                return;
            }
        }
        return;
    }
    const QByteArray chunk = chunks.takeFirst();
    socket->write(QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n");
    QTimer::singleShot(intervalMs, socket, [this, socket, chunks, intervalMs] {
        streamChunks(socket, chunks, intervalMs);
    });
}

} // namespace vellumix::test
