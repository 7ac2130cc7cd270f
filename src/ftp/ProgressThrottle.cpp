#include "ProgressThrottle.h"

namespace {

constexpr int INTERVAL_MS = 70;
constexpr int DAY_MS = 24 * 60 * 60 * 1000;

} // namespace

QTime ProgressThrottle::now() const
{
    using std::chrono::milliseconds;
    const auto sinceBegin = std::chrono::steady_clock::now() - mBegin;
    return mTimeOfBegin.addMSecs(
        static_cast<int>(std::chrono::duration_cast<milliseconds>(sinceBegin).count() % DAY_MS));
}

int ProgressThrottle::elapsedSince(const QTime& start) const
{
    const int elapsed = start.msecsTo(now());
    return elapsed < 0 ? elapsed + DAY_MS : elapsed;
}

void ProgressThrottle::start(const QTime& last)
{
    mLast = last;
    mNext = std::chrono::steady_clock::now() + std::chrono::milliseconds(INTERVAL_MS - elapsedSince(last));
}

bool ProgressThrottle::isDue(const QTime& last) const
{
    const bool isTooSoon = last == mLast && std::chrono::steady_clock::now() < mNext;
    return !isTooSoon && elapsedSince(last) >= INTERVAL_MS;
}
