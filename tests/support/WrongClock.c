// Preloaded into a program: its time of day is ahead by KELVO_CLOCK_AHEAD_S seconds, which may be negative, until the
// file KELVO_CLOCK_WRONG_WHILE is removed. The steady clock is right.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdlib.h>
#include <sys/time.h>
#include <time.h>
#include <unistd.h>

static time_t ahead_s(void)
{
    const char* text = getenv("KELVO_CLOCK_AHEAD_S");
    const char* file = getenv("KELVO_CLOCK_WRONG_WHILE");
    return text && (!file || access(file, F_OK) == 0) ? atol(text) : 0;
}

int clock_gettime(clockid_t clock, struct timespec* now)
{
    typedef int (*ClockGettime)(clockid_t, struct timespec*);
    static ClockGettime next;
    if (!next)
        next = (ClockGettime)dlsym(RTLD_NEXT, "clock_gettime");
    const int result = next(clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        now->tv_sec += ahead_s();
    return result;
}

time_t time(time_t* out)
{
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    if (out)
        *out = now.tv_sec;
    return now.tv_sec;
}

int gettimeofday(struct timeval* restrict out, void* restrict zone)
{
    (void)zone;
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    out->tv_sec = now.tv_sec;
    out->tv_usec = now.tv_nsec / 1000;
    return 0;
}
