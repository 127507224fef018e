// CDVLogics: enable and disable pay-in, deposit; the busy/error guard shared
// by the operations that move cash.
#include "session/cdvlogics.h"

#include "link/clinkora.h"
#include "session/dvsessionlog.h"

using namespace dvsession;

short CDVLogics::busyAndErrorGuard(const char* op, BusyWait wait, int timeOut, char* message)
{
    const std::string prefix = std::string("CDVLogics::") + op + ": ";
    const bool verbose = std::string(op) == "enablePayin";
    if (g_nLastCallbackStatus.load() == 1) {
        logDebug(prefix + "Dravik is Busy. Wait for Ok");
        const int status = wait == WAIT_IDLE_OR_CLOSED ? waitForStatus(0, 3, timeOut) : waitForStatus(0, timeOut);
        if (verbose)
            logDebug(prefix + "Dravik was Busy. Got new status nStatus=" + std::to_string(status));
        if (status == 6) {
            setMessage(message, "Dravik is busy");
            logError(prefix + "Dravik is still busy, giving up.");
            return 1;
        }
        if (status == 2) {
            setMessage(message, "Dravik has error(s)");
            logError(prefix + "Dravik has error(s)");
            return 2;
        }
        if (verbose)
            logDebug(prefix + "The new status nStatus=" + std::to_string(status) + " was neither TIMEOUT nor ERROR.");
    }
    if (g_nLastCallbackStatus.load() == 2) {
        setMessage(message, "Dravik has error(s)");
        logError(prefix + "Dravik has error(s)");
        return 2;
    }
    return 0;
}

namespace {

// The refusals shared by enable, disable and deposit: logged out, a device
// that never answered the capability query, a state the operation does not
// accept. `what` is the operation's name in the texts ("Enable Payin").
short payinStateGuard(const char* op, const char* what, bool verified, DVSTATES allowed1, DVSTATES allowed2,
                      char* message)
{
    const std::string prefix = std::string("CDVLogics::") + op + ": " + what;
    const DVSTATES state = g_DVState.load();
    if (state == DVS_LOGGED_OUT) {
        setMessage(message, "Closed");
        logError(prefix + " is not allowed from logged out state.");
        return 5;
    }
    if (!verified) {
        setMessage(message, "Not Supported");
        logError(prefix + " is not supported.");
        return 12;
    }
    if (state != allowed1 && state != allowed2) {
        setMessage(message, "Not Supported");
        logError(prefix + " is not supported from state " + dvStateText(state));
        return 12;
    }
    return 0;
}

} // namespace

short CDVLogics::enablePayin(char* message)
{
    logCall("CDVLogics::enablePayin()");
    short result = busyAndErrorGuard("enablePayin", WAIT_IDLE_OR_CLOSED, 15000, message);
    if (result == 0)
        result = payinStateGuard("enablePayin", "Enable Payin", m_verifyDVStatus.load() == VERIFIED_OK,
                                 DVS_PAYIN_ENABLED, DVS_PAYIN_DISABLED, message);
    if (result != 0)
        return result;
    commandGoesOut('H');
    result = linkora.enablePayin(message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::enablePayin: enablePayinDV failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    g_DVState = DVS_PAYIN_ENABLED;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::disablePayin(char* message)
{
    logCall("CDVLogics::disablePayin()");
    short result = busyAndErrorGuard("disablePayin", WAIT_IDLE_OR_CLOSED, 15000, message);
    if (result == 0)
        result = payinStateGuard("disablePayin", "Disable Payin", m_verifyDVStatus.load() == VERIFIED_OK,
                                 DVS_PAYIN_ENABLED, DVS_PAYIN_DISABLED, message);
    if (result != 0)
        return result;
    commandGoesOut('G');
    result = linkora.disablePayin(message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::disablePayin: disablePayinDV failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    const int wait = waitForStatus(3, 5000);
    if (wait != 0) {
        setMessage(message, "Timed out");
        logError(dvFormat("CDVLogics::disablePayin: disablePayin timed out, return code = %d", wait));
        return 6;
    }
    g_DVState = DVS_PAYIN_DISABLED;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::deposit(char* transactId, char* message)
{
    logCall("CDVLogics::deposit(" + dvStr(transactId) + ")");
    short result = busyAndErrorGuard("deposit", WAIT_IDLE_OR_CLOSED, 15000, message);
    if (result == 0)
        result = payinStateGuard("deposit", "Deposit", m_verifyDVStatus.load() == VERIFIED_OK, DVS_PAYIN_DISABLED,
                                 DVS_CASH_DEPOSITED, message);
    if (result != 0)
        return result;
    commandGoesOut('F');
    isProcessingPayoutCommand = true;
    result = linkora.doPayOut(0, g_nAmountPayedIn.load(), transactId, message);
    isProcessingPayoutCommand = false;
    if (result != 0) {
        logError(dvFormat("CDVLogics::deposit: doPayOut failed, return code = %d, message = %s", result, message));
        return result;
    }
    g_DVState = DVS_CASH_DEPOSITED;
    setMessage(message, "Done");
    return 0;
}
