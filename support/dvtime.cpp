#include "support/dvtime.h"

#include "dvversion.h"
#include "support/dvclock.h"
#include "support/dvtext.h"

#include <cerrno>
#include <cstdio>
#include <ctime>

void dvSleep(int ms)
{
    if (ms <= 0)
        return;
    struct timespec req;
    req.tv_sec = ms / 1000;
    req.tv_nsec = static_cast<long>(ms % 1000) * 1000000L;
    while (nanosleep(&req, &req) != 0 && errno == EINTR) {
    }
}

char* itoa(int value, char* buffer, int base)
{
    if (buffer)
        snprintf(buffer, 12, "%d", value);
    return buffer;
}

std::string itostr(int value)
{
    return std::to_string(value);
}

std::string num2str(int width, int value)
{
    std::string text = std::to_string(value);
    if (width > 0 && text.size() < static_cast<size_t>(width))
        text.insert(0, static_cast<size_t>(width) - text.size(), '0');
    return text;
}

char* ltostr(long value, char* buffer, unsigned long size, unsigned base)
{
    if (base < 2 || base > 36 || !buffer || size < 2)
        return nullptr;
    // Work on the magnitude as unsigned so that LONG_MIN is safe.
    const bool negative = value < 0;
    unsigned long magnitude = negative ? 0UL - static_cast<unsigned long>(value)
                                       : static_cast<unsigned long>(value);
    char* tail = buffer + size - 1;
    *tail = '\0';
    do {
        if (tail == buffer)
            return buffer; // no room left: the most significant digits are lost
        const unsigned digit = static_cast<unsigned>(magnitude % base);
        *--tail = static_cast<char>(digit < 9 ? '0' + digit : digit + 55);
        magnitude /= base;
    } while (magnitude != 0);
    if (negative) {
        if (tail == buffer)
            return buffer;
        *--tail = '-';
    }
    if (tail == buffer)
        return buffer;
    for (char* p = buffer; p < tail; ++p)
        *p = ' ';
    return tail - 1;
}

std::string ltostr(long value)
{
    char buffer[12];
    const char* text = ltostr(value, buffer, sizeof buffer, 10);
    return text ? std::string(text) : std::string();
}

std::string getTime(ETimeType type)
{
    const struct tm now = dvLocalNow();
    std::string text = dvFormat("%02d:%02d:%02d", now.tm_hour, now.tm_min, now.tm_sec);
    if (text.size() < 8)
        text = "00:00:00";
    switch (type) {
    case hh:
        return text.substr(0, 2);
    case hhmm:
        return text.substr(0, 2) + text.substr(3, 2);
    case hhmmss:
        return text.substr(0, 2) + text.substr(3, 2) + text.substr(6, 2);
    }
    return std::string();
}

std::string getDVLogicsLibraryVersion(const std::string&)
{
    return "Version: " DVLOGICS_VERSION_TEXT;
}

std::string getRuntimePath()
{
    return std::string();
}

std::string extractRuntimePath(const std::string&)
{
    return std::string();
}

std::string getRuntimeFullPathnFname(const std::string&)
{
    return std::string();
}

namespace {
double nowMilliseconds()
{
    const struct timeval tv = dvNow();
    return static_cast<double>(tv.tv_sec) * 1000.0 + static_cast<double>(tv.tv_usec) / 1000.0;
}
} // namespace

DVTime::DVTime() : m_dStartTime(-1.0), m_dStopTime(-1.0) {}

DVTime::~DVTime() {}

void DVTime::startTimer()
{
    m_dStartTime = nowMilliseconds();
    m_dStopTime = -1.0;
}

std::string DVTime::readTimer()
{
    if (m_dStartTime < 0) {
        m_dStopTime = -1.0;
        return "Timer not started";
    }
    return std::to_string(static_cast<int>(nowMilliseconds() - m_dStartTime));
}

std::string DVTime::stopTimer()
{
    m_dStopTime = nowMilliseconds();
    if (m_dStartTime < 0) {
        m_dStopTime = -1.0;
        return "Timer not started";
    }
    const int elapsed = static_cast<int>(m_dStopTime - m_dStartTime);
    m_dStartTime = -1.0;
    m_dStopTime = -1.0;
    return std::to_string(elapsed);
}
