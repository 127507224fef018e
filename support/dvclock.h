// The library's one source of wall-clock time.
//
// Log time stamps, log file switching, the login command's HHMM, the level
// warning filter's date and the paid-out list all read the time here, so
// tests can move the clock (to midnight, to another week or year) without
// waiting for it.
#ifndef DV_SUPPORT_DVCLOCK_H
#define DV_SUPPORT_DVCLOCK_H

#include <ctime>
#include <sys/time.h>

typedef struct timeval (*DVClockFunc)(void);

// Current time: gettimeofday, or the test clock when one is set.
struct timeval dvNow();

// Local broken-down time of t (thread-safe localtime).
struct tm dvLocalTime(time_t t);

// Local broken-down time of now.
struct tm dvLocalNow();

// Installs a clock for tests; null goes back to the system clock.
void dvSetClock(DVClockFunc clock);

#endif
