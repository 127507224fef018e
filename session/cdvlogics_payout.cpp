// CDVLogics: ask-payout, dispense, payout, amount due, the payout-per-time
// limit and the return of temporary settings after a payout.
#include "session/cdvlogics.h"

#include "link/clinkora.h"
#include "session/dvsessionlog.h"
#include "support/dvclock.h"

#include <climits>

using namespace dvsession;

namespace {

const int kMaxAmount = 99999999;

int clampToInt(long long value)
{
    return value > INT_MAX ? INT_MAX : value < INT_MIN ? INT_MIN : static_cast<int>(value);
}

// Settings changed "until the next payout" go back once the payout command
// went out, whatever its waits then report. A payout refused before sending
// leaves them for the next one.
class RestoreAfterPayout {
public:
    explicit RestoreAfterPayout(CDVLogics& session) : m_session(session) {}
    ~RestoreAfterPayout()
    {
        if (m_session.settings().GetDurationType() == 1)
            m_session.restoreTempSettingsAfterPayout();
    }

private:
    CDVLogics& m_session;
};

} // namespace

// --- paid-out list --------------------------------------------------------------

void CDVLogics::addToPaidOutList(int amount)
{
    m_PaidOutRecords.push_front(PaidOutRecord{dvNow().tv_sec, amount});
}

void CDVLogics::purgePaidOutList()
{
    const time_t now = dvNow().tv_sec;
    const long long seconds = m_dvSettings.GetSettingInt(PAYOUTAMOUNTPERTIMELIMITSECONDS);
    while (!m_PaidOutRecords.empty() &&
           static_cast<long long>(now - m_PaidOutRecords.back().TimeStamp) > seconds)
        m_PaidOutRecords.pop_back();
}

int CDVLogics::getSumInPurgePaidOutList()
{
    long long sum = 0;
    for (const PaidOutRecord& record : m_PaidOutRecords)
        sum += record.Amount;
    return clampToInt(sum);
}

void CDVLogics::restoreTempSettingsAfterPayout()
{
    m_dvSettings.RestoreSettings();
    // LegacySystem, AutoDisable and LevelWarningFilter are not copied back.
    copySettingsToGlobals(false);
}

// --- shared steps -------------------------------------------------------------------

bool CDVLogics::mustAskFirst(const char* op, int amount)
{
    const bool isDispense = std::string(op) == "dispense";
    const std::string prefix = std::string("CDVLogics::") + op + ": ";
    const char* what = isDispense ? "to dispense" : "to pay out";
    const int limit = m_dvSettings.GetSettingInt(ASKPAYOUTAMOUNTLIMIT);
    const int warning = g_nCurrentLowLevelWarningState.load();

    if (amount == 0) {
        logDebug(prefix + "Zero amount " + what + ", askPayout not called");
        return false;
    }
    if (limit > amount && (warning == LOW_LEVEL_WARNING_TRUE || warning == LOW_LEVEL_WARNING_TRUE_PENDING)) {
        logDebug(prefix + "Small amount " + what + " but Cash Levels are low, call askPayout");
        return true;
    }
    if (limit > amount && (warning == LOW_LEVEL_WARNING_FALSE || warning == LOW_LEVEL_WARNING_FALSE_PENDING)) {
        logDebug(prefix + "Small amount " + what + " and Cash Levels are ok, askPayout not called");
        return false;
    }
    if (g_bLastCmdWasAskPayoutWithOk.load() && g_nLastAskPayoutAmount.load() == amount) {
        logDebug(prefix + "Previous askPayout with same amount performed, askPayout not called");
        return false;
    }
    return true;
}

