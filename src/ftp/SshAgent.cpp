#include "SshAgent.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QtEndian>

namespace {

constexpr int TIME_OUT_MS = 5000;
constexpr int INTERRUPTION_CHECK_MS = 50;
constexpr quint32 MAX_ANSWER_BYTES = 256 * 1024; // also the bound of OpenSSH
constexpr int LENGTH_BYTES = 4;
/// Length and type of the message SSH_AGENTC_REQUEST_IDENTITIES.
constexpr char REQUEST[] = { 0, 0, 0, 1, 11 };

/// Reads on; true once the answer is complete.
bool isComplete(QLocalSocket& socket, QByteArray& answer)
{
    answer += socket.readAll();
    if (answer.size() < LENGTH_BYTES) {
        return false;
    }
    const auto length = qFromBigEndian<quint32>(answer.constData());
    return length > MAX_ANSWER_BYTES || answer.size() - LENGTH_BYTES >= static_cast<int>(length);
}

} // namespace

bool SshAgent::answers(const std::shared_ptr<Interruption>& interruption)
{
    QElapsedTimer time;
    time.start();
    const auto mayWait = [&] { return time.elapsed() < TIME_OUT_MS && !(interruption && interruption->isRequested()); };
    QLocalSocket socket;
    socket.connectToServer(QFile::decodeName(qgetenv("SSH_AUTH_SOCK")));
    while (socket.state() == QLocalSocket::ConnectingState && mayWait()) {
        socket.waitForConnected(INTERRUPTION_CHECK_MS);
    }
    if (socket.state() == QLocalSocket::UnconnectedState) {
        return true; // libcurl goes on without it.
    }
    socket.write(REQUEST, sizeof REQUEST);
    QByteArray answer;
    while (!isComplete(socket, answer) && socket.state() == QLocalSocket::ConnectedState && mayWait()) {
        socket.waitForReadyRead(INTERRUPTION_CHECK_MS);
    }
    return isComplete(socket, answer);
}
