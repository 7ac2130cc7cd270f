#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// Seconds on a monotonic clock.
double secondsNow(void);

/// Prints the seconds since start and the peak resident memory in KiB.
void reportSince(double start);

#ifdef __cplusplus
}
#endif
