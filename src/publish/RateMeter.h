#pragma once

#include <tavrel/PublishProgress.h>

#include <QElapsedTimer>

#include <deque>
#include <utility>

/// Bytes a second over the last seconds, and the time that is left at that rate.
class RateMeter
{
public:
    RateMeter() { mTime.start(); }

    /// Sets rate and time of a progress with the numbers of now.
    void measure(PublishProgress& progress);

private:
    QElapsedTimer mTime;
    std::deque<std::pair<qint64, qint64>> mSamples; ///< milliseconds and bytes
};
