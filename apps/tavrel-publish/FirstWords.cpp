#include "FirstWords.h"

#include <QElapsedTimer>
#include <QNetworkProxy>
#include <QTcpSocket>

namespace {

constexpr int WAIT_MS = 4000;
constexpr int TURN_MS = 100;
constexpr int MAX_LINE = 300;

} // namespace

QString FirstWords::of(const QString& host, int port, const std::function<bool()>& isEnough)
{
    QTcpSocket socket;
    socket.setProxy(QNetworkProxy::NoProxy);
    socket.setReadBufferSize(MAX_LINE);
    socket.connectToHost(host, static_cast<quint16>(port));
    QElapsedTimer time;
    time.start();
    const auto isPending = [&] {
        return socket.state() != QAbstractSocket::UnconnectedState && !socket.canReadLine()
            && socket.bytesAvailable() < MAX_LINE && !time.hasExpired(WAIT_MS) && !isEnough();
    };
    while (isPending()) {
        if (socket.state() == QAbstractSocket::ConnectedState) {
            socket.waitForReadyRead(TURN_MS);
        } else {
            socket.waitForConnected(TURN_MS);
        }
    }
    return QString::fromUtf8(socket.readLine(MAX_LINE)).trimmed();
}
