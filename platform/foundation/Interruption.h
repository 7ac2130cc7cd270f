#pragma once

#include <foundation/foundation_export.h>

#include <atomic>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

/**
 * The wish that some work stops, shared by the one who wishes and the ones who work. Every function may be called from
 * any thread.
 *
 * Work that looks at the flag often enough needs nothing else. Work that may sleep in a call of the system leaves a
 * wake-up for as long as it lasts; see Interruption::WakeUp.
 */
class FOUNDATION_EXPORT Interruption
{
public:
    bool isRequested() const { return mRequested.load(); }
    /// Sets the flag, then runs the wake-ups on the calling thread.
    void request();
    void clear() { mRequested.store(false); }

    /// Has a function called by request(), until the object is gone. The function runs at any moment on any thread; it
    /// is short, and makes or destroys no WakeUp.
    class FOUNDATION_EXPORT WakeUp
    {
    public:
        /// Without an interruption there is nothing to wake up for.
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
    std::mutex mMutex;
    std::list<std::function<void()>> mWakeUps;
};