short CDVLogics::checkPayoutLimit(const char* op, int amountDispense, int amountDeposit, bool isPayout,
                                  char* message)
{
    const int limit = m_dvSettings.GetSettingInt(PAYOUTAMOUNTPERTIMELIMITAMOUNT);
    const int seconds = m_dvSettings.GetSettingInt(PAYOUTAMOUNTPERTIMELIMITSECONDS);
    const std::string line =
        dvFormat("CDVLogics::%s: PayOutAmountPerTimeLimitAmount = %d, seconds limit = %d", op, limit, seconds);
    logDebug(line);
    if (limit < 1) {
        logDebug(line + ", not checking paid out amounts.");
        return 0;
    }
    logDebug(line + ", checking paid out amounts. Purging paid out list...");
    purgePaidOutList();
    const int sum = getSumInPurgePaidOutList();
    const long long amount = isPayout ? static_cast<long long>(amountDispense) - amountDeposit : amountDispense;
    if (isPayout)
        logDebug(dvFormat("CDVLogics::payout: sumPaidInAmount = %d", sum));
    if (sum + amount > limit) {
        if (isPayout) {
            logDebug(dvFormat("CDVLogics::payout: sumPaidOutAmount = %d, amountDispense = %d, amountDeposit = %d", sum,
                              amountDispense, amountDeposit));
            logError(dvFormat("CDVLogics::payout: (%d + (%d - %d) > %d), Payout larger than allowed limit per time "
                              "unit: %d seconds!",
                              sum, amountDispense, amountDeposit, limit, seconds));
        } else {
            logDebug(dvFormat("CDVLogics::dispense: sumPaidOutAmount = %d, amountDispense = %d", sum, amountDispense));
            logError(dvFormat("CDVLogics::dispense: (%d + %d > %d), Payout larger than allowed limit per time unit: "
                              "%d seconds!",
                              sum, amountDispense, limit, seconds));
        }
        setMessage(message, "Payout larger than allowed limit per time unit");
        return 11;
    }
    // Recorded before the command goes out, and kept even if it then fails.
    logDebug(dvFormat("CDVLogics::%s: adding %d to paid out list.", op, clampToInt(amount)));
    addToPaidOutList(clampToInt(amount));
    return 0;
}

void CDVLogics::markLowLevelWarningPending(const char* op)
{
    const int warning = g_nCurrentLowLevelWarningState.load();
    if (warning == LOW_LEVEL_WARNING_FALSE) {
        logDebug(dvFormat("CDVLogics::%s: Updating g_nCurrentLowLevelWarningState: %d - > %d "
                          "(LOW_LEVEL_WARNING_FALSE_PENDING)",
                          op, warning, LOW_LEVEL_WARNING_FALSE_PENDING));
        g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE_PENDING;
    } else if (warning == LOW_LEVEL_WARNING_TRUE) {
        logDebug(dvFormat("CDVLogics::%s: Updating g_nCurrentLowLevelWarningState: %d - > %d "
                          "(LOW_LEVEL_WARNING_TRUE_PENDING)",
                          op, warning, LOW_LEVEL_WARNING_TRUE_PENDING));
        g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_TRUE_PENDING;
    }
}

// --- operations -----------------------------------------------------------------------

short CDVLogics::askPayout(int amount, char* message)
{
    int rest = 0;
    return askPayout(amount, rest, message);
}

short CDVLogics::askPayout(int amount, int& amountRest, char* message)
{
    logCall(dvFormat("CDVLogics::askPayout(%d, amountRest)", amount));
    amountRest = 0;
    g_nLastAskPayoutAmount = amount;
    short result = busyAndErrorGuard("askPayout", WAIT_IDLE_OR_CLOSED, 15000, message);
    if (result != 0)
        return result;

    const DVSTATES state = g_DVState.load();
    if (state == DVS_LOGGED_OUT) {
        setMessage(message, "Closed");
        logError("CDVLogics::askPayout: Ask Payout is not allowed from logged out state.");
        return 5;
    }
    if (state != DVS_PAYIN_ENABLED && state != DVS_PAYIN_DISABLED && state != DVS_CASH_DEPOSITED) {
        setMessage(message, "Not Supported");
        logError(std::string("CDVLogics::askPayout: Ask Payout is not supported from state ") + dvStateText(state));
        return 12;
    }
    if (amount == 0) {
        logDebug("CDVLogics::askPayout: Zero askPayout, Ok");
        g_bLastCmdWasAskPayoutWithOk = true;
        setMessage(message, "Done");
        return 0;
    }

    commandGoesOut('D');
    result = linkora.askPayOut(amount, message);
    if (result != 0) {
        logError(dvFormat("CDVLogics::askPayout: CLinkora::askPayOut failed, return code = %d, message = %s", result,
                          message));
        return result;
    }
    const int wait = waitForCallback(CALLBACK_TYPE_C, 5000);
    if (wait == 6) {
        setMessage(message, "Timed out");
        logError("CDVLogics::askPayout: askPayout timed out");
        return 6;
    }
    if (wait == 2) {
        setMessage(message, "Dravik has error(s)");
        return 2;
    }
    const int rest = g_nLastCmessageRest.load();
    if (rest == 0) {
        setMessage(message, "Done");
        g_bLastCmdWasAskPayoutWithOk = true;
        return 0;
    }
    // The device cannot pay it all: it reports its levels and its state.
    amountRest = rest;
    logDebug(dvFormat("CDVLogics::askPayout: Not possible (rest: %d). Waiting for b message ...", rest));
    int got = waitForCallback(CALLBACK_TYPE_B, 5000);
    logDebug(dvFormat("CDVLogics::askPayout: Waiting for b message resulted in:%d", got));
    logDebug(dvFormat("CDVLogics::askPayout: Not possible (rest: %d). Waiting for a message ...", rest));
    got = waitForCallback(CALLBACK_TYPE_A, 5000);
    logDebug(dvFormat("CDVLogics::askPayout: Waiting for a message resulted in:%d", got));
    setMessage(message, "Not possible (rest)");
    logError(dvFormat("CDVLogics::askPayout: Not possible (rest: %d)", rest));
    return 8;
}

