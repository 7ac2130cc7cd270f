#pragma once

#include <curl/curl.h>

#include <string>

/// The calls for sockets in which systems differ.
namespace Sockets {

/// A socket that child processes do not inherit; CURL_SOCKET_BAD if the system refuses one.
curl_socket_t open(const curl_sockaddr& address);
/// Keeps a socket from child processes that are started from now on.
void keepFromChildren(curl_socket_t socket);
/// 0, or a negative value on failure.
int close(curl_socket_t socket);
/// Differs between a socket and a later one with its number, where the system tells; else 0.
unsigned long long identity(curl_socket_t socket);
/// Any thread: from now on every read meets the end of the stream. Written data still goes out.
void shutDownReads(curl_socket_t socket);
/// The peer meets the end of the stream after what was written.
void shutDownWrites(curl_socket_t socket);
/// Whether a peer has accepted the connection.
bool isConnected(curl_socket_t socket);
/// Whether the socket waits for a peer to connect to it, as in active mode.
bool isListening(curl_socket_t socket);
/// Whether a read would not wait. Does not wait itself.
bool hasInput(curl_socket_t socket);
/// Waits until one of two sockets can be read, or for the time.
void waitForInput(curl_socket_t first, curl_socket_t second, int milliseconds);
/// The result of discardInput().
struct Discarded
{
    int bytes; ///< how many were read
    bool isAtEnd; ///< nothing more can come
};
/// Reads a few thousand bytes at most of what has arrived. Does not wait.
Discarded discardInput(curl_socket_t socket);
/// Returns a few thousand bytes at most of what has arrived, which a later read gets again. Does not wait.
std::string peekInput(curl_socket_t socket);
/// How many written bytes the peer has not acknowledged yet, where the system tells; else 0.
int unsentBytes(curl_socket_t socket);
/// Acknowledges what has arrived, where the system can be told to, instead of waiting for something to send with it.
void acknowledge(curl_socket_t socket);

} // namespace Sockets
