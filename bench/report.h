#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// Seconds on a monotonic clock, and of processor time of this process.
struct Moment
{
    double seconds;
    double processorSeconds;
};

struct Moment momentNow(void);

/// Prints the seconds since start, the peak resident memory in KiB, and the seconds of processor time since start.
void reportSince(struct Moment start);

#ifdef __cplusplus
}
#endif
