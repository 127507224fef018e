#include "support/dvclock.h"

#include <atomic>

namespace {
std::atomic<DVClockFunc> g_clock{nullptr};
}

struct timeval dvNow()
{
    DVClockFunc clock = g_clock.load(std::memory_order_acquire);
    if (clock)
        return clock();
    struct timeval tv;
    gettimeofday(&tv, nullptr);
    return tv;
}

struct tm dvLocalTime(time_t t)
{
    struct tm out = {};
    localtime_r(&t, &out);
    return out;
}

struct tm dvLocalNow()
{
    return dvLocalTime(dvNow().tv_sec);
}

void dvSetClock(DVClockFunc clock)
{
    g_clock.store(clock, std::memory_order_release);
}
