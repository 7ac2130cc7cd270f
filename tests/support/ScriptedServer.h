#pragma once

#include <QList>
#include <QTcpSocket>
#include <QThread>

#include <functional>
#include <future>
#include <mutex>

/// A server on a free loopback port that answers one connection after the other with a script of the test.
class ScriptedServer : public QThread
{
public:
    using Script = std::function<void(ScriptedServer&, QTcpSocket&)>;

    explicit ScriptedServer(Script script);
    ~ScriptedServer() override;

    /// Reads a request and sends reply; then closes, or is silent until the peer does.
    static Script replying(const QByteArray& reply);
    static Script silentAfter(const QByteArray& reply);

    /// Reads a head and the announced body, or what arrives until the peer closes; keeps it for requests().
    QByteArray readRequest(QTcpSocket& socket);
    QList<QByteArray> requests();

    quint16 port() const { return mPort; }
    QString host() const { return QString("127.0.0.1:%1").arg(mPort); }
    QString url(const QString& scheme = "http") const { return scheme + "://" + host() + '/'; }

protected:
    void run() override;

private:
    Script mScript;
    std::promise<quint16> mListening;
    quint16 mPort;
    std::mutex mMutex;
    QList<QByteArray> mRequests;
};
