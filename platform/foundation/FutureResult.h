#pragma once

#include <QFuture>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

/**
 * The end of a QFuture<bool> at which the work is done. The future has started; it finishes with finish(), or with
 * false when this object is destroyed before.
 *
 * A future that was canceled keeps running until then, and has a result like every other one.
 */
class FutureResult
{
public:
    FutureResult();
    ~FutureResult();

    FutureResult(const FutureResult&) = delete;
    FutureResult& operator=(const FutureResult&) = delete;

    QFuture<bool> future() { return mFuture.future(); }
    void setProgress(int value, int maximum);
    /// Runs what waits for the future, on this thread or on another: no lock is held.
    void finish(bool success);

    /// Calls a function once when the future is canceled, on a thread of its own, for this object's lifetime. QFuture
    /// tells of that only through an event loop, and the threads of the work have none.
    class Watch
    {
    public:
        /// A null result is allowed: nothing is watched then.
        Watch(const FutureResult* result, std::function<void()> onCancel);
        /// Waits for a call that is under way.
        ~Watch();

        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

    private:
        void run(const QFutureInterface<bool>& future, const std::function<void()>& onCancel);

        std::mutex mMutex;
        std::condition_variable mEnd;
        bool mHasEnded = false;
        std::thread mThread;
    };

private:
    QFutureInterface<bool> mFuture;
};
