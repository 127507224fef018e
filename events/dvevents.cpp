#include "events/dvevents.h"

#include "events/dvparsers.h"
#include "session/dvstate.h"
#include "support/dvclock.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"
#include "support/dvtext.h"

#include <cstdlib>
#include <cstring>

namespace {

void logError(const std::string& text)
{
    DVLogicsLogger::LogMessage(text, DVERROR, DVLOGICSLOG, DVERRORLOG);
}

// "sendXxx: ..." to the logic log and "Xxx: ..." to the API log.
void logEvent(const std::string& longForm, const std::string& shortForm)
{
    DVLogicsLogger::LogMessage(longForm, API2CR, DVLOGICSLOG);
    DVLogicsLogger::LogMessage(shortForm, API2CR, DVAPILOG);
}

// Counts a call into the till for as long as it runs.
struct InsideTill {
    InsideTill() { ++g_nInsideCallbackFunctions; }
    ~InsideTill() { --g_nInsideCallbackFunctions; }
};

// The next status event is logged whatever it repeats.
void forgetLoggedStatusEvent()
{
    g_nLastLoggedStatusEventAmount = -1;
    g_nLastLoggedStatusEventStatus = -1;
    g_nLastLoggedStatusEventMode = -1;
    g_bMessageSentSinceLastLoggedStatusEvent = true;
}

std::string today()
{
    const struct tm now = dvLocalNow();
    char date[16];
    strftime(date, sizeof date, "%Y%m%d", &now);
    return date;
}

} // namespace

short sendStatusEvent(const int& amountOrRest, const int& status, const int& mode)
{
    if (amountOrRest < 0) {
        logError(dvFormat("sendStatusEvent: Failed, neg param amountOrRest: %d", amountOrRest));
        return 2;
    }
    if (status < 0) {
        logError(dvFormat("sendStatusEvent: Failed, neg param nStatus: %d", status));
        return 2;
    }
    if (mode < 0) {
        logError(dvFormat("sendStatusEvent: Failed, neg param nMode: %d", mode));
        return 2;
    }
    if (g_nLoggSendEvents.load() != 0) {
        const bool repeat = g_nLastLoggedStatusEventAmount.load() == amountOrRest &&
                            g_nLastLoggedStatusEventStatus.load() == status &&
                            g_nLastLoggedStatusEventMode.load() == mode;
        if (g_nLoggEveryCallback.load() == 1 || !repeat || g_bMessageSentSinceLastLoggedStatusEvent.load()) {
            logEvent(dvFormat("sendStatusEvent: amount=%d, status=%d, mode=%d", amountOrRest, status, mode),
                     dvFormat("StatusEvent: amount=%d, status=%d, mode=%d", amountOrRest, status, mode));
            g_nLastLoggedStatusEventAmount = amountOrRest;
            g_nLastLoggedStatusEventStatus = status;
            g_nLastLoggedStatusEventMode = mode;
            g_bMessageSentSinceLastLoggedStatusEvent = false;
        }
    }
    if (CStatusBackFunc callback = g_fStatusCallback.load()) {
        InsideTill inside;
        callback(amountOrRest, static_cast<short>(status), static_cast<short>(mode));
    }
    return 0;
}

short sendErrorEvent(const std::string& tail)
{
    forgetLoggedStatusEvent();
    int errorCode = 0;
    getErrorCode(tail, errorCode); // on failure the code stays 0
    if (errorCode < 0) {
        logError(dvFormat("sendErrorEvent: Failed, neg param errorCode: %d", errorCode));
        return 2;
    }
    char errorText[DV_ERROR_TEXT_SIZE];
    char extInfo[DV_LEVEL_EXTINFO_SIZE];
    dvCopyText(errorText, sizeof errorText, DVLangSupport::getText(dvFormat("Error Code %d", errorCode)));
    dvCopyText(extInfo, sizeof extInfo, "ErrorInfo Not set");

    logError(dvFormat("ErrorEvent: errorCode=%d, errorText=%s, extInfo=%s", errorCode, errorText, extInfo));
    if (g_nLoggSendEvents.load() != 0)
        logEvent(dvFormat("sendErrorEvent: errorCode=%d, errorText=%s, extInfo=%s", errorCode, errorText, extInfo),
                 dvFormat("ErrorEvent: errorCode=%d, errorText=%s, extInfo=%s", errorCode, errorText, extInfo));
    if (CErrorBackFunc callback = g_fErrorCallback.load()) {
        InsideTill inside;
        callback(errorCode, errorText, extInfo);
    }
    return 0;
}

