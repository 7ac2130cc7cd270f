#include "FutureResult.h"

#include <chrono>
#include <system_error>
#include <utility>

namespace {

/// How soon a cancellation is seen.
constexpr std::chrono::milliseconds WATCH_INTERVAL(50);

QMutex& mutexOf(const QFutureInterface<bool>& future)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return future.mutex(0);
#else
    return future.mutex();
#endif
}

} // namespace

FutureResult::FutureResult()
{
    mFuture.reportStarted();
}

FutureResult::~FutureResult()
{
    if (!mFuture.isFinished()) {
        finish(false);
    }
}

void FutureResult::setProgress(int value, int maximum)
{
    if (maximum != mFuture.progressMaximum()) {
        mFuture.setProgressRange(0, maximum);
    }
    mFuture.setProgressValue(value);
}

void FutureResult::finish(bool success)
{
    {
        // reportResult() would drop the result of a canceled future, and QFuture::result() then read one that is not
        // there.
        const std::lock_guard<QMutex> guard(mutexOf(mFuture));
        mFuture.resultStoreBase().addResult(0, &success);
        mFuture.reportResultsReady(0, 1);
    }
    mFuture.reportFinished();
}

FutureResult::Watch::Watch(const FutureResult* result, std::function<void()> onCancel)
{
    if (!result) {
        return;
    }
    try {
        mThread = std::thread([this, future = result->mFuture, call = std::move(onCancel)] { run(future, call); });
    } catch (const std::system_error&) {
        return; // Without another thread cancel() has no effect.
    }
}

FutureResult::Watch::~Watch()
{
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        mHasEnded = true;
    }
    mEnd.notify_one();
    if (mThread.joinable()) {
        mThread.join();
    }
}

void FutureResult::Watch::run(const QFutureInterface<bool>& future, const std::function<void()>& onCancel)
{
    std::unique_lock<std::mutex> lock(mMutex);
    while (!future.isCanceled()) {
        if (mEnd.wait_for(lock, WATCH_INTERVAL, [this] { return mHasEnded; })) {
            return;
        }
    }
    lock.unlock();
    onCancel();
}
