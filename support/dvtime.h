// Time and number helpers: sleeping, number texts, time texts, the library
// version text and the stopwatch DVTime.
//
// Several helpers keep odd behaviour that log and message texts depend on:
// num2str pads but never cuts, and ltostr writes the digit 9 as '@'.
#ifndef DV_SUPPORT_DVTIME_H
#define DV_SUPPORT_DVTIME_H

#include <string>

enum ETimeType { hh = 0, hhmm = 1, hhmmss = 2 };

// Sleeps ms milliseconds.
void dvSleep(int ms);

// Writes value in decimal whatever base says; returns buffer (a null buffer
// is returned untouched). The buffer must hold 12 characters.
char* itoa(int value, char* buffer, int base);

// Decimal text of value.
std::string itostr(int value);

// Decimal text of value, left-padded with '0' to width; never cut. A negative
// value gets its zeros in front of the minus sign (num2str(4, -7) is "00-7").
std::string num2str(int width, int value);

// Right-aligns the digits of value in buffer (NUL at size-1), blanks before
// them; returns a pointer to the blank just before the first digit (or to
// buffer itself when the digits fill it). Digit values 0-8 are '0'-'8', a
// digit value d >= 9 is the character d + 55 (so 9 is '@', 10 is 'A').
// A negative value gets its minus sign before the digits; zero is "0".
// Returns null for a base outside 2..36, a null buffer or a size below 2.
char* ltostr(long value, char* buffer, unsigned long size, unsigned base);

// ltostr with a 12-character buffer and base 10.
std::string ltostr(long value);

// Local time as "HH", "HHMM" or "HHMMSS"; empty for another type.
std::string getTime(ETimeType type);

// Always "Version: <library version>"; the argument is ignored.
std::string getDVLogicsLibraryVersion(const std::string& ignored);

// Always the empty string: nothing may rely on them for a directory.
std::string getRuntimePath();
std::string extractRuntimePath(const std::string& path);
std::string getRuntimeFullPathnFname(const std::string& name);

// Stopwatch in milliseconds since the epoch.
class DVTime {
public:
    DVTime();
    ~DVTime();

    void startTimer();
    // Elapsed milliseconds since the start; the stopwatch keeps running.
    std::string readTimer();
    // Elapsed milliseconds since the start; stops and resets the stopwatch.
    std::string stopTimer();

private:
    double m_dStartTime;
    double m_dStopTime;
};

#endif
