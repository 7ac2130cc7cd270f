#include "ScriptedServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>

namespace {

sockaddr_in loopback(int port)
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int listenOnFreePort(int backlog)
{
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const sockaddr_in address = loopback(0);
    if (bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0
        || listen(listener, backlog) != 0) {
        qFatal("no loopback port to listen on");
    }
    return listener;
}

int portOf(int listener)
{
    sockaddr_in address {};
    socklen_t size = sizeof address;
    getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

int announcedLength(const QByteArray& head)
{
    const QByteArray name = "content-length:";
    const int at = head.toLower().indexOf("\r\n" + name);
    return at < 0
        ? 0
        : head.mid(at + 2 + name.size(), head.indexOf("\r\n", at + 2) - at - 2 - name.size()).toInt();
}

} // namespace

ScriptedServer::Connection::Connection(ScriptedServer& server, int socket)
    : mServer(server)
    , mSocket(socket)
{
}

QByteArray ScriptedServer::Connection::receive()
{
    QByteArray bytes(64 * 1024, Qt::Uninitialized);
    const ssize_t size = recv(mSocket, bytes.data(), static_cast<size_t>(bytes.size()), 0);
    bytes.resize(static_cast<int>(qMax<ssize_t>(size, 0)));
    return bytes;
}

QByteArray ScriptedServer::Connection::readRequest()
{
    QByteArray request;
    int whole = -1;
    while (whole < 0 || request.size() < whole) {
        const QByteArray bytes = receive();
        if (bytes.isEmpty()) {
            break;
        }
        request += bytes;
        const int headEnd = request.indexOf("\r\n\r\n");
        if (whole < 0 && headEnd >= 0) {
            whole = headEnd + 4 + announcedLength(request.left(headEnd + 2));
            if (request.contains("Expect: 100-continue")) {
                send("HTTP/1.1 100 Continue\r\n\r\n");
            }
        }
    }
    const std::lock_guard<std::mutex> guard(mServer.mMutex);
    mServer.mRequests << request;
    return request;
}

void ScriptedServer::Connection::send(const QByteArray& bytes)
{
    int sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size = ::send(
            mSocket, bytes.constData() + sent, static_cast<size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (size <= 0) {
            return;
        }
        sent += static_cast<int>(size);
    }
}

void ScriptedServer::Connection::drip(const QByteArray& bytes, int pieceSize, int pauseMs)
{
    for (int at = 0; at < bytes.size() && !mServer.mEnding; at += pieceSize) {
        send(bytes.mid(at, pieceSize));
        std::this_thread::sleep_for(std::chrono::milliseconds(pauseMs));
    }
}

void ScriptedServer::Connection::waitForClose()
{
    while (!receive().isEmpty()) { }
}

ScriptedServer::ScriptedServer(Script script)
    : mScript(std::move(script))
    , mListener(listenOnFreePort(64))
    , mAcceptor([this] { acceptAll(); })
{
}

ScriptedServer::~ScriptedServer()
{
    mEnding = true;
    shutdown(mListener, SHUT_RDWR);
    mAcceptor.join();
    for (const int socket : mSockets) {
        shutdown(socket, SHUT_RDWR);
    }
    for (std::thread& thread : mThreads) {
        thread.join();
    }
    for (const int socket : mSockets) {
        close(socket);
    }
    close(mListener);
}

void ScriptedServer::acceptAll()
{
    while (!mEnding) {
        const int socket = accept4(mListener, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) {
            return;
        }
        mSockets.push_back(socket);
        mThreads.emplace_back([this, socket] {
            Connection connection(*this, socket);
            mScript(connection);
            shutdown(socket, SHUT_RDWR);
        });
        const std::lock_guard<std::mutex> guard(mMutex);
        ++mConnections;
        mAccepted.notify_all();
    }
}

ScriptedServer::Script ScriptedServer::replying(const QByteArray& reply)
{
    return [reply](Connection& connection) {
        connection.readRequest();
        connection.send(reply);
    };
}

QString ScriptedServer::url(const QString& path, const QString& scheme) const
{
    return QStringLiteral("%1://127.0.0.1:%2%3").arg(scheme, QString::number(portOf(mListener)), path);
}

void ScriptedServer::waitForConnections(int count)
{
    std::unique_lock<std::mutex> lock(mMutex);
    mAccepted.wait(lock, [this, count] { return mConnections >= count; });
}

QList<QByteArray> ScriptedServer::requests()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mRequests;
}

FullListener::FullListener()
    : mSockets { listenOnFreePort(0) }
    , mPort(portOf(mSockets.front()))
{
    for (int i = 0; i < 4; ++i) {
        const int filler = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        const sockaddr_in address = loopback(mPort);
        static_cast<void>(connect(filler, reinterpret_cast<const sockaddr*>(&address), sizeof address));
        mSockets.push_back(filler);
    }
}

FullListener::~FullListener()
{
    for (const int socket : mSockets) {
        close(socket);
    }
}

QString FullListener::url() const
{
    return QStringLiteral("http://127.0.0.1:%1/").arg(mPort);
}
