#pragma once

#include "OpenSockets.h"

#include <foundation/Interruption.h>

#include <curl/curl.h>

#include <chrono>
#include <memory>
#include <string>

/**
 * Runs transfers of easy handles to their end, like curl_easy_perform, with two differences: it never sleeps while
 * libcurl has work but no socket to wait for, and it ends a transfer as soon as an interruption is requested, in every
 * phase and without the help of a callback of libcurl.
 *
 * One loop serves any number of transfers in turn and keeps their connections open between them; they are closed with
 * the loop, which does not wait for the servers' answers. The handle stays the caller's. Used by one thread at a time.
 */
class TransferLoop
{
public:
    TransferLoop();
    ~TransferLoop();

    TransferLoop(const TransferLoop&) = delete;
    TransferLoop& operator=(const TransferLoop&) = delete;

    /// Blocks until the transfer has ended. The result is curl_easy_perform's, or CURLE_ABORTED_BY_CALLBACK if
    /// interruption, which may be null, was requested before the end; the connections of the loop are unusable then.
    CURLcode perform(CURL* easy, const std::shared_ptr<Interruption>& interruption = nullptr);

    /// Ends a transfer with CURLE_OPERATION_TIMEDOUT when its connection stands and no byte moves in either direction
    /// for this long. Zero, the default, waits without a bound.
    void setStallTimeOut(std::chrono::milliseconds timeOut) { mStallTimeOut = timeOut; }
    /// Whether that holds before there is a connection too.
    void setStallsWhileConnecting(bool isOn) { mStallsWhileConnecting = isOn; }

    /// Whether the last transfer took so little time that waiting without a pause pays.
    bool isQuick() const { return mIsQuick; }

    /// Whether there is a connection that a transfer can use again, as far as is known.
    bool isConnected() { return mSockets.isAnyIdle(); }

    /// For a server that holds an answer back until the one before is acknowledged.
    void setAcknowledgesAtOnce(bool isOn) { mAcknowledgesAtOnce = isOn; }

    /// Whether bytes can wait in a buffer of TLS or SSH, where no socket tells of them; true by default. If not, waits
    /// are longer, which saves processor time.
    void setReadsAhead(bool isOn) { mReadsAhead = isOn; }

    /// Whether the next transfers upload over a data connection beside a control connection, with bytes that libcurl
    /// does not read, such as the session tickets of TLS 1.3. The end of the data connection then waits until the
    /// server has read everything, but no longer than the stall time-out, or a minute without one, after the last sign
    /// of life.
    void setLingers(bool isOn) { mLingers = isOn; }

    /// Whether the next transfers upload over a data connection beside a control connection without TLS, and a copy is
    /// kept of what the server says on it when the data connection ends. libcurl drops that reply when the upload
    /// breaks.
    void setKeepsReply(bool isOn) { mKeepsReply = isOn; }
    /// Of the last transfer.
    const std::string& keptReply() const { return mSockets.keptReply(); }

    /// For a handle whose transfers may accept connections.
    static void keepAcceptedFromChildren(CURL* easy) { OpenSockets::keepAcceptedFromChildren(easy); }

    /// Detaches a handle that outlives the loop and is used again.
    static void detach(CURL* easy) { OpenSockets::detach(easy); }

private:
    enum class Turn { Idle, Timer, Socket }; ///< the event that ended a wait; Idle is none

    CURLcode run(CURL* easy, const Interruption* interruption);
    CURLMcode runToEnd(CURL* easy, const Interruption* interruption);
    std::chrono::milliseconds lingerTime() const;
    int nextWait(int idleTurns) const;
    CURLMcode wait(int milliseconds, Turn& turn);
    bool hasMoved(CURL* easy);
    bool hasStalled();
    CURLcode resultOf(CURL* easy);

    struct MultiDeleter
    {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    OpenSockets mSockets;
    std::unique_ptr<CURLM, MultiDeleter> mMulti; // after the sockets: its end closes them
    std::chrono::milliseconds mStallTimeOut { 0 };
    std::chrono::steady_clock::time_point mLastActivity;
    curl_off_t mMovedBytes = 0; ///< of the transfer, in both directions
    bool mStallsWhileConnecting = false;
    bool mAcknowledgesAtOnce = false;
    bool mReadsAhead = true;
    bool mLingers = false;
    bool mKeepsReply = false;
    bool mIsQuick = true;
};
