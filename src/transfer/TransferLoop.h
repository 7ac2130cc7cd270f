#pragma once

#include <curl/curl.h>

#include <memory>

/**
 * Drives a transfer of an easy handle to its end, as curl_easy_perform does, without two of its habits:
 * it never sleeps while libcurl has work but no socket to wait for, and it calls libcurl, and so the handle's
 * progress callback, at least every 50 ms, which bounds how late an interruption is seen.
 *
 * One loop serves any number of transfers in turn and keeps their connections open between them. The handle
 * stays the caller's. Used by one thread at a time.
 */
class TransferLoop
{
public:
    TransferLoop();

    /// Blocks until the transfer has ended; the result is that of curl_easy_perform.
    CURLcode perform(CURL* easy);

private:
    CURLMcode runToEnd();
    CURLcode resultOf(CURL* easy);

    struct MultiDeleter
    {
        void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
    };

    std::unique_ptr<CURLM, MultiDeleter> mMulti;
};
