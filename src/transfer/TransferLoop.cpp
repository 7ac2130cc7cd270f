#include "TransferLoop.h"

#include "PipeSignal.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

namespace {

// A small request to a nearby server takes less, and sleeping and waking up in between would double that.
constexpr std::chrono::milliseconds SPIN_TIME(1);
constexpr int MAX_WAIT_MS = 50;
constexpr int FIRST_WAIT_MS = 4; // a listing by a nearby server takes less
constexpr int FIRST_WAIT_AFTER_READING_AHEAD_MS = 1;
constexpr int MAX_DOUBLINGS = 6;
constexpr std::chrono::milliseconds PAUSE_WITHOUT_SOCKET(1);
constexpr std::chrono::milliseconds LINGER_TIME(60000);
constexpr std::chrono::milliseconds REPLY_TIME(200); ///< a server that ends a connection says why at once
constexpr long RECEIVE_BUFFER_BYTES = 512L * 1024;

// An interrupted transfer does not wait for a name server that is silent. By number, as a program built with an older
// libcurl may run with one that knows these options; the others refuse them.
constexpr auto EASY_QUICK_EXIT = static_cast<CURLoption>(CURLOPTTYPE_LONG + 322); // since 7.87
constexpr auto MULTI_QUICK_EXIT = static_cast<CURLMoption>(CURLOPTTYPE_LONG + 21); // since 8.20

/// Up to 7.86, libcurl lets OpenSSL write to the socket, which raises SIGPIPE when the peer has gone.
bool raisesPipeSignal()
{
    constexpr unsigned int fixedVersion = 0x075700;
    static const bool isRaised = curl_version_info(CURLVERSION_NOW)->version_num < fixedVersion;
    return isRaised;
}

void tune(CURL* easy)
{
    // The default of 16 KiB costs a large download nearly half of its speed.
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, RECEIVE_BUFFER_BYTES);
    curl_easy_setopt(easy, EASY_QUICK_EXIT, 1L);
}

CURLcode toEasyCode(CURLMcode code)
{
    return code == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_BAD_FUNCTION_ARGUMENT;
}

bool isRequested(const Interruption* interruption)
{
    return interruption && interruption->isRequested();
}

} // namespace

TransferLoop::TransferLoop()
    : mMulti(curl_multi_init())
{
    curl_multi_setopt(mMulti.get(), MULTI_QUICK_EXIT, 1L);
}

TransferLoop::~TransferLoop()
{
    std::optional<PipeSignal> withoutPipeSignal;
    if (raisesPipeSignal()) {
        withoutPipeSignal.emplace();
    }
    // libcurl would wait up to two minutes for the answers to QUIT.
    mSockets.shutDown();
    mMulti.reset();
}

CURLcode TransferLoop::perform(CURL* easy, const std::shared_ptr<Interruption>& interruption)
{
    if (!mMulti) {
        return CURLE_OUT_OF_MEMORY;
    }
    // libcurl waits for some answers in calls that look at nothing but the socket.
    const Interruption::WakeUp wakeUp(interruption, [this] { mSockets.shutDown(); });
    if (isRequested(interruption.get())) {
        return CURLE_ABORTED_BY_CALLBACK;
    }
    std::optional<PipeSignal> withoutPipeSignal;
    if (raisesPipeSignal()) {
        withoutPipeSignal.emplace();
    }
    const CURLcode code = run(easy, interruption.get());
    // Also after a success: a body may have ended because its socket was shut down.
    return isRequested(interruption.get()) ? CURLE_ABORTED_BY_CALLBACK : code;
}

CURLcode TransferLoop::run(CURL* easy, const Interruption* interruption)
{
    tune(easy);
    mSockets.watch(easy);
    CURLMcode code = curl_multi_add_handle(mMulti.get(), easy);
    if (code != CURLM_OK) {
        return code == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_FAILED_INIT;
    }
    code = runToEnd(easy, interruption);
    const CURLcode result = code == CURLM_OK ? resultOf(easy) : toEasyCode(code);
    if (result == CURLE_OPERATION_TIMEDOUT || result == CURLE_ABORTED_BY_CALLBACK) {
        // libcurl leaks parts of an SSH session that is removed while it waits, but not of one that ends.
        int running = 0;
        mSockets.shutDown();
        curl_multi_perform(mMulti.get(), &running);
    }
    curl_multi_remove_handle(mMulti.get(), easy);
    return result;
}

