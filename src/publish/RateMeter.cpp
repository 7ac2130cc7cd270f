#include "RateMeter.h"

#include <cmath>

namespace {

constexpr qint64 WINDOW_MS = 5000;
constexpr double MS_PER_SECOND = 1000.0;
constexpr int MAX_SECONDS_LEFT = 100 * 24 * 60 * 60;

} // namespace

void RateMeter::measure(PublishProgress& progress)
{
    const qint64 now = mTime.elapsed();
    mSamples.emplace_back(now, progress.bytes);
    while (mSamples.size() > 2 && mSamples[1].first <= now - WINDOW_MS) {
        mSamples.pop_front();
    }
    const auto& [begin, bytes] = mSamples.front();
    if (now > begin && progress.bytes > bytes) {
        progress.bytesPerSecond
            = static_cast<double>(progress.bytes - bytes) * MS_PER_SECOND / static_cast<double>(now - begin);
        const double left = static_cast<double>(progress.totalBytes - progress.bytes) / progress.bytesPerSecond;
        progress.secondsLeft = left < MAX_SECONDS_LEFT ? static_cast<int>(std::ceil(left)) : -1;
    }
}
