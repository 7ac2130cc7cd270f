#pragma once

#include <curl/curl.h>

#include <mutex>
#include <vector>

/**
 * The sockets that libcurl has open, so that they can be hung up while libcurl sleeps on one.
 *
 * libcurl waits for some answers in a call of its own that looks at nothing but the socket: that of a finished upload,
 * of a command after a transfer, of QUIT. The connections of a watched handle must be gone before this object is.
 */
class OpenSockets
{
public:
    OpenSockets() = default;
    OpenSockets(const OpenSockets&) = delete;
    OpenSockets& operator=(const OpenSockets&) = delete;

    void watch(CURL* easy);
    /// Takes the handle back to libcurl's own way to open and close.
    static void leave(CURL* easy);

    /// Any thread: from now on every read finds that the peer has closed. What is written still goes out.
    void hangUp();

private:
    static curl_socket_t open(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int close(void* self, curl_socket_t socket);

    std::mutex mMutex;
    std::vector<curl_socket_t> mSockets;
};
