#include "ScriptedServer.h"

#include <QRegularExpression>
#include <QTcpServer>

#include <sys/socket.h>

static constexpr int SILENCE_MS = 5; // by then a client has stopped to expect an answer at any moment

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
            takeFault();
            mScript(*this, *socket);
            endConnection(*socket);
        }
    }
}

void ScriptedServer::setFault(Fault fault)
{
    const std::lock_guard<std::mutex> guard(mMutex);
    mNextFault = std::move(fault);
}

void ScriptedServer::takeFault()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    if (mNextFault) {
        mFault = *std::exchange(mNextFault, std::nullopt);
        mSent = 0;
    }
}

qint64 ScriptedServer::sent()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mSent;
}

bool ScriptedServer::isConnected(const QTcpSocket& socket) const
{
    return socket.state() == QTcpSocket::ConnectedState && !isInterruptionRequested();
}

bool ScriptedServer::send(QTcpSocket& socket, const QByteArray& bytes)
{
    std::unique_lock<std::mutex> lock(mMutex);
    const qint64 size = mFault.after < 0 ? bytes.size() : qMin<qint64>(bytes.size(), mFault.after - mSent);
    mSent += size;
    const bool isBroken = mSent == mFault.after;
    lock.unlock();
    socket.write(bytes.constData(), size);
    while (socket.bytesToWrite() > 0 && isConnected(socket)) {
        socket.waitForBytesWritten(TURN_MS);
    }
    if (isBroken) {
        breakDown(socket);
    }
    return isConnected(socket);
}

void ScriptedServer::breakDown(QTcpSocket& socket)
{
    std::unique_lock<std::mutex> lock(mMutex);
    const bool isSilent = mFault.way == Fault::Silence;
    if (isSilent) {
        socket.waitForReadyRead(SILENCE_MS);
    }
    if (mFault.onBreak) {
        std::exchange(mFault.onBreak, nullptr)();
    }
    lock.unlock();
    while (isSilent && isConnected(socket)) {
        socket.waitForReadyRead(TURN_MS);
    }
    endConnection(socket);
}

void ScriptedServer::endConnection(QTcpSocket& socket)
{
    const std::lock_guard<std::mutex> guard(mMutex);
    if (mFault.way == Fault::Reset && mSent == mFault.after) {
        const linger atOnce { 1, 0 };
        setsockopt(static_cast<int>(socket.socketDescriptor()), SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
    }
    socket.disconnectFromHost();
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
        server.send(socket, reply);
    };
}

ScriptedServer::Script ScriptedServer::silentAfter(const QByteArray& reply)
{
    return [reply](ScriptedServer& server, QTcpSocket& socket) {
        replying(reply)(server, socket);
        server.readRequest(socket);
    };
}
