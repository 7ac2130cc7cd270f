#include "Sockets.h"

#include <winsock2.h>

#include <array>

curl_socket_t Sockets::open(const curl_sockaddr& address)
{
    return WSASocketW(address.family, address.socktype, address.protocol, nullptr, 0,
        WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
}

void Sockets::keepFromChildren(curl_socket_t socket)
{
    SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

int Sockets::close(curl_socket_t socket)
{
    return closesocket(socket);
}

unsigned long long Sockets::identity(curl_socket_t /*socket*/)
{
    return 0;
}

void Sockets::shutDownReads(curl_socket_t socket)
{
    shutdown(socket, SD_RECEIVE);
}

void Sockets::shutDownWrites(curl_socket_t socket)
{
    shutdown(socket, SD_SEND);
}

bool Sockets::isConnected(curl_socket_t socket)
{
    sockaddr_storage peer {};
    int size = sizeof peer;
    return getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) == 0;
}

bool Sockets::isListening(curl_socket_t socket)
{
    BOOL value = FALSE;
    int size = sizeof value;
    return getsockopt(socket, SOL_SOCKET, SO_ACCEPTCONN, reinterpret_cast<char*>(&value), &size) == 0 && value != FALSE;
}

bool Sockets::hasInput(curl_socket_t socket)
{
    WSAPOLLFD entry { socket, POLLIN, 0 };
    return WSAPoll(&entry, 1, 0) > 0;
}

void Sockets::waitForInput(curl_socket_t first, curl_socket_t second, int milliseconds)
{
    std::array<WSAPOLLFD, 2> entries { { { first, POLLIN, 0 }, { second, POLLIN, 0 } } };
    WSAPoll(entries.data(), entries.size(), milliseconds);
}

/// libcurl has made the socket one that does not wait.
Sockets::Discarded Sockets::discardInput(curl_socket_t socket)
{
    std::array<char, 4096> bytes {};
    const int count = recv(socket, bytes.data(), static_cast<int>(bytes.size()), 0);
    const bool maySucceedLater = count < 0 && WSAGetLastError() == WSAEWOULDBLOCK;
    return { count > 0 ? count : 0, count <= 0 && !maySucceedLater };
}

/// libcurl has made the socket one that does not wait.
std::string Sockets::peekInput(curl_socket_t socket)
{
    std::array<char, 4096> bytes {};
    const int count = recv(socket, bytes.data(), static_cast<int>(bytes.size()), MSG_PEEK);
    return { bytes.data(), static_cast<std::size_t>(count > 0 ? count : 0) };
}

int Sockets::unsentBytes(curl_socket_t /*socket*/)
{
    return 0;
}

void Sockets::acknowledge(curl_socket_t /*socket*/) { }
