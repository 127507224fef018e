// A settable clock for tests, in UTC.
#ifndef DV_TESTS_FAKECLOCK_H
#define DV_TESTS_FAKECLOCK_H

#include "support/dvclock.h"

#include <atomic>
#include <cstdlib>
#include <ctime>

namespace dvtest {

// Seconds since the epoch (UTC) of a few fixed moments.
const time_t kMon20261116_090507 = 1794819907; // week 46
const time_t kMon20261116_235959 = 1794873599;
const time_t kTue20261117_000000 = 1794873600;
const time_t kMon20261109_100000 = 1794218400; // week 45
const time_t kSun20251116_100000 = 1763287200; // a year earlier

// The fake time, readable from any thread.
struct FakeTime {
    std::atomic<long> sec{kMon20261116_090507};
    std::atomic<long> usec{42000};
};

inline FakeTime& fakeNow()
{
    static FakeTime now;
    return now;
}

inline struct timeval fakeClock()
{
    struct timeval tv;
    tv.tv_sec = fakeNow().sec.load();
    tv.tv_usec = fakeNow().usec.load();
    return tv;
}

// Installs the fake clock at `at` (UTC, with `usec` microseconds).
inline void useFakeClock(time_t at, long usec = 42000)
{
    setenv("TZ", "UTC", 1);
    tzset();
    fakeNow().sec = at;
    fakeNow().usec = usec;
    dvSetClock(&fakeClock);
}

} // namespace dvtest

#endif
