// The session's process-wide state, shared by the till's thread (exported
// functions, session operations and their wait loops) and the communication
// library's thread (device reports and the till's event callbacks).
//
// Every shared value is an atomic or a DVSharedString, so the wait loops may
// poll them every 10 ms while reports arrive.
#ifndef DV_SESSION_DVSTATE_H
#define DV_SESSION_DVSTATE_H

#include "dvlogics.h"
#include "session/dvsharedstring.h"

#include <atomic>
#include <string>

enum DVSTATES {
    DVS_UNINITIATED = 0,
    DVS_LOGGED_OUT = 1,
    DVS_PAYIN_ENABLED = 2,
    DVS_PAYIN_DISABLED = 3,
    DVS_CASH_DEPOSITED = 4
};

// "Uninitiated", "Logged Out", "Payin Enabled", "Payin Disabled", "Cash Deposited"
extern const char* const DVSTATE_STRINGS[5];
// The state's text; "Unknown" for a value outside the table.
const char* dvStateText(int state);

enum VERIFIED_STATUS { VERIFIED_NOT_TESTED = 0, VERIFIED_NO_RESPONSE = 1, VERIFIED_OK = 3 };

enum LOW_LEVEL_WARNING_STATES {
    LOW_LEVEL_WARNING_FALSE = 0,
    LOW_LEVEL_WARNING_FALSE_PENDING = 1,
    LOW_LEVEL_WARNING_TRUE_PENDING = 2,
    LOW_LEVEL_WARNING_TRUE = 3
};

// Device report types.
extern const std::string CALLBACK_TYPE_A;
extern const std::string CALLBACK_TYPE_B;
extern const std::string CALLBACK_TYPE_C;
extern const std::string CALLBACK_TYPE_X;

extern const std::string g_strDllName; // "libdvlogics.so"

// Session state (reports, operations -> guards of every operation).
extern std::atomic<DVSTATES> g_DVState;
// The device reports itself open.
extern std::atomic<bool> g_bDVOpened;
// Status digit of the last report: 0 pay-in enabled and idle, 1 working,
// 2 error, 3 pay-in disabled; -1 before any report.
extern std::atomic<int> g_nLastCallbackStatus;
// Mode digit of the last report (1 = open); -1 when none is pending.
extern std::atomic<int> g_nLastCallbackMode;
// Type letter of the last report ("" when none is pending).
extern DVSharedString g_strLastCallbackCmd;
// The last report text, for duplicate suppression.
extern DVSharedString g_strPrevCallbackArg;
// Amount of the last "c" report: the rest the device could not pay.
extern std::atomic<int> g_nLastCmessageRest;
// Amount paid in during the current transaction.
extern std::atomic<int> g_nAmountPayedIn;
// The capability query's answer fields.
extern DVSharedString g_masterVersion;
extern DVSharedString g_supportedCommands;
extern std::atomic<bool> g_bLastCmdWasAskPayoutWithOk;
extern std::atomic<int> g_nLastAskPayoutAmount;
// Letter of the last command sent: login 'A', logout 'B', dispense 'C',
// ask-payout 'D', deposit/payout/regret-all 'F', disable 'G', enable 'H',
// change '1', regret last note '2', reset '3', capability query 'X'.
extern std::atomic<char> g_cLastCmd;
extern std::atomic<int> g_nCurrentLowLevelWarningState;

// Copies of settings read on the device thread.
extern std::atomic<int> g_nCurrencyDecimals;
extern std::atomic<int> g_nLegacySystem;
extern std::atomic<int> g_nAutoDisable;
extern std::atomic<int> g_nForwardCallbackChangeOnly;
extern std::atomic<int> g_nLoggEveryCallback;
extern std::atomic<int> g_nLoggSendEvents;
extern DVSharedString g_strLevelWarningFilter;

// The last status event written to the log (-1: none).
extern std::atomic<int> g_nLastLoggedStatusEventAmount;
extern std::atomic<int> g_nLastLoggedStatusEventStatus;
extern std::atomic<int> g_nLastLoggedStatusEventMode;
extern std::atomic<bool> g_bMessageSentSinceLastLoggedStatusEvent;

// True while a money-moving command is being exchanged with the device.
extern std::atomic<bool> isProcessingPayoutCommand;
// Number of the till's event callbacks running now.
extern std::atomic<int> g_nInsideCallbackFunctions;

// The till's event callbacks (null: not registered).
extern std::atomic<CStatusBackFunc> g_fStatusCallback;
extern std::atomic<CErrorBackFunc> g_fErrorCallback;
extern std::atomic<CCashLevelBackFunc> g_fCashLevelCallback;
extern std::atomic<CLevelWarningBackFunc> g_fLevelWarningCallback;
extern std::atomic<CCashSessionBackFunc> g_fCashSessionCallback;

// Puts every value above back to its load-time value, so that tests feeding
// reports in one process do not depend on each other's order.
void dvResetStateForTesting();

#endif
