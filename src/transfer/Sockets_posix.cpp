#include "Sockets.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

curl_socket_t Sockets::open(const curl_sockaddr& address)
{
#ifdef SOCK_CLOEXEC
    return socket(address.family, address.socktype | SOCK_CLOEXEC, address.protocol);
#else
    // macOS: a process that another thread starts between the two calls inherits the socket.
    const curl_socket_t opened = socket(address.family, address.socktype, address.protocol);
    if (opened != CURL_SOCKET_BAD) {
        keepFromChildren(opened);
    }
    return opened;
#endif
}

void Sockets::keepFromChildren(curl_socket_t socket)
{
    fcntl(socket, F_SETFD, FD_CLOEXEC); // NOLINT(*-vararg)
}

int Sockets::close(curl_socket_t socket)
{
    return ::close(socket);
}

unsigned long long Sockets::identity(curl_socket_t socket)
{
    struct stat status
    {
    };
    return fstat(socket, &status) == 0 ? status.st_ino : 0;
}

void Sockets::shutDownReads(curl_socket_t socket)
{
    shutdown(socket, SHUT_RD);
}

void Sockets::shutDownWrites(curl_socket_t socket)
{
    shutdown(socket, SHUT_WR);
}

bool Sockets::isConnected(curl_socket_t socket)
{
    sockaddr_storage peer {};
    socklen_t size = sizeof peer;
    return getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) == 0;
}

bool Sockets::isListening(curl_socket_t socket)
{
    int value = 0;
    socklen_t size = sizeof value;
    return getsockopt(socket, SOL_SOCKET, SO_ACCEPTCONN, &value, &size) == 0 && value != 0;
}

bool Sockets::hasInput(curl_socket_t socket)
{
    pollfd entry { socket, POLLIN, 0 };
    return poll(&entry, 1, 0) > 0;
}

void Sockets::waitForInput(curl_socket_t first, curl_socket_t second, int milliseconds)
{
    std::array<pollfd, 2> entries { { { first, POLLIN, 0 }, { second, POLLIN, 0 } } };
    poll(entries.data(), entries.size(), milliseconds);
}

Sockets::Discarded Sockets::discardInput(curl_socket_t socket)
{
    std::array<char, 4096> bytes {};
    const ssize_t count = recv(socket, bytes.data(), bytes.size(), MSG_DONTWAIT);
    const bool maySucceedLater = count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR);
    return { count > 0 ? static_cast<int>(count) : 0, count <= 0 && !maySucceedLater };
}

std::string Sockets::peekInput(curl_socket_t socket)
{
    std::array<char, 4096> bytes {};
    const ssize_t count = recv(socket, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_PEEK);
    return { bytes.data(), static_cast<std::size_t>(count > 0 ? count : 0) };
}

int Sockets::unsentBytes(curl_socket_t socket)
{
    int bytes = 0;
#ifdef TIOCOUTQ
    ioctl(socket, TIOCOUTQ, &bytes); // NOLINT(*-vararg)
#else
    static_cast<void>(socket);
#endif
    return bytes;
}

void Sockets::acknowledge(curl_socket_t socket)
{
#ifdef TCP_QUICKACK
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_QUICKACK, &on, sizeof on);
#else
    static_cast<void>(socket);
#endif
}
