#include "Interruption.h"

#include <utility>

bool Interruption::isRequested() const
{
    if (mRequested.load()) {
        return true;
    }
    const std::lock_guard<std::mutex> guard(mSourceMutex);
    return mSource && mSource();
}

void Interruption::setSource(std::function<bool()> source)
{
    const std::lock_guard<std::mutex> guard(mSourceMutex);
    mSource = std::move(source);
}

void Interruption::request()
{
    const std::lock_guard<std::mutex> guard(mMutex);
    mRequested.store(true);
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
