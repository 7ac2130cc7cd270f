#include "Sockets.h"

#include <winsock2.h>

curl_socket_t Sockets::open(const curl_sockaddr& address)
{
    return WSASocketW(address.family, address.socktype, address.protocol, nullptr, 0,
        WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
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

bool Sockets::isConnected(curl_socket_t socket)
{
    sockaddr_storage peer {};
    int size = sizeof peer;
    return getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) == 0;
}

bool Sockets::hasInput(curl_socket_t socket)
{
    WSAPOLLFD entry { socket, POLLIN, 0 };
    return WSAPoll(&entry, 1, 0) > 0;
}

void Sockets::acknowledge(curl_socket_t /*socket*/) { }