short CDVLogics::dispense(int amount, char* transactId, int& amountRest, char* message)
{
    logCall(dvFormat("CDVLogics::dispense(%d, ", amount) + dvStr(transactId) + ", amountRest)");
    amountRest = 0;
    short result = busyAndErrorGuard("dispense", WAIT_IDLE_OR_CLOSED, 15000, message);
    if (result != 0)
        return result;
    if (amount < 0) {
        setMessage(message, "Amount to dispense too small");
        logError("CDVLogics::dispense: Amount to dispense is too small");
        return 4;
    }
    if (amount > kMaxAmount) {
        setMessage(message, "Amount to dispense too big");
        logError("CDVLogics::dispense: Amount to dispense is too big");
        return 4;
    }
    const DVSTATES state = g_DVState.load();
    if (state == DVS_LOGGED_OUT) {
        setMessage(message, "Closed");
        logError("CDVLogics::dispense: Dispense is not allowed from logged out state.");
        return 5;
    }
    if (m_verifyDVStatus.load() != VERIFIED_OK) {
        setMessage(message, "Not Supported");
        logError("CDVLogics::dispense: Dispense is not supported.");
        return 12;
    }
    if (state != DVS_PAYIN_DISABLED && state != DVS_CASH_DEPOSITED) {
        setMessage(message, "Not Supported");
        logError(std::string("CDVLogics::dispense: Dispense is not supported from state ") + dvStateText(state));
        return 12;
    }

    if (mustAskFirst("dispense", amount)) {
        logDebug("CDVLogics::dispense: Performing askPayout prior to dispense");
        result = askPayout(amount, amountRest, message);
        if (result != 0) {
            logError(dvFormat("CDVLogics::dispense: askPayout failed, return code = %d, message = %s", result,
                              message));
            return result;
        }
    }
    result = checkPayoutLimit("dispense", amount, 0, false, message);
    if (result != 0)
        return result;

    g_bLastCmdWasAskPayoutWithOk = false;
    markLowLevelWarningPending("dispense");
    commandGoesOut('C');
    isProcessingPayoutCommand = true;
    result = linkora.dispense(amount, transactId, message);
    isProcessingPayoutCommand = false;
    if (result != 0) {
        logError(dvFormat("CDVLogics::dispense: dispense failed, return code = %d, message = %s", result, message));
        return result;
    }
    RestoreAfterPayout restore(*this);
    int wait = waitForStatus(1, 5000);
    if (wait != 0) {
        setMessage(message, "Timed out");
        logError(dvFormat("CDVLogics::dispense: dispense start timed out, return code = %d", wait));
        return 6;
    }
    if (m_dvSettings.GetSettingInt(PAYOUTOKCHECK) == 1) {
        wait = waitForStatus(0, 3, statusOkTimeoutMs());
        if (wait != 0) {
            setMessage(message, "Timed out");
            logError(dvFormat("CDVLogics::dispense: dispense stop timed out, return code = %d", wait));
            return 6;
        }
    }
    g_DVState = DVS_PAYIN_DISABLED;
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::payout(int amountDispense, int amountDeposit, char* transactId, char* message)
{
    int rest = 0;
    return payout(amountDispense, amountDeposit, transactId, rest, message);
}

short CDVLogics::payout(int amountDispense, int amountDeposit, char* transactId, int& amountRest, char* message)
{
    logCall(dvFormat("CDVLogics::payout(%d, %d, ", amountDispense, amountDeposit) + dvStr(transactId) +
            ", amountRest)");
    amountRest = 0;
    short result = busyAndErrorGuard("payout", WAIT_IDLE_ONLY, 15000, message);
    if (result != 0)
        return result;
    if (amountDeposit > g_nAmountPayedIn.load()) {
        setMessage(message, "Amount to deposit too big");
        logError("CDVLogics::payout: Amount to deposit was bigger than amount payed in");
        return 10;
    }
    const struct {
        bool failed;
        const char* text;
        const char* line;
    } amountChecks[] = {
        {amountDispense < 0, "Amount to dispense too small", "CDVLogics::payout: Amount to dispense is too small"},
        {amountDispense > kMaxAmount, "Amount to dispense too big", "CDVLogics::payout: Amount to dispense is too big"},
        {amountDeposit < 0, "Amount to deposit too small", "CDVLogics::payout: Amount to deposit is too small"},
        {amountDeposit > kMaxAmount, "Amount to deposit too big", "CDVLogics::payout: Amount to deposit is too big"},
    };
    for (const auto& check : amountChecks) {
        if (check.failed) {
            setMessage(message, check.text);
            logError(check.line);
            return 4;
        }
    }

    // The decision comes before the state test.
    const bool ask = mustAskFirst("payout", amountDispense);
    const DVSTATES state = g_DVState.load();
    if (state == DVS_LOGGED_OUT) {
        setMessage(message, "Closed");
        logError("CDVLogics::payout: Payout is not allowed from logged out state.");
        return 5;
    }
    if (state != DVS_PAYIN_ENABLED) {
        setMessage(message, "Not Supported");
        logError(std::string("CDVLogics::payout: Payout is not supported from state ") + dvStateText(state));
        return 12;
    }
    if (ask) {
        logDebug("CDVLogics::payout: Performing askPayout prior to payout");
        result = askPayout(amountDispense, amountRest, message);
        if (result != 0) {
            logError(dvFormat("CDVLogics::payout: askPayout failed, return code = %d, message = %s", result,
                              message));
            return result;
        }
    }
    result = checkPayoutLimit("payout", amountDispense, amountDeposit, true, message);
    if (result != 0)
        return result;

    g_bLastCmdWasAskPayoutWithOk = false;
    markLowLevelWarningPending("payout");
    commandGoesOut('F');
    isProcessingPayoutCommand = true;
    result = linkora.doPayOut(amountDispense, amountDeposit, transactId, message);
    isProcessingPayoutCommand = false;
    if (result != 0) {
        logError(dvFormat("CDVLogics::payout: CLinkora::doPayOut failed, return code = %d", result));
        return result;
    }
    RestoreAfterPayout restore(*this);
    int wait = waitForStatus(1, 5000);
    if (wait != 0) {
        setMessage(message, "Timed out");
        logError(dvFormat("CDVLogics::payout: doPayout start timed out, return code = %d", wait));
        return 6;
    }
    if (m_dvSettings.GetSettingInt(PAYOUTOKCHECK) == 1) {
        wait = waitForStatus(0, statusOkTimeoutMs());
        if (wait != 0) {
            setMessage(message, "Timed out");
            logError(dvFormat("CDVLogics::payout: doPayout stop timed out, return code = %d", wait));
            return 6;
        }
    }
    setMessage(message, "Done");
    return 0;
}

short CDVLogics::amountDue(int amountDueValue, char* transactId, int& amountRest, char* message)
{
    logCall(dvFormat("CDVLogics::amountDue(%d, ", amountDueValue) + dvStr(transactId) + ", amountRest)");
    const int payedIn = g_nAmountPayedIn.load();
    const long long rest = static_cast<long long>(payedIn) - amountDueValue;
    if (rest < 0) {
        setMessage(message, "Paid in amount smaller than amount due");
        logError("CDVLogics::amountDue: Paid in amount smaller than amount due");
        return 4;
    }
    // Everything paid in is kept; the surplus is paid out.
    return payout(clampToInt(rest), payedIn, transactId, amountRest, message);
}
