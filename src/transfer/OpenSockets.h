#pragma once

#include <curl/curl.h>

#include <chrono>
#include <mutex>
#include <string>
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

    /// Keeps the sockets that libcurl accepts, in active mode, from child processes.
    static void keepAcceptedFromChildren(CURL* easy);

    /// Any thread: from now on every read meets the end of the stream. Written data still goes out.
    void shutDown();

    /// Whether a peer has accepted one of the connections.
    bool isAnyConnected();
    /// Whether one of the connections is ready for a request: nothing has arrived on it, such as its end.
    bool isAnyIdle();
    /// Acknowledges what has arrived.
    void acknowledge();

    /// For how long the end of one connection waits for an answer on the other connection, without sleeping. Zero,
    /// the default, leaves the wait to libcurl, which sleeps.
    void setAnswerTime(std::chrono::microseconds time) { mAnswerTime = time; }
    /// How long the end of one of two connections waits for its peer to read on. Zero, the default, closes at once,
    /// which resets a connection with unread bytes, so that the peer loses what it has not read.
    void setLingerTime(std::chrono::milliseconds time) { mLingerTime = time; }
    /// How long the end of one of two connections waits for a reply on the other one, to keep a copy of it. Zero, the
    /// default, keeps none. Forgets an earlier copy.
    void setReplyTime(std::chrono::milliseconds time);
    const std::string& keptReply() const { return mKeptReply; }

private:
    static curl_socket_t open(void* self, curlsocktype purpose, curl_sockaddr* address);
    static int close(void* self, curl_socket_t socket);

    struct Entry
    {
        curl_socket_t socket;
        unsigned long long identity;
    };

    curl_socket_t onlyOther(curl_socket_t socket);
    int remove(curl_socket_t socket);
    void linger(curl_socket_t socket, curl_socket_t control) const;
    void dropClosed();

    std::chrono::microseconds mAnswerTime { 0 };
    std::chrono::milliseconds mLingerTime { 0 };
    std::chrono::milliseconds mReplyTime { 0 };
    std::string mKeptReply;
    std::mutex mMutex;
    std::vector<Entry> mSockets;
};
