#include "report.h"

#include <stdio.h>
#include <sys/resource.h>
#include <time.h>

static double secondsOf(clockid_t clock)
{
    struct timespec now;
    clock_gettime(clock, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

struct Moment momentNow(void)
{
    const struct Moment now = { secondsOf(CLOCK_MONOTONIC), secondsOf(CLOCK_PROCESS_CPUTIME_ID) };
    return now;
}

void reportSince(struct Moment start)
{
    const struct Moment end = momentNow();
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf(
        "%.6f %ld %.6f\n", end.seconds - start.seconds, usage.ru_maxrss, end.processorSeconds - start.processorSeconds);
}
