#pragma once

#include <foundation/foundation_export.h>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

/**
 * A cancellation flag, shared by those who may cancel some work and those who do it. Every function may be called from
 * any thread.
 *
 * Work that checks the flag often enough needs nothing else. Work that may block in a system call registers a wake-up
 * for as long as it lasts; see Interruption::WakeUp.
 */
class FOUNDATION_EXPORT Interruption
{
public:
    /// True after request(), and while the source says so.
    bool isRequested() const;
    /// Sets the flag, then runs the wake-ups on the calling thread.
    void request();
    /// Resets the flag, before or after all wake-ups of a request(). The source is not affected.
    void clear()
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        mRequested.store(false);
    }

    /// Registers a second flag that isRequested() checks, or removes it with a null function. When this returns, no
    /// call of the previous source is under way. The source is short and must not call this object.
    void setSource(std::function<bool()> source);

    /// Registers a callback of request() for this object's lifetime. It may run at any moment on any thread, so it is
    /// short; it must not create or destroy a WakeUp, nor call request() or clear().
    class FOUNDATION_EXPORT WakeUp
    {
    public:
        /// A null interruption is allowed: nothing is registered then.
        WakeUp(std::shared_ptr<Interruption> interruption, std::function<void()> function);
        /// Waits for a call that is under way.
        ~WakeUp();

        WakeUp(const WakeUp&) = delete;
        WakeUp& operator=(const WakeUp&) = delete;

    private:
        std::shared_ptr<Interruption> mInterruption;
        std::list<std::function<void()>>::iterator mPlace;
    };

private:
    std::atomic<bool> mRequested { false };
    std::mutex mMutex; ///< held while the flag changes, and while wake-ups run
    std::list<std::function<void()>> mWakeUps;
    mutable std::mutex mSourceMutex; ///< not mMutex, as a wake-up may ask isRequested()
    std::function<bool()> mSource;
};
