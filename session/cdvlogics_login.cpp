// CDVLogics: capability query, login, logout, open state and info.
#include "session/cdvlogics.h"

#include "link/clinkora.h"
#include "session/dvsessionlog.h"
#include "support/dvclock.h"

#include <climits>
#include <cstdlib>
#include <cstring>

using namespace dvsession;

namespace {

std::string todayIso()
{
    const struct tm now = dvLocalNow();
    char date[16];
    strftime(date, sizeof date, "%Y-%m-%d", &now);
    return date;
}

// The time stamp sent with the capability query: local yyyymmddHHMMSS.
std::string queryTimestamp()
{
    const struct tm now = dvLocalNow();
    char stamp[32];
    strftime(stamp, sizeof stamp, "%Y%m%d%H%M%S", &now);
    return stamp;
}

// A text id reduced to the number the device gets: the value of the last two
// characters, else of the last one, else 0 for a trailing "0", else 1.
short textToId(const char* text)
{
    if (!text || !*text)
        return 1;
    const std::string id = text;
    const std::string lastTwo = id.size() <= 2 ? id : id.substr(id.size() - 2);
    int value = atoi(lastTwo.c_str());
    if (value != 0)
        return static_cast<short>(value);
    value = atoi(id.substr(id.size() - 1).c_str());
    if (value != 0)
        return static_cast<short>(value);
    return id.back() == '0' ? 0 : 1;
}

} // namespace

