#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// Seconds on a clock that is never set back.
double secondsNow(void);

/// Prints the result of a program: the seconds since start and the highest resident memory so far, in KiB.
void reportSince(double start);

#ifdef __cplusplus
}
#endif
