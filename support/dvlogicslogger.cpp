#include "support/dvlogicslogger.h"

#include "support/dvclock.h"
#include "support/dvinitorder.h"
#include "support/dvtext.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>
#include <new>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

std::atomic<bool> logCR2CAPI{true};
std::atomic<bool> logCAPI2CR{true};
std::atomic<bool> logCom2CAPI{true};
std::atomic<bool> logCAPI2Com{true};
std::atomic<bool> logDVDEBUG{true};

DVLogicsLogger* DVLogicsLogger::m_logInstance = nullptr;

namespace {

// English names, as asctime writes them whatever the locale says.
const char* const kWeekdays[7] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
const char* const kMonths[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                 "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// The lock and the instance live in static storage that is never torn down:
// a report may still be logged from the device thread while the library is
// being unloaded, and a heap instance would show up as a leak once the
// library's globals are unmapped.
std::mutex& loggerMutex()
{
    alignas(std::mutex) static unsigned char storage[sizeof(std::mutex)];
    static std::mutex* mutex = new (storage) std::mutex;
    return *mutex;
}

alignas(DVLogicsLogger) unsigned char g_instanceStorage[sizeof(DVLogicsLogger)];

int weekOfYear(const struct tm& t)
{
    char week[4];
    strftime(week, sizeof week, "%W", &t);
    return atoi(week);
}

// Local time of the current second, computed once per second (under the lock),
// with the parts of a line that change only once a second.
struct TimeCache {
    time_t second = -1;
    struct tm local = {};
    char week[4] = "";
    char date[11] = "";
    char stamp[40] = "";      // "w46 09:05:07.": the time stamp up to its milliseconds
    size_t stampLength = 0;
    char errorPrefix[32] = ""; // "2026-11-16 Mon ": what starts an error file line
    size_t errorPrefixLength = 0;
};
TimeCache g_timeCache;

size_t formatted(int n, size_t capacity)
{
    return n < 0 ? 0 : static_cast<size_t>(n) < capacity ? static_cast<size_t>(n) : capacity - 1;
}

const TimeCache& localTimeOf(time_t second)
{
    if (second != g_timeCache.second) {
        TimeCache& c = g_timeCache;
        c.second = second;
        c.local = dvLocalTime(second);
        strftime(c.week, sizeof c.week, "%W", &c.local);
        strftime(c.date, sizeof c.date, "%Y-%m-%d", &c.local);
        c.stampLength = formatted(snprintf(c.stamp, sizeof c.stamp, "w%s %.2d:%.2d:%.2d.", c.week,
                                           c.local.tm_hour, c.local.tm_min, c.local.tm_sec),
                                  sizeof c.stamp);
        c.errorPrefixLength = formatted(snprintf(c.errorPrefix, sizeof c.errorPrefix, "%s %s ", c.date,
                                                 kWeekdays[(c.local.tm_wday % 7 + 7) % 7]),
                                        sizeof c.errorPrefix);
    }
    return g_timeCache;
}

// The marker of a line of this type, between blanks, or null when the type's
// filter is off (or the type is unknown) and nothing is written.
const char* markerOf(LOGTYPES type)
{
    switch (type) {
    case CR2API:
        return logCR2CAPI.load(std::memory_order_relaxed) ? " => " : nullptr;
    case API2CR:
        return logCAPI2CR.load(std::memory_order_relaxed) ? " <= " : nullptr;
    case DV2API:
        return logCom2CAPI.load(std::memory_order_relaxed) ? " <- " : nullptr;
    case API2DV:
        return logCAPI2Com.load(std::memory_order_relaxed) ? " -> " : nullptr;
    case DVDEBUG:
        return logDVDEBUG.load(std::memory_order_relaxed) ? " == " : nullptr;
    case DVERROR:
    case DVERROR2:
        return " !! ";
    case DVCONFIG:
        return " ## ";
    }
    return nullptr;
}

// Writes all of the text, going on after a short write (a full disk, a
// signal). When the file refuses, the rest of the line is lost, as it was
// when a stream could not write it.
void writeAll(int fd, const char* text, size_t length)
{
    while (length > 0) {
        const ssize_t written = write(fd, text, length);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        text += written;
        length -= static_cast<size_t>(written);
    }
}

// The same for parts gathered with writev.
void writeAll(int fd, struct iovec* part, int count)
{
    while (count > 0) {
        const ssize_t written = writev(fd, part, count);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        size_t done = static_cast<size_t>(written);
        while (count > 0 && done >= part->iov_len) {
            done -= part->iov_len;
            ++part;
            --count;
        }
        if (count > 0) {
            part->iov_base = static_cast<char*>(part->iov_base) + done;
            part->iov_len -= done;
        }
    }
}

// A line is put together here, under the lock.
char g_line[4096];

// Writes one line (prefix, stamp, milliseconds, marker, message, newline)
// to the stream's file with one system call, bypassing the stream's buffer:
// the stream is only used to open, check and close the file, so it never
// holds part of a line and there is nothing left to flush. A line that fits
// the buffer is copied into it and written (the kernel's cheapest case);
// a longer one is gathered from its parts.
void writeLine(FILE* stream, const char* prefix, size_t prefixLength, const TimeCache& local, long ms,
               const char* marker, const char* message)
{
    char millis[24];
    size_t millisLength;
    if (ms >= 0 && ms <= 999) {
        millis[0] = static_cast<char>('0' + ms / 100);
        millis[1] = static_cast<char>('0' + ms / 10 % 10);
        millis[2] = static_cast<char>('0' + ms % 10);
        millisLength = 3;
    } else {
        millisLength = formatted(snprintf(millis, sizeof millis, "%03ld", ms), sizeof millis);
    }
    char newline[] = "\n";
    struct iovec parts[] = {{const_cast<char*>(prefix), prefixLength},
                            {const_cast<char*>(local.stamp), local.stampLength},
                            {millis, millisLength},
                            {const_cast<char*>(marker), 4},
                            {const_cast<char*>(message), strlen(message)},
                            {newline, 1}};
    const int count = static_cast<int>(sizeof parts / sizeof parts[0]);
    size_t total = 0;
    for (const struct iovec& part : parts)
        total += part.iov_len;
    if (total <= sizeof g_line) {
        char* out = g_line;
        for (const struct iovec& part : parts) {
            memcpy(out, part.iov_base, part.iov_len);
            out += part.iov_len;
        }
        writeAll(fileno(stream), g_line, total);
    } else {
        writeAll(fileno(stream), parts, count);
    }
}

enum HeadResult { HEAD_EMPTY, HEAD_NUMBER, HEAD_OTHER };

// Reads the number that starts a log file: "w<week>" in the weekday files,
// "<year>" in the error file. Mirrors scanf: a file that ends before a
// number could start counts as empty.
HeadResult readHead(FILE* file, bool weekPrefix, long* number)
{
    char head[64];
    const size_t n = fread(head, 1, sizeof head - 1, file);
    head[n] = '\0';
    size_t i = 0;
    if (weekPrefix) {
        if (n == 0)
            return HEAD_EMPTY;
        if (head[0] != 'w')
            return HEAD_OTHER;
        i = 1;
    }
    while (i < n && (head[i] == ' ' || (head[i] >= '\t' && head[i] <= '\r')))
        ++i;
    if (i >= n)
        return n == sizeof head - 1 ? HEAD_OTHER : HEAD_EMPTY;
    char* end = nullptr;
    errno = 0;
    const long value = strtol(head + i, &end, 10);
    if (end == head + i || errno == ERANGE)
        return HEAD_OTHER;
    *number = value;
    return HEAD_NUMBER;
}

// A file that belongs to another week (weekday files) or another year (the
// error file) is emptied; an empty file or one of this period is kept.
FILE* dropStaleContent(FILE* file, const char* path, bool weekFile, const struct tm& now)
{
    const long position = ftell(file);
    rewind(file);
    long number = 0;
    const HeadResult head = readHead(file, weekFile, &number);
    if (head == HEAD_EMPTY) {
        fseek(file, position, SEEK_SET);
        return file;
    }
    const long current = weekFile ? weekOfYear(now) : now.tm_year + 1900L;
    if (head == HEAD_NUMBER && number == current) {
        fseek(file, position, SEEK_SET);
        return file;
    }
    fclose(file);
    FILE* truncated = fopen(path, "w");
    if (truncated)
        fclose(truncated);
    return fopen(path, "a+");
}

// directory + "/" + base + "_" + period + ".log"; false when it does not fit.
bool buildPath(char (&out)[256], const std::string& directory, const char* base, const char* period)
{
    const std::string path = directory + "/" + base + "_" + period + ".log";
    if (path.size() >= sizeof out) {
        out[0] = '\0';
        return false;
    }
    memcpy(out, path.c_str(), path.size() + 1);
    return true;
}

} // namespace

DVLogicsLogger::DVLogicsLogger()
    : m_pAPILogFile(nullptr),
      m_pLOGICSLogFile(nullptr),
      m_pERRORLogFile(nullptr),
      m_szLoggingDate(),
      m_szWeekday(),
      m_strAPILogFileName(),
      m_strLOGICSLogFileName(),
      m_strERRORLogFileName(),
      m_pLogFilePath(nullptr),
      m_strDefaultLogFilePath(),
      m_szAPILogFilePath(),
      m_szLOGICSLogFilePath(),
      m_szERRORLogFilePath()
{
    strcpy(m_strAPILogFileName, "dvapi");
    strcpy(m_strLOGICSLogFileName, "dvlogic");
    strcpy(m_strERRORLogFileName, "dverror");

    // A HOME too long for the buffer is not cut (that would make a stray
    // directory named after part of it): the default stays empty, mkdir of
    // "" fails, and no file is opened.
    const char* home = getenv("HOME");
    if (!home)
        strcpy(m_strDefaultLogFilePath, "temp");
    else if (strlen(home) + strlen("/temp") < sizeof m_strDefaultLogFilePath)
        snprintf(m_strDefaultLogFilePath, sizeof m_strDefaultLogFilePath, "%s/temp", home);

    const char* directory = getenv("DVLOGS");
    if (!directory)
        directory = getenv("LOGFILE"); // names a directory, not a file
    m_strChosenLogFilePath = directory ? directory : m_strDefaultLogFilePath;
    m_pLogFilePath = m_strChosenLogFilePath.c_str();

    // Only the last component is made; its parents must exist.
    if (mkdir(m_pLogFilePath, 0775) != 0 && errno != EEXIST) {
        perror("InitLogFile: mkdir failed");
        m_pLogFilePath = nullptr;
        return; // no files, no date: the next line tries again
    }

    const struct tm now = dvLocalTime(dvNow().tv_sec);
    const char* weekday = kWeekdays[(now.tm_wday % 7 + 7) % 7];
    const char* month = kMonths[(now.tm_mon % 12 + 12) % 12];
    strcpy(m_szWeekday, weekday);
    strftime(m_szLoggingDate, sizeof m_szLoggingDate, "%Y-%m-%d", &now);

    // The directory text went through printf as its own format: "%%" is "%".
    const std::string directoryText = dvUnescapePercent(m_pLogFilePath);
    struct Target {
        FILE** file;
        char (*path)[256];
        const char* base;
        const char* period;
        bool weekFile;
    } targets[] = {
        {&m_pAPILogFile, &m_szAPILogFilePath, m_strAPILogFileName, weekday, true},
        {&m_pLOGICSLogFile, &m_szLOGICSLogFilePath, m_strLOGICSLogFileName, weekday, true},
        {&m_pERRORLogFile, &m_szERRORLogFilePath, m_strERRORLogFileName, month, false},
    };
    for (Target& t : targets) {
        if (!buildPath(*t.path, directoryText, t.base, t.period))
            continue; // a path that does not fit is not opened
        FILE* file = fopen(*t.path, "a+");
        if (file)
            file = dropStaleContent(file, *t.path, t.weekFile, now);
        *t.file = file;
    }
}

DVLogicsLogger::~DVLogicsLogger()
{
    closeFiles();
}

void DVLogicsLogger::closeFiles()
{
    for (FILE** file : {&m_pAPILogFile, &m_pLOGICSLogFile, &m_pERRORLogFile}) {
        if (*file) {
            fclose(*file);
            *file = nullptr;
        }
    }
}

void DVLogicsLogger::LogMessage(const char* message, LOGTYPES type, LOGFILES file)
{
    std::lock_guard<std::mutex> lock(loggerMutex());
    writeLocked(message ? message : "", type, file);
}

void DVLogicsLogger::LogMessage(const char* message, LOGTYPES type, LOGFILES file1, LOGFILES file2)
{
    LogMessage(message, type, file1);
    LogMessage(message, type, file2);
}

void DVLogicsLogger::writeLocked(const char* message, LOGTYPES type, LOGFILES file)
{
    if (!m_logInstance)
        m_logInstance = new (g_instanceStorage) DVLogicsLogger();

    const struct timeval now = dvNow();
    const TimeCache& local = localTimeOf(now.tv_sec);

    // A new local date: close this day's files and start over.
    if (strcmp(m_logInstance->m_szLoggingDate, local.date) != 0) {
        m_logInstance->~DVLogicsLogger();
        m_logInstance = new (g_instanceStorage) DVLogicsLogger();
    }

    FILE* stream = nullptr;
    const char* prefix = "";
    size_t prefixLength = 0;
    switch (file) {
    case DVAPILOG:
        stream = m_logInstance->m_pAPILogFile;
        break;
    case DVLOGICSLOG:
        stream = m_logInstance->m_pLOGICSLogFile;
        break;
    case DVERRORLOG:
        stream = m_logInstance->m_pERRORLogFile;
        prefix = local.errorPrefix;
        prefixLength = local.errorPrefixLength;
        break;
    default:
        return;
    }
    if (!stream)
        return;

    if (const char* marker = markerOf(type))
        writeLine(stream, prefix, prefixLength, local, static_cast<long>(now.tv_usec / 1000), marker, message);
}

void DVLogicsLogger::TerminateDVLogicsLogger()
{
    std::lock_guard<std::mutex> lock(loggerMutex());
    if (m_logInstance)
        m_logInstance->closeFiles();
}

namespace {
// Last of all at unload (after the device link has closed the files), the
// instance itself goes, so that nothing it holds outlives the library.
struct LoggerRelease {
    ~LoggerRelease() { DVLogicsLogger::ResetForTesting(); }
} g_loggerRelease DV_INIT_SUPPORT;
} // namespace

void DVLogicsLogger::ResetForTesting()
{
    std::lock_guard<std::mutex> lock(loggerMutex());
    if (m_logInstance) {
        m_logInstance->~DVLogicsLogger();
        m_logInstance = nullptr;
    }
    g_timeCache.second = -1;
}
