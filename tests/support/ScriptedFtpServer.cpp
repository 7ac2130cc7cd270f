#include "ScriptedFtpServer.h"

#include <QTcpServer>

const QByteArray FtpPlay::DROP = "drop";
const QByteArray FtpPlay::SILENCE = "silence";

static const QMap<QByteArray, QByteArray> USUAL_REPLIES { { "USER", "331 who" }, { "PASS", "230 welcome" },
    { "PWD", "257 \"/\"" }, { "TYPE", "200 fine" }, { "MDTM", "213 20200101000000" }, { "LIST", "150 here" },
    { "RETR", "150 here" }, { "STOR", "150 send" }, { "QUIT", "221 bye" } };

QByteArray listed(const QByteArrayList& entries)
{
    QByteArray listing;
    for (const QByteArray& name : entries) {
        const bool isFolder = name.endsWith("|d");
        listing += (isFolder ? "drwxr-xr-x" : name.contains(" -> ") ? "lrwxrwxrwx" : "-rw-r--r--");
        listing += " 1 anna users 7 Jan 01 2020 " + (isFolder ? name.chopped(2) : name) + "\r\n";
    }
    return listing;
}

ScriptedFtpServer::ScriptedFtpServer(FtpPlay play)
    : mPlay(std::move(play))
    , mServer([this](ScriptedServer&, QTcpSocket& control) { converse(control); })
{
}

QList<QByteArray> ScriptedFtpServer::commands()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mCommands;
}

QByteArray ScriptedFtpServer::uploaded()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    return mUploaded;
}

void ScriptedFtpServer::converse(QTcpSocket& control)
{
    QTcpServer dataServer;
    control.setSocketOption(QAbstractSocket::LowDelayOption, 1);
    bool goesOn = say(control, replyTo("greeting", "220 scripted"));
    while (goesOn && control.state() == QTcpSocket::ConnectedState && !mServer.isInterruptionRequested()) {
        if (!control.canReadLine() && !control.waitForReadyRead(ScriptedServer::TURN_MS)) {
            continue;
        }
        const QByteArray command = control.readLine().trimmed();
        const QByteArray verb = command.split(' ').first();
        if (verb != "USER" && verb != "PASS" && verb != "PWD" && verb != "QUIT") {
            const std::lock_guard<std::mutex> guard(mMutex);
            mCommands << command;
        }
        if (verb == "CWD") {
            mDirectory = command.mid(4);
        }
        if (mPlay.onCommand) {
            mPlay.onCommand(command);
        }
        QByteArray usual = USUAL_REPLIES.value(verb, "250 done");
        if (verb == "SIZE") {
            usual = "213 " + QByteArray::number(mPlay.content.size());
        }
        if (verb == "PASV") {
            dataServer.close();
            dataServer.listen(QHostAddress::LocalHost);
            const int port = dataServer.serverPort();
            // Every reply has as many bytes as the one before.
            usual = "227 ok (127,0,0,1,"
                + QString("%1,%2)").arg(port / 256, 3, 10, QChar('0')).arg(port % 256, 3, 10, QChar('0')).toLatin1();
        }
        const QByteArray start = command.left(command.lastIndexOf('.') + 1);
        const QByteArray reply = replyTo(mPlay.replies.contains(command) ? command
                : !start.isEmpty() && mPlay.replies.contains(start)      ? start
                                                                         : verb,
            usual);
        goesOn = say(control, reply) && verb != "QUIT";
        if (goesOn && reply.startsWith("150")) {
            goesOn = transfer(control, dataServer, verb);
        }
    }
}

QByteArray ScriptedFtpServer::replyTo(const QByteArray& key, const QByteArray& usual) const
{
    const bool isOdd = mPlay.replies.contains(key) && (!mPlay.isDue || mPlay.isDue());
    return isOdd ? mPlay.replies.value(key) : usual;
}

bool ScriptedFtpServer::say(QTcpSocket& control, const QByteArray& reply)
{
    if (reply == FtpPlay::DROP) {
        return false;
    }
    return (reply == FtpPlay::SILENCE || mServer.send(control, reply + "\r\n")) && !reply.contains("421");
}

bool ScriptedFtpServer::transfer(QTcpSocket& control, QTcpServer& dataServer, const QByteArray& verb)
{
    if (!dataServer.hasPendingConnections() && !dataServer.waitForNewConnection(5000)) {
        return false;
    }
    const std::unique_ptr<QTcpSocket> data(dataServer.nextPendingConnection());
    const bool isListing = mPlay.listing && (verb == "LIST" || verb == "MLSD");
    const QByteArray outgoing = isListing ? mPlay.listing(mDirectory) : verb == "RETR" ? mPlay.content : QByteArray();
    if (verb == "STOR") {
        receive(*data);
    } else {
        while (mServer.send(*data, outgoing) && mPlay.isEndless) { }
    }
    mServer.endConnection(*data);
    return say(control, replyTo("after " + verb, "226 done"));
}

void ScriptedFtpServer::receive(QTcpSocket& data)
{
    QByteArray received;
    while (data.state() == QTcpSocket::ConnectedState && !mServer.isInterruptionRequested()) {
        data.waitForReadyRead(ScriptedServer::TURN_MS);
        received += data.readAll();
    }
    const std::lock_guard<std::mutex> guard(mMutex);
    mUploaded = received;
}
