// Preloaded into a program: its time of day is fifteen years behind. The steady clock is right.
#define _GNU_SOURCE
#include <dlfcn.h>
#include <sys/time.h>
#include <time.h>

static const time_t BEHIND_S = 15L * 365 * 24 * 60 * 60;

int clock_gettime(clockid_t clock, struct timespec* now)
{
    typedef int (*ClockGettime)(clockid_t, struct timespec*);
    static ClockGettime next;
    if (!next)
        next = (ClockGettime)dlsym(RTLD_NEXT, "clock_gettime");
    const int result = next(clock, now);
    if (result == 0 && (clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE))
        now->tv_sec -= BEHIND_S;
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
