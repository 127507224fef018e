// CDVLogics: change, regret and reset.
#include "session/cdvlogics.h"

#include "link/clinkora.h"
#include "session/dvsessionlog.h"

using namespace dvsession;

namespace {

bool inTransaction(DVSTATES state)
{
    return state == DVS_PAYIN_ENABLED || state == DVS_PAYIN_DISABLED || state == DVS_CASH_DEPOSITED;
}

} // namespace

short CDVLogics::waitForCashOut(const char* op, int payedIn, SETTINGTYPES check, char* message)
{
    // Only cash that was paid in makes the device go to work.
    if (payedIn > 0) {
        const int wait = waitForStatus(1, 5000);
        if (wait != 0) {
            setMessage(message, "Timed out");
            logError(dvFormat("CDVLogics::%s: Start timed out, return code = %d", op, wait));
            return 6;
        }
    }
    if (m_dvSettings.GetSettingInt(check) == 1) {
        const int wait = waitForStatus(0, 3, statusOkTimeoutMs());
        if (wait != 0) {
            setMessage(message, "Timed out");
            logError(dvFormat("CDVLogics::%s: Stop timed out, return code = %d", op, wait));
            return 6;
        }
    }
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::change(char* message)
{
    logCall("CDVLogics::change()");
    g_bLastCmdWasAskPayoutWithOk = false;
    const int payedIn = g_nAmountPayedIn.load();
    short result = busyAndErrorGuard("change", WAIT_IDLE_OR_CLOSED, 15000, message);
    if (result != 0)
        return result;
    const DVSTATES state = g_DVState.load();
    if (state == DVS_LOGGED_OUT) {
        setMessage(message, "Closed");
        logError("CDVLogics::change: Change is not allowed from logged out state.");
        return 5;
    }
    // No capability test: change works on old devices too.
    if (!inTransaction(state)) {
        setMessage(message, "Not Supported");
        logError(std::string("CDVLogics::change: Change is not supported from state ") + dvStateText(state));
        return 12;
    }
    commandGoesOut('1');
    isProcessingPayoutCommand = true;
    result = linkora.change(message);
    isProcessingPayoutCommand = false;
    if (result != 0) {
        logError(dvFormat("CDVLogics::change: CLinkora::change failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    return waitForCashOut("change", payedIn, CHANGEOKCHECK, message);
}

short CDVLogics::regret(short regretType, char* message)
{
    logCall(dvFormat("CDVLogics::regret(%d)", regretType));
    // Regret waits 10 s for a busy device, not 15 s.
    short result = busyAndErrorGuard("regret", WAIT_IDLE_OR_CLOSED, 10000, message);
    if (result != 0)
        return result;
    g_bLastCmdWasAskPayoutWithOk = false;
    const int payedIn = g_nAmountPayedIn.load();
    const DVSTATES state = g_DVState.load();

    if (regretType == 0) {
        if (state == DVS_LOGGED_OUT) {
            setMessage(message, "Closed");
            logError("CDVLogics::regret: Regret Last Note is not allowed from logged out state.");
            return 5;
        }
        if (!inTransaction(state)) {
            setMessage(message, "Not Supported");
            logError(dvFormat("CDVLogics::regret: Regret Last Note is not supported from state %s", dvStateText(state)));
            return 12;
        }
        commandGoesOut('2');
        isProcessingPayoutCommand = true;
        result = linkora.regretOne(message);
    } else if (regretType == 1) {
        if (state == DVS_LOGGED_OUT) {
            setMessage(message, "Closed");
            logError("CDVLogics::regret: Regret All is not allowed from logged out state.");
            return 5;
        }
        // Once the cash is deposited there is nothing to give back.
        if (state != DVS_PAYIN_ENABLED && state != DVS_PAYIN_DISABLED) {
            setMessage(message, "Not Supported");
            logError(dvFormat("CDVLogics::regret: Regret All is not supported from state %s", dvStateText(state)));
            return 12;
        }
        commandGoesOut('F');
        isProcessingPayoutCommand = true;
        if (m_verifyDVStatus.load() == VERIFIED_OK) {
            logDebug("CDVLogics::regret: True regret all is supported.");
            result = linkora.regretAll(message);
        } else {
            logDebug("CDVLogics::regret: True regret all is not supported, using normal payout instead.");
            result = linkora.regretAllSum(message);
        }
    } else {
        setMessage(message, "Invalid regretType");
        logError("CDVLogics::regret: Invalid regretType");
        return 4;
    }
    isProcessingPayoutCommand = false;
    if (result != 0) {
        logError(dvFormat("CDVLogics::regret: CLinkora::regret failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    return waitForCashOut("regret", payedIn, REGRETOKCHECK, message);
}

short CDVLogics::reset(char* message)
{
    logCall("CDVLogics::reset()");
    if (g_nLastCallbackStatus.load() == 1) {
        logDebug("CDVLogics::reset: Dravik is Busy. Wait for Ok");
        // Only a time-out stops a reset: a reset is what clears errors.
        if (waitForStatus(0, 3, 15000) == 6) {
            setMessage(message, "Dravik is busy");
            logError("CDVLogics::reset: Dravik is still busy, giving up.");
            return 1;
        }
    }
    // Allowed in every state, also logged out or in error.
    g_bLastCmdWasAskPayoutWithOk = false;
    commandGoesOut('3');
    const short result = linkora.reset(message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::reset: CLinkora::reset failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    setMessage(message, "Done");
    return 0;
}
