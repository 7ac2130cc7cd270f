#pragma once

#include "OpenSockets.h"

#include <curl/curl.h>

#include <memory>

/**
 * Drives a transfer of an easy handle to its end, as curl_easy_perform does, without two of its habits:
 * it never sleeps while libcurl has work but no socket to wait for, and it calls libcurl, and so the handle's
 * progress callback, at least every 50 ms, which bounds how late an interruption is seen.
 *
 * One loop serves any number of transfers in turn and keeps their connections open between them; they end with
 * the loop, which does not wait for the servers to agree. The handle stays the caller's. Used by one thread at a
 * time, except for hangUp().
 */
class TransferLoop
{
public:
    TransferLoop();
    ~TransferLoop();

    TransferLoop(const TransferLoop&) = delete;
    TransferLoop& operator=(const TransferLoop&) = delete;

    /// Blocks until the transfer has ended; the result is that of curl_easy_perform.
    CURLcode perform(CURL* easy);

    /// Any thread: makes a transfer that waits for its server fail at once. The connections of the loop are of no
    /// more use then.
    void hangUp() { mSockets.hangUp(); }

    /// Parts a handle from the loop that performed it last, when it is to outlive that loop and be used again.
    static void leave(CURL* easy) { OpenSockets::leave(easy); }

private:
    CURLMcode runToEnd();
    CURLMcode wait(int milliseconds, bool& isIdle);
    CURLcode resultOf(CURL* easy);

    struct MultiDeleter
    {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    OpenSockets mSockets;
    std::unique_ptr<CURLM, MultiDeleter> mMulti; // after the sockets: its end closes them
};
