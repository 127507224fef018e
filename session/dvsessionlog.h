// Logging and message helpers of the session operations.
#ifndef DV_SESSION_DVSESSIONLOG_H
#define DV_SESSION_DVSESSIONLOG_H

#include "dvlogics.h"
#include "session/dvstate.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"
#include "support/dvtext.h"

#include <string>

namespace dvsession {

// An operation's entry line.
inline void logCall(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, CR2API, DVLOGICSLOG);
}

inline void logDebug(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVDEBUG, DVLOGICSLOG);
}

inline void logConfig(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVCONFIG, DVLOGICSLOG);
}

// Errors go to the logic log and the error log.
inline void logError(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVERROR, DVLOGICSLOG, DVERRORLOG);
}

// The translation of key into the caller's message buffer.
inline void setMessage(char* message, const char* key)
{
    dvSetMessage(message, key, DV_MESSAGE_SIZE);
}

// Just before a command goes out: the next report is logged and forwarded
// whatever it repeats, and the report handler knows what was sent.
inline void commandGoesOut(char letter)
{
    g_strPrevCallbackArg.clear();
    g_bMessageSentSinceLastLoggedStatusEvent = true;
    g_cLastCmd = letter;
}

} // namespace dvsession

#endif