short CDVLogics::verifyDV(int* verified, char* message)
{
    logCall("CDVLogics::verifyDV()");
    m_verifyDVStatus = VERIFIED_NOT_TESTED;
    m_nDVLevel = 0;

    const DVSTATES state = g_DVState.load();
    if (state != DVS_LOGGED_OUT && state != DVS_UNINITIATED && g_nLastCallbackStatus.load() == 1) {
        logDebug("CDVLogics::verifyDV: Dravik is Busy. Wait for Ok");
        if (waitForStatus(0, 3, 15000) == 6) {
            setMessage(message, "Dravik is busy");
            logError("CDVLogics::verifyDV: Dravik is still busy, giving up.");
            return 1;
        }
    }

    g_strPrevCallbackArg.clear();
    g_bMessageSentSinceLastLoggedStatusEvent = true;
    g_cLastCmd = 'X';
    const short result = linkora.verifyDV(queryTimestamp().c_str(), message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::verifyDV: verifyDV failed, return code = %d, message = %s", result, message));
        m_verifyDVStatus = VERIFIED_NO_RESPONSE;
        m_nDVLevel = 0;
        return result;
    }
    if (waitForCallback(CALLBACK_TYPE_X, 5000) == 6) {
        setMessage(message, "Timed out");
        logError("CDVLogics::verifyDV: verifyDV timed out");
        m_verifyDVStatus = VERIFIED_NO_RESPONSE;
        m_nDVLevel = 0;
        return 6;
    }
    m_verifyDVStatus = VERIFIED_OK;
    if (verified)
        *verified = 1;
    m_nDVLevel = 1;
    // The device's texts are cut to the fields' sizes.
    dvCopyPlain(m_masterVersion, sizeof m_masterVersion, g_masterVersion.get().c_str());
    dvCopyPlain(m_supportedCommands, sizeof m_supportedCommands, g_supportedCommands.get().c_str());
    logDebug(std::string("CDVLogics::verifyDV: Master Version: ") + m_masterVersion);
    logDebug(std::string("CDVLogics::verifyDV: Supported Commands: ") + m_supportedCommands);
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::login(short cashRegId, short cashierId, char* message)
{
    logCall(dvFormat("CDVLogics::login(%d, %d)", cashRegId, cashierId));
    logDebug("CDVLogics::login, date: " + todayIso());
    // The device takes two digits of each.
    const short registerNumber = static_cast<short>(abs(static_cast<int>(cashRegId)) % 100);
    const short cashierNumber = static_cast<short>(abs(static_cast<int>(cashierId)) % 100);

    const DVSTATES state = g_DVState.load();
    if (state != DVS_LOGGED_OUT && state != DVS_UNINITIATED && g_nLastCallbackStatus.load() == 1) {
        logDebug("CDVLogics::login: Dravik is Busy. Wait for Ok");
        if (waitForStatus(0, 3, 15000) == 6) {
            setMessage(message, "Dravik is busy");
            logError("CDVLogics::login: Dravik is still busy, giving up.");
            return 1;
        }
    }

    const bool wasClosed = g_nLastCallbackStatus.load() == 2 || g_DVState.load() == DVS_LOGGED_OUT;

    int verified = 0;
    if (g_nLegacySystem.load() == 1) {
        logDebug("CDVLogics::login: Legacy system, not calling verifyDV()");
        m_verifyDVStatus = VERIFIED_NOT_TESTED;
        m_nDVLevel = 0;
    } else if (m_verifyDVStatus.load() != VERIFIED_NO_RESPONSE) {
        logDebug("CDVLogics::login: calling verifyDV()");
        const short result = verifyDV(&verified, message);
        if (result != 0)
            logError(dvFormat("CDVLogics::login: VerifyDV failed: nReturn=%d: verified=%d: %s", result, verified,
                              message));
        else
            logDebug(dvFormat("CDVLogics::login: VerifyDV got verified=%d: %s", verified, message));
    } else {
        // An earlier query went unanswered: most likely an old device.
        logDebug("CDVLogics::login: Not calling verifyDV since a previous attempt to call verifyDV timed out, most "
                 "likely because the LegacySystem flag is unset and the attached DV is an old system.");
        logDebug(dvFormat("CDVLogics::login: Not changing already set values for verifyDVStatus=%d and DVLevel=%d",
                          m_verifyDVStatus.load(), m_nDVLevel.load()));
    }

    logDebug("CDVLogics::login: Resetting low level warning state to LOW_LEVEL_WARNING_TRUE to make sure the first "
             "payout call is made with an askPayout first.");
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_TRUE;
    g_bLastCmdWasAskPayoutWithOk = false;
    g_nLastAskPayoutAmount = 0;
    g_strPrevCallbackArg.clear();
    g_bMessageSentSinceLastLoggedStatusEvent = true;
    g_cLastCmd = 'A';

    const short sent = linkora.login(registerNumber, cashierNumber, message);
    if (sent != 0) {
        logError("CDVLogics::login: CLinkora::login failed");
        return sent;
    }

    const int wait = waitForMode(1, 5000, false);
    if (wait == 6) {
        setMessage(message, "Timed out");
        logError("CDVLogics::login: Opening timed out");
        return 6;
    }
    if (wait == 2) {
        setMessage(message, "Dravik has error(s)");
        logError("CDVLogics::login: Dravik has error(s)");
        return 2;
    }
    if (wasClosed) {
        const int status = g_nLastCallbackStatus.load();
        if (status == 0)
            g_DVState = DVS_PAYIN_ENABLED;
        else if (status == 3)
            g_DVState = DVS_PAYIN_DISABLED;
        else
            logDebug(dvFormat("CDVLogics::login: Last callback status == unexpected! g_nLastCallbackStatus=%d",
                              status));
    }
    if (g_nLegacySystem.load() == 0 && g_nAutoDisable.load() == 1) {
        const short result = disablePayin(message);
        if (result != 0)
            logError(dvFormat("CDVLogics::login: AutoDisable failed: nReturn=%d: verified=%d: %s", result, verified,
                              message));
    }
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::login(char* cashRegId, char* cashierId, char* message)
{
    logCall("CDVLogics::login(" + dvStr(cashRegId) + ", " + dvStr(cashierId) + ")");
    g_bLastCmdWasAskPayoutWithOk = false;
    const short first = textToId(cashRegId);
    const short second = textToId(cashierId);
    logDebug(dvFormat("CDVLogics::login calling numeric login with params(%d, %d)", first, second));
    const short result = login(first, second, message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::login: Login failed, return code = %d, message = %s", result, message));
        return result;
    }
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::logout(char* message)
{
    logCall("CDVLogics::logout()");
    g_bLastCmdWasAskPayoutWithOk = false;
    g_strPrevCallbackArg.clear();
    g_bMessageSentSinceLastLoggedStatusEvent = true;
    g_cLastCmd = 'B';
    short result = linkora.logout(message);
    if (result == 1) {
        logDebug("CDVLogics::logout: Dravik was Busy. Wait for Ok and try again");
        if (waitForStatus(0, 3, statusOkTimeoutMs()) == 6) {
            setMessage(message, "Dravik is busy");
            logError("CDVLogics::logout: Dravik is still busy");
            return 1;
        }
        logDebug("CDVLogics::logout() internal class linkora.logout was busy, now trying again");
        result = linkora.logout(message);
    }
    if (result != 0) {
        logError(dvFormat("CDVLogics::logout: CLinkora::logout failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    const int wait = waitForMode(0, 5000, true);
    if (wait == 6) {
        setMessage(message, "Timed out");
        logError("CDVLogics::logout: Closing timed out, returning DV_STATUS_TIMEOUT");
        return 6;
    }
    if (wait == 2) {
        setMessage(message, "Dravik has error(s)");
        logError("CDVLogics::logout: Dravik has error(s), returning DV_STATUS_ERROR");
        return 2;
    }
    g_DVState = DVS_LOGGED_OUT;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::isOpen(int& open, char* message)
{
    logCall("CDVLogics::isOpen()");
    open = g_bDVOpened.load() ? 1 : 0;
    logDebug(dvFormat("CDVLogics::isOpen status = %d.", open));
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::info(int& level, char* commands, char* master, char* info, char* message)
{
    logCall("CDVLogics::info()");
    if (g_DVState.load() == DVS_LOGGED_OUT) {
        setMessage(message, "Closed");
        logError("CDVLogics::info: Info is not allowed from logged out state.");
        return 5;
    }
    level = m_nDVLevel.load();
    for (char* out : {commands, master, info})
        if (out)
            out[0] = '\0';
    if (level == 0) {
        if (commands)
            dvCopyText(commands, DV_INFO_COMMANDS_SIZE, "ABCDEF"); // a basic device's commands
    } else if (level == 1) {
        if (commands)
            dvCopyPlain(commands, DV_INFO_COMMANDS_SIZE, m_supportedCommands);
        if (master)
            dvCopyPlain(master, DV_INFO_MASTER_SIZE, m_masterVersion);
        if (info)
            dvCopyText(info, DV_INFO_INFO_SIZE, "Dravik");
    }
    setMessage(message, "Done");
    logDebug(dvFormat("CDVLogics::info: level=%d, commands=\"%s\", master=\"%s\", info=\"%s\", message=\"%s\".", level,
                      commands ? commands : "", master ? master : "", info ? info : "", message));
    return 0;
}
