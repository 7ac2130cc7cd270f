#pragma once

#include "ScriptedServer.h"

#include <QByteArrayList>
#include <QMap>

class QTcpServer;

/// How a ScriptedFtpServer deviates from its usual replies.
struct FtpPlay
{
    /// A reply that closes the connection instead, and one that never comes.
    static const QByteArray DROP;
    static const QByteArray SILENCE;

    /// Replies by command ("CWD www"), by its part up to the last dot ("DELE www/a."), by verb ("CWD"), or to what
    /// follows on a transfer ("after STOR"). One with 421 closes the connection.
    QMap<QByteArray, QByteArray> replies;
    /// Tells whether such a reply is due, else the usual one is given; always, without a function.
    std::function<bool()> isDue;
    /// The answer to LIST and MLSD.
    std::function<QByteArray(const QByteArray& directory)> listing = [](const QByteArray&) { return QByteArray(); };
    QByteArray content; ///< what RETR sends
    bool isEndless = false; ///< LIST and RETR send theirs again and again, until the client has gone
    std::function<void(const QByteArray& command)> onCommand; ///< called on the server's thread before the reply
};

/// A listing of entries of 7 bytes: files, folders ("name|d") and links ("name -> target").
QByteArray listed(const QByteArrayList& entries);

/// An FTP server on a free loopback port that agrees to everything its play does not mention.
class ScriptedFtpServer
{
public:
    explicit ScriptedFtpServer(FtpPlay play = {});

    quint16 port() const { return mServer.port(); }
    ScriptedServer& connections() { return mServer; }
    /// The commands of all connections, except for the login.
    QList<QByteArray> commands();
    QByteArray uploaded();

private:
    void converse(QTcpSocket& control);
    QByteArray replyTo(const QByteArray& key, const QByteArray& usual) const;
    bool say(QTcpSocket& control, const QByteArray& reply);
    bool transfer(QTcpSocket& control, QTcpServer& dataServer, const QByteArray& verb);
    void receive(QTcpSocket& data);

    FtpPlay mPlay;
    std::mutex mMutex;
    QList<QByteArray> mCommands;
    QByteArray mUploaded;
    QByteArray mDirectory; // what CWD has asked for
    ScriptedServer mServer;
};
