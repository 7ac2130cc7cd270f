#include "Interruption.h"

#include <utility>

void Interruption::request()
{
    mRequested.store(true);
    const std::lock_guard<std::mutex> guard(mMutex);
    for (const std::function<void()>& wakeUp : mWakeUps) {
        wakeUp();
    }
}

Interruption::WakeUp::WakeUp(std::shared_ptr<Interruption> interruption, std::function<void()> function)
    : mInterruption(std::move(interruption))
{
    if (mInterruption) {
        const std::lock_guard<std::mutex> guard(mInterruption->mMutex);
        mPlace = mInterruption->mWakeUps.insert(mInterruption->mWakeUps.end(), std::move(function));
    }
}

Interruption::WakeUp::~WakeUp()
{
    if (mInterruption) {
        const std::lock_guard<std::mutex> guard(mInterruption->mMutex);
        mInterruption->mWakeUps.erase(mPlace);
    }
}
