#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <list>
#include <mutex>
#include <thread>

/// A server on a free loopback port whose answers are a function of the test, run on a thread per connection.
class ScriptedServer
{
public:
    class Connection
    {
    public:
        /// Reads a head and, when a length is announced, the body; keeps both for requests().
        QByteArray readRequest();
        void send(const QByteArray& bytes);
        /// Sends one piece after the other, until all is sent or the peer is gone.
        void drip(const QByteArray& bytes, int pieceSize, int pauseMs);
        /// Stays silent until the peer closes the connection or the server ends.
        void waitForClose();

    private:
        friend class ScriptedServer;
        Connection(ScriptedServer& server, int socket);
        QByteArray receive();

        ScriptedServer& mServer;
        int mSocket;
    };
    using Script = std::function<void(Connection&)>;

    explicit ScriptedServer(Script script);
    ~ScriptedServer();

    /// A script that reads a request and sends reply, then closes.
    static Script replying(const QByteArray& reply);

    QString url(
        const QString& path = QStringLiteral("/"), const QString& scheme = QStringLiteral("http")) const;
    /// Blocks until count connections were accepted.
    void waitForConnections(int count);
    QList<QByteArray> requests();

private:
    void acceptAll();

    Script mScript;
    int mListener;
    std::atomic<bool> mEnding { false };
    std::mutex mMutex;
    std::condition_variable mAccepted;
    int mConnections = 0;
    QList<QByteArray> mRequests;
    std::list<int> mSockets;
    std::list<std::thread> mThreads;
    std::thread mAcceptor;
};

/// A port whose connections are never established: its queue is full.
class FullListener
{
public:
    FullListener();
    ~FullListener();
    QString url() const;

private:
    std::list<int> mSockets;
    int mPort = 0;
};
