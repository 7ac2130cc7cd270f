#include "ProgressThrottle.h"

namespace {

constexpr int INTERVAL_MS = 70;
constexpr int DAY_MS = 24 * 60 * 60 * 1000;

int elapsedSince(const QTime& start)
{
    const int elapsed = start.msecsTo(QTime::currentTime());
    return elapsed < 0 ? elapsed + DAY_MS : elapsed;
}

} // namespace

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
