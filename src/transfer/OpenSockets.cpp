#include "OpenSockets.h"

#include "Sockets.h"

#include <algorithm>
#include <thread>
#include <utility>

namespace {

constexpr int LINGER_TURN_MS = 50;
constexpr int MAX_DISCARDED_BYTES = 64 * 1024; ///< session tickets take less than one

void waitForAnswer(curl_socket_t socket, std::chrono::microseconds time)
{
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end && !Sockets::hasInput(socket)) {
        std::this_thread::yield();
    }
}

} // namespace

void OpenSockets::watch(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &OpenSockets::open);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, &OpenSockets::close);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
}

void OpenSockets::keepAcceptedFromChildren(CURL* easy)
{
    const auto keep = [](void* /*data*/, curl_socket_t socket, curlsocktype purpose) {
        if (purpose == CURLSOCKTYPE_ACCEPT) {
            Sockets::keepFromChildren(socket);
        }
        return CURL_SOCKOPT_OK;
    };
    curl_easy_setopt(easy, CURLOPT_SOCKOPTFUNCTION, static_cast<curl_sockopt_callback>(keep));
}

void OpenSockets::detach(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, nullptr);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, nullptr);
}

void OpenSockets::shutDown()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    dropClosed();
    for (const Entry& entry : mSockets) {
        Sockets::shutDownReads(entry.socket);
    }
}

bool OpenSockets::isAnyConnected()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    dropClosed();
    return std::any_of(mSockets.begin(), mSockets.end(), [](const Entry& e) { return Sockets::isConnected(e.socket); });
}

bool OpenSockets::isAnyIdle()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    dropClosed();
    return std::any_of(mSockets.begin(), mSockets.end(),
        [](const Entry& e) { return Sockets::isConnected(e.socket) && !Sockets::hasInput(e.socket); });
}

void OpenSockets::acknowledge()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    std::for_each(mSockets.begin(), mSockets.end(), [](const Entry& e) { Sockets::acknowledge(e.socket); });
}

void OpenSockets::setReplyTime(std::chrono::milliseconds time)
{
    mReplyTime = time;
    mKeptReply.clear();
}

curl_socket_t OpenSockets::open(void* self, curlsocktype /*purpose*/, curl_sockaddr* address)
{
    const curl_socket_t opened = Sockets::open(*address);
    if (opened != CURL_SOCKET_BAD) {
        OpenSockets& sockets = *static_cast<OpenSockets*>(self);
        const std::lock_guard<std::mutex> guard(sockets.mMutex);
        sockets.mSockets.push_back({ opened, Sockets::identity(opened) });
    }
    return opened;
}

int OpenSockets::close(void* self, curl_socket_t socket)
{
    OpenSockets& sockets = *static_cast<OpenSockets*>(self);
    // Nothing was sent over a listening socket.
    const curl_socket_t remaining = Sockets::isListening(socket) ? CURL_SOCKET_BAD : sockets.onlyOther(socket);
    if (remaining != CURL_SOCKET_BAD && sockets.mLingerTime.count() > 0) {
        sockets.linger(socket, remaining);
    }
    const int result = sockets.remove(socket);
    if (remaining != CURL_SOCKET_BAD) {
        waitForAnswer(remaining, sockets.mAnswerTime);
    }
    if (remaining != CURL_SOCKET_BAD && sockets.mReplyTime.count() > 0) {
        Sockets::waitForInput(remaining, remaining, static_cast<int>(sockets.mReplyTime.count()));
        sockets.mKeptReply = Sockets::peekInput(remaining);
    }
    return result;
}

/// The socket beside the given one, if there is a single one.
curl_socket_t OpenSockets::onlyOther(curl_socket_t socket)
{
    const std::lock_guard<std::mutex> guard(mMutex);
    const auto isOther = [socket](const Entry& entry) { return entry.socket != socket; };
    const auto other = std::find_if(mSockets.begin(), mSockets.end(), isOther);
    return std::count_if(mSockets.begin(), mSockets.end(), isOther) == 1 ? other->socket : CURL_SOCKET_BAD;
}

/// Reads until the peer has read everything: it closes the connection then, or answers on the control connection.
void OpenSockets::linger(curl_socket_t socket, curl_socket_t control) const
{
    Sockets::shutDownWrites(socket);
    auto lastMove = std::chrono::steady_clock::now();
    int unsent = Sockets::unsentBytes(socket);
    int discarded = 0;
    while (discarded < MAX_DISCARDED_BYTES && std::chrono::steady_clock::now() - lastMove < mLingerTime) {
        const Sockets::Discarded input = Sockets::discardInput(socket);
        discarded += input.bytes;
        if (input.isAtEnd || (input.bytes == 0 && Sockets::hasInput(control))) {
            return;
        }
        Sockets::waitForInput(socket, control, LINGER_TURN_MS);
        if (std::exchange(unsent, Sockets::unsentBytes(socket)) != unsent) {
            lastMove = std::chrono::steady_clock::now();
        }
    }
}

int OpenSockets::remove(curl_socket_t socket)
{
    // Closed under the lock, so that shutDown() never meets the number of a socket that somebody else opened since.
    const std::lock_guard<std::mutex> guard(mMutex);
    const auto isClosed = [socket](const Entry& entry) { return entry.socket == socket; };
    mSockets.erase(std::remove_if(mSockets.begin(), mSockets.end(), isClosed), mSockets.end());
    return Sockets::close(socket);
}

/// libcurl (8.5 to 8.21) closes a listening socket of active mode by itself when something fails before it is used. The
/// number may belong to a socket of the application by now.
void OpenSockets::dropClosed()
{
    const auto isClosed = [](const Entry& entry) { return Sockets::identity(entry.socket) != entry.identity; };
    mSockets.erase(std::remove_if(mSockets.begin(), mSockets.end(), isClosed), mSockets.end());
}
