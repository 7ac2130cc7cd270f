#pragma once

#include <curl/curl.h>

#include <mutex>
#include <vector>

/**
 * The sockets that libcurl has open, so that they can be shut down while libcurl sleeps on one.
 *
 * libcurl waits for some answers in a call of its own that looks at nothing but the socket: for the reply to a finished
 * upload, to a command after a transfer, to QUIT. The connections of a watched handle end before this object does.
 */
class OpenSockets
{
public:
    OpenSockets() = default;
    OpenSockets(const OpenSockets&) = delete;
    OpenSockets& operator=(const OpenSockets&) = delete;

    void watch(CURL* easy);
    /// Restores libcurl's own functions that open and close sockets.
    static void detach(CURL* easy);

    /// Any thread: from now on every read meets the end of the stream. Written data still goes out.
    void shutDown();

    /// Whether a peer has accepted one of the connections.
    bool isAnyConnected();
    /// Acknowledges what has arrived.
    void acknowledge();

private:
    static curl_socket_t open(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int close(void* self, curl_socket_t socket);

    std::mutex mMutex;
    std::vector<curl_socket_t> mSockets;
};
