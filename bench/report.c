#include "report.h"

#include <stdio.h>
#include <sys/resource.h>
#include <time.h>

double secondsNow(void)
{
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return (double)now.tv_sec + (double)now.tv_nsec / 1e9;
}

void reportSince(double start)
{
    const double seconds = secondsNow() - start;
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("%.6f %ld\n", seconds, usage.ru_maxrss);
}
