#include "ScriptedServer.h"

#include <QRegularExpression>
#include <QTcpServer>

static constexpr int TURN_MS = 20;

/// Whether the head of a request and the body that it announces are there.
static bool isWhole(const QByteArray& request)
{
    static const QRegularExpression announced("\r\nContent-Length: (\\d+)");
    const int body = request.indexOf("\r\n\r\n") + 4;
    return body >= 4 && request.size() >= body + announced.match(request.left(body)).captured(1).toInt();
}

ScriptedServer::ScriptedServer(Script script)
    : mScript(std::move(script))
{
    start();
    mPort = mListening.get_future().get();
}

ScriptedServer::~ScriptedServer()
{
    requestInterruption();
    wait();
}

void ScriptedServer::run()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    mListening.set_value(server.serverPort());
    while (!isInterruptionRequested()) {
        if (server.hasPendingConnections() || server.waitForNewConnection(TURN_MS)) {
            const std::unique_ptr<QTcpSocket> socket(server.nextPendingConnection());
            mScript(*this, *socket);
            socket->disconnectFromHost();
        }
    }
}

QByteArray ScriptedServer::readRequest(QTcpSocket& socket)
{
    QByteArray request;
    while (!isWhole(request) && socket.state() == QTcpSocket::ConnectedState && !isInterruptionRequested()) {
        socket.waitForReadyRead(TURN_MS);
        request += socket.readAll();
    }
    const std::lock_guard<std::mutex> guard(mMutex);
    mRequests << request;
    return request;
}

QList<QByteArray> ScriptedServer::requests()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mRequests;
}

ScriptedServer::Script ScriptedServer::replying(const QByteArray& reply)
{
    return [reply](ScriptedServer& server, QTcpSocket& socket) {
        server.readRequest(socket);
        socket.write(reply);
        while (socket.bytesToWrite() > 0 && socket.waitForBytesWritten()) { }
    };
}

ScriptedServer::Script ScriptedServer::silentAfter(const QByteArray& reply)
{
    return [reply](ScriptedServer& server, QTcpSocket& socket) {
        replying(reply)(server, socket);
        server.readRequest(socket);
    };
}