CURLMcode TransferLoop::runToEnd(CURL* easy, const Interruption* interruption)
{
    const auto begin = std::chrono::steady_clock::now();
    const std::chrono::milliseconds spinTime = mIsQuick ? SPIN_TIME : std::chrono::milliseconds(0);
    const auto spinUntil = begin + spinTime;
    // libcurl closes the data connection of an upload and then sleeps until the server confirms the end of the file.
    mSockets.setAnswerTime(mReadsAhead ? std::chrono::milliseconds(0) : spinTime);
    mSockets.setLingerTime(lingerTime());
    mSockets.setReplyTime(mKeepsReply ? REPLY_TIME : std::chrono::milliseconds(0));
    int idleTurns = 0;
    Turn turn = Turn::Socket;
    while (true) {
        int running = 0;
        CURLMcode code = curl_multi_perform(mMulti.get(), &running);
        if (turn == Turn::Socket || hasMoved(easy)) {
            mLastActivity = std::chrono::steady_clock::now(); // after libcurl's callbacks, whose time does not count
        }
        if (turn == Turn::Socket && mAcknowledgesAtOnce) {
            mSockets.acknowledge();
        }
        if (code != CURLM_OK || running == 0 || isRequested(interruption)) {
            mIsQuick = std::chrono::steady_clock::now() < begin + SPIN_TIME;
            return code;
        }
        const bool isSpinning = std::chrono::steady_clock::now() < spinUntil;
        code = wait(isSpinning ? 0 : nextWait(idleTurns), turn);
        if (code != CURLM_OK || isRequested(interruption) || (turn != Turn::Socket && hasStalled())) {
            return code;
        }
        idleTurns = turn == Turn::Idle ? idleTurns + 1 : 0;
        if (isSpinning && turn == Turn::Idle) {
            std::this_thread::yield();
        } else if (!isSpinning && idleTurns > 1) {
            // Without a socket a wait returns at once. Mostly libcurl opens one in its next turn; when it does not, a
            // short pause keeps the processor free.
            std::this_thread::sleep_for(PAUSE_WITHOUT_SOCKET);
        }
    }
}

std::chrono::milliseconds TransferLoop::lingerTime() const
{
    if (!mLingers) {
        return std::chrono::milliseconds(0);
    }
    return mStallTimeOut.count() > 0 ? mStallTimeOut : LINGER_TIME;
}

int TransferLoop::nextWait(int idleTurns) const
{
    const int first = mReadsAhead ? FIRST_WAIT_AFTER_READING_AHEAD_MS : FIRST_WAIT_MS;
    return std::min(first << std::min(idleTurns, MAX_DOUBLINGS), MAX_WAIT_MS);
}

CURLMcode TransferLoop::wait(int milliseconds, Turn& turn)
{
    long due = -1;
    curl_multi_timeout(mMulti.get(), &due);
    if (due == 0) {
        turn = Turn::Timer; // libcurl has more to do by now.
        return CURLM_OK;
    }
    int ready = 0;
    const CURLMcode code = curl_multi_wait(mMulti.get(), nullptr, 0, milliseconds, &ready);
    turn = ready == 0 ? Turn::Idle : Turn::Socket;
    return code;
}

/// Also without a wait for a socket: libcurl reads on in its next turn when more has come than it takes in one.
bool TransferLoop::hasMoved(CURL* easy)
{
    if (mStallTimeOut.count() == 0) {
        return false;
    }
    curl_off_t received = 0;
    curl_off_t sent = 0;
    curl_easy_getinfo(easy, CURLINFO_SIZE_DOWNLOAD_T, &received);
    curl_easy_getinfo(easy, CURLINFO_SIZE_UPLOAD_T, &sent);
    return std::exchange(mMovedBytes, received + sent) != received + sent;
}

bool TransferLoop::hasStalled()
{
    return mStallTimeOut.count() > 0 && std::chrono::steady_clock::now() - mLastActivity >= mStallTimeOut
        && (mStallsWhileConnecting || mSockets.isAnyConnected());
}

CURLcode TransferLoop::resultOf(CURL* easy)
{
    int left = 0;
    while (const CURLMsg* message = curl_multi_info_read(mMulti.get(), &left)) {
        if (message->msg == CURLMSG_DONE && message->easy_handle == easy) {
            return message->data.result;
        }
    }
    // The transfer has not ended: it has stalled or was interrupted.
    return hasStalled() ? CURLE_OPERATION_TIMEDOUT : CURLE_ABORTED_BY_CALLBACK;
}
