// DVLogicsLogger: the library's three log files.
//
//   dvapi_<Day>.log     calls from the till and their results
//   dvlogic_<Day>.log   session logic, device commands and reports
//   dverror_<Mon>.log   errors, each line prefixed with the date
//
// Every line is "w<week> HH:MM:SS.mmm <marker> <text>" and is flushed at
// once. The files are switched on the first line of a new local date; a
// weekday file is emptied when first opened in a new week, a month file when
// first opened in a new year. Lines from the till's thread and the device
// thread never interleave: one lock covers choosing the files and writing.
#ifndef DV_SUPPORT_DVLOGICSLOGGER_H
#define DV_SUPPORT_DVLOGICSLOGGER_H

#include <atomic>
#include <cstdio>
#include <string>

enum LOGTYPES : int {
    CR2API = 0,   // call from the till into the library      "=>"
    API2CR = 1,   // result / event going back to the till    "<="
    API2DV = 2,   // command sent to the device               "->"
    DV2API = 3,   // report received from the device          "<-"
    DVDEBUG = 4,  // debug trace                              "=="
    DVERROR = 5,  // error                                    "!!"
    DVERROR2 = 6, // error, second class, same output         "!!"
    DVCONFIG = 7  // configuration value in use               "##"
};

enum LOGFILES : int { DVAPILOG = 0, DVLOGICSLOG = 1, DVERRORLOG = 2 };

// Filter flags (settings LogCRToCAPI, LogCAPIToCR, LogComToCAPI,
// LogCAPIToCom, LogDebug). Errors and configuration lines are always written.
extern std::atomic<bool> logCR2CAPI;
extern std::atomic<bool> logCAPI2CR;
extern std::atomic<bool> logCom2CAPI;
extern std::atomic<bool> logCAPI2Com;
extern std::atomic<bool> logDVDEBUG;

class DVLogicsLogger {
public:
    // Writes one line to one file. A null message is written as empty.
    static void LogMessage(const char* message, LOGTYPES type, LOGFILES file);
    // Two independent writes, file1 then file2 (each with its own time).
    static void LogMessage(const char* message, LOGTYPES type, LOGFILES file1, LOGFILES file2);
    static void LogMessage(const std::string& message, LOGTYPES type, LOGFILES file)
    {
        LogMessage(message.c_str(), type, file);
    }
    static void LogMessage(const std::string& message, LOGTYPES type, LOGFILES file1, LOGFILES file2)
    {
        LogMessage(message.c_str(), type, file1, file2);
    }

    // Closes the files; the instance stays, so later lines of the same date
    // are dropped and the first line of a later date opens new files.
    static void TerminateDVLogicsLogger();

    // Forgets the instance (closing its files) so that the next line builds
    // a new one from the environment. Used by tests, and at unload.
    static void ResetForTesting();

    ~DVLogicsLogger();

private:
    DVLogicsLogger();
    DVLogicsLogger(const DVLogicsLogger&) = delete;
    DVLogicsLogger& operator=(const DVLogicsLogger&) = delete;

    static void writeLocked(const char* message, LOGTYPES type, LOGFILES file);
    void closeFiles();

    static DVLogicsLogger* m_logInstance;

    FILE* m_pAPILogFile;
    FILE* m_pLOGICSLogFile;
    FILE* m_pERRORLogFile;
    char m_szLoggingDate[11];
    char m_szWeekday[4];
    char m_strAPILogFileName[13];
    char m_strLOGICSLogFileName[13];
    char m_strERRORLogFileName[13];
    const char* m_pLogFilePath;
    char m_strDefaultLogFilePath[256];
    char m_szAPILogFilePath[256];
    char m_szLOGICSLogFilePath[256];
    char m_szERRORLogFilePath[256];
    std::string m_strChosenLogFilePath; // holds the directory m_pLogFilePath points to
};

#endif