bool levelWarningFiltered(const std::string& filter, long denomination, const std::string& todayText)
{
    size_t start = 0;
    while (start <= filter.size()) {
        const size_t colon = filter.find(':', start);
        if (colon == std::string::npos)
            break;
        const std::string date = filter.substr(start, colon - start);
        const size_t comma = filter.find(',', colon + 1);
        const std::string value =
            filter.substr(colon + 1, comma == std::string::npos ? std::string::npos : comma - colon - 1);
        char* end = nullptr;
        const long entryDenomination = strtol(value.c_str(), &end, 10);
        // An entry whose denomination does not read as a number matches
        // nothing (not even a denomination of 0).
        const bool readable = end != value.c_str();
        if (readable && entryDenomination == denomination && date.size() == 8 && todayText.size() >= 8 &&
            strncmp(todayText.c_str(), date.c_str(), 8) >= 0)
            return true;
        if (comma == std::string::npos)
            break;
        start = comma + 1;
    }
    return false;
}

short sendCashLevelEvent(const std::string& tail)
{
    forgetLoggedStatusEvent();
    int numberOf = 0;
    long denomination = 0;
    int levelType = 0;
    std::string typeString, denominationString, warningMessage;
    if (getCashLevels(tail, numberOf, denomination, levelType, typeString, denominationString, warningMessage) !=
        0) {
        // An unreadable level report counts as a low level: the next payout
        // asks first.
        DVLogicsLogger::LogMessage(
            dvFormat("sendCashLevelEvent: Updating g_nCurrentLowLevelWarningState: %d - > %d (LOW_LEVEL_WARNING_TRUE)",
                     g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_TRUE),
            DVDEBUG, DVLOGICSLOG);
        g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_TRUE;
        return 2;
    }
    if (numberOf < 0) {
        logError(dvFormat("sendCashLevelEvent: Failed, neg param numberOf: %d", numberOf));
        return 2;
    }
    if (denomination < 0) {
        logError(dvFormat("sendCashLevelEvent: Failed, neg param denomination: %ld", denomination));
        return 2;
    }
    const std::string filter = g_strLevelWarningFilter.get();
    if (!filter.empty() && levelWarningFiltered(filter, denomination, today()))
        return 0;

    char extInfo[DV_LEVEL_EXTINFO_SIZE];
    dvCopyText(extInfo, sizeof extInfo, tail);
    if (CCashLevelBackFunc callback = g_fCashLevelCallback.load()) {
        if (g_nLoggSendEvents.load() != 0)
            logEvent(dvFormat("sendCashLevelEvent: denomination=%ld, numberOf=%d, extInfo=%s", denomination,
                              numberOf, extInfo),
                     dvFormat("CashLevelEvent: denomination=%ld, numberOf=%d, extInfo=%s", denomination, numberOf,
                              extInfo));
        InsideTill inside;
        callback(denomination, static_cast<short>(numberOf), extInfo);
    }
    if (CLevelWarningBackFunc callback = g_fLevelWarningCallback.load()) {
        char type[DV_LEVEL_TYPE_SIZE];
        char value[DV_LEVEL_DENOMINATION_SIZE];
        char warning[DV_LEVEL_WARNING_SIZE];
        dvCopyText(extInfo, sizeof extInfo, tail); // the till may have written into it
        dvCopyText(type, sizeof type, typeString);
        dvCopyText(value, sizeof value, denominationString);
        dvCopyText(warning, sizeof warning, warningMessage);
        if (g_nLoggSendEvents.load() != 0)
            logEvent(dvFormat("sendCashLevelEvent: warningType=%d, denomination=%ld, numberOf=%d, typeString=%s, "
                              "denominationString=%s, warningMessage=%s, extInfo=%s",
                              levelType, denomination, numberOf, type, value, warning, extInfo),
                     dvFormat("LevelWarningEvent: warningType=%d, denomination=%ld, numberOf=%d, typeString=%s, "
                              "denominationString=%s, warningMessage=%s, extInfo=%s",
                              levelType, denomination, numberOf, type, value, warning, extInfo));
        InsideTill inside;
        callback(static_cast<short>(levelType), denomination, static_cast<short>(numberOf), type, value, warning,
                 extInfo);
    }
    return 0;
}

short sendCashSessionEvent(const std::string& tail)
{
    forgetLoggedStatusEvent();
    short infoType = 0;
    int amount = 0;
    const short status = getSessionInfo(tail, infoType, amount);
    if (status != 0)
        return status;
    if (g_nLoggSendEvents.load() != 0)
        logEvent(dvFormat("sendCashSessionEvent: infoType=%d, amount=%d, extInfo=%s", infoType, amount, tail.c_str()),
                 dvFormat("CashSessionEvent: infoType=%d, amount=%d, extInfo=%s", infoType, amount, tail.c_str()));
    if (CCashSessionBackFunc callback = g_fCashSessionCallback.load()) {
        char extInfo[DV_SESSION_EXTINFO_SIZE];
        dvCopyText(extInfo, sizeof extInfo, tail);
        InsideTill inside;
        callback(infoType, amount, extInfo);
    }
    return 0;
}
