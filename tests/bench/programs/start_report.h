/* SPDX-License-Identifier: Apache-2.0 */
#ifndef KORVANE_BENCH_START_REPORT_H
#define KORVANE_BENCH_START_REPORT_H

#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

/* Prints the time (ns of the monotonic clock) and the resident memory in kB at the moment of the call. */
static inline void report_first_reply(void)
{
    struct timespec now;
    long pages = 0;
    clock_gettime(CLOCK_MONOTONIC, &now);

    FILE *file = fopen("/proc/self/statm", "r");
    if (!file || fscanf(file, "%*d %ld", &pages) != 1)
        exit(1);
    fclose(file);
    printf("%lld %ld\n", (long long)now.tv_sec * 1000000000LL + now.tv_nsec, pages * (sysconf(_SC_PAGESIZE) / 1024));
}

#endif
