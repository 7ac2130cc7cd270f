#include "TransferLoop.h"

#include <algorithm>
#include <chrono>
#include <thread>

namespace {

constexpr int SHORTEST_WAIT_MS = 1;
constexpr int LONGEST_WAIT_MS = 50;
constexpr std::chrono::milliseconds PAUSE_WITHOUT_SOCKET(1);
constexpr long RECEIVE_BUFFER_BYTES = 512L * 1024;

void tune(CURL* easy)
{
    // The default of 16 KiB costs a large download nearly half of its speed.
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, RECEIVE_BUFFER_BYTES);
#if LIBCURL_VERSION_NUM >= 0x075700
    // An aborted transfer does not wait for a name server that is silent.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
#endif
}

CURLcode toEasyCode(CURLMcode code)
{
    return code == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_BAD_FUNCTION_ARGUMENT;
}

} // namespace

TransferLoop::TransferLoop()
    : mMulti(curl_multi_init())
{
}

TransferLoop::~TransferLoop()
{
    // libcurl would wait up to two minutes for the answers to its farewells.
    hangUp();
}

CURLcode TransferLoop::perform(CURL* easy)
{
    if (!mMulti) {
        return CURLE_OUT_OF_MEMORY;
    }
    tune(easy);
    mSockets.watch(easy);
    CURLMcode code = curl_multi_add_handle(mMulti.get(), easy);
    if (code != CURLM_OK) {
        return code == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_FAILED_INIT;
    }
    code = runToEnd();
    const CURLcode result = code == CURLM_OK ? resultOf(easy) : toEasyCode(code);
    curl_multi_remove_handle(mMulti.get(), easy);
    return result;
}

CURLMcode TransferLoop::runToEnd()
{
    int wait = SHORTEST_WAIT_MS;
    while (true) {
        int running = 0;
        CURLMcode code = curl_multi_perform(mMulti.get(), &running);
        if (code != CURLM_OK || running == 0) {
            return code;
        }
        long due = -1;
        curl_multi_timeout(mMulti.get(), &due);
        if (due == 0) {
            continue; // libcurl has more to do by now.
        }
        int ready = 0;
        code = curl_multi_wait(mMulti.get(), nullptr, 0, wait, &ready);
        if (code != CURLM_OK) {
            return code;
        }
        if (ready == 0) {
            // Without a socket the wait returns at once: a short pause keeps the processor free.
            std::this_thread::sleep_for(PAUSE_WITHOUT_SOCKET);
        }
        // Short at first: what TLS has read ahead waits in its buffer, where no socket tells of it.
        wait = ready == 0 ? std::min(2 * wait, LONGEST_WAIT_MS) : SHORTEST_WAIT_MS;
    }
}

CURLcode TransferLoop::resultOf(CURL* easy)
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(mMulti.get(), &left)) {
        if (message->msg == CURLMSG_DONE && message->easy_handle == easy) {
            return message->data.result;
        }
    }
    return CURLE_FAILED_INIT;
}
