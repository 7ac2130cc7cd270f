#pragma once

#include <QList>
#include <QTcpSocket>
#include <QThread>

#include <functional>
#include <future>
#include <mutex>
#include <optional>

/// How a server breaks its connections once it has sent a number of bytes over all of them.
struct Fault
{
    enum Way { Close, Reset, Silence };

    Way way = Close;
    qint64 after = -1; ///< bytes; negative: never
    /// Called once, on the server's thread, just before the connections end or when the silence lasts.
    std::function<void()> onBreak;
};

/// A server on a free loopback port that answers one connection after the other with a script of the test.
class ScriptedServer : public QThread
{
public:
    static constexpr int TURN_MS = 20; ///< how soon a wait notices that the server ends

    using Script = std::function<void(ScriptedServer&, QTcpSocket&)>;

    explicit ScriptedServer(Script script);
    ~ScriptedServer() override;

    /// Reads a request and sends reply; then closes, or is silent until the peer does.
    static Script replying(const QByteArray& reply);
    static Script silentAfter(const QByteArray& reply);

    /// Counts from the next connection on what send() sends, and breaks that and later connections when the fault is
    /// due.
    void setFault(Fault fault = {});
    qint64 sent();
    /// False when the connection is of no more use.
    bool send(QTcpSocket& socket, const QByteArray& bytes);
    void endConnection(QTcpSocket& socket);

    /// Reads a head and the announced body, or what arrives until the peer closes; keeps it for requests().
    QByteArray readRequest(QTcpSocket& socket);
    QList<QByteArray> requests();

    quint16 port() const { return mPort; }
    QString host() const { return QString("127.0.0.1:%1").arg(mPort); }
    QString url(const QString& scheme = "http") const { return scheme + "://" + host() + '/'; }

protected:
    void run() override;

private:
    void takeFault();
    void breakDown(QTcpSocket& socket);
    bool isConnected(const QTcpSocket& socket) const;

    Script mScript;
    std::promise<quint16> mListening;
    quint16 mPort;
    std::mutex mMutex;
    QList<QByteArray> mRequests;
    Fault mFault;
    std::optional<Fault> mNextFault;
    qint64 mSent = 0;
};
