#include "session/dvstate.h"

#include "support/dvinitorder.h"

const char* const DVSTATE_STRINGS[5] = {"Uninitiated", "Logged Out", "Payin Enabled", "Payin Disabled",
                                        "Cash Deposited"};

const char* dvStateText(int state)
{
    return state >= 0 && state < 5 ? DVSTATE_STRINGS[state] : "Unknown";
}

const std::string CALLBACK_TYPE_A DV_INIT_SHARED_STATE = "a";
const std::string CALLBACK_TYPE_B DV_INIT_SHARED_STATE = "b";
const std::string CALLBACK_TYPE_C DV_INIT_SHARED_STATE = "c";
const std::string CALLBACK_TYPE_X DV_INIT_SHARED_STATE = "x";
const std::string g_strDllName DV_INIT_SHARED_STATE = "libdvlogics.so";

std::atomic<DVSTATES> g_DVState{DVS_UNINITIATED};
std::atomic<bool> g_bDVOpened{false};
std::atomic<int> g_nLastCallbackStatus{-1};
std::atomic<int> g_nLastCallbackMode{-1};
DVSharedString g_strLastCallbackCmd DV_INIT_SHARED_STATE;
DVSharedString g_strPrevCallbackArg DV_INIT_SHARED_STATE;
std::atomic<int> g_nLastCmessageRest{0};
std::atomic<int> g_nAmountPayedIn{0};
DVSharedString g_masterVersion DV_INIT_SHARED_STATE;
DVSharedString g_supportedCommands DV_INIT_SHARED_STATE;
std::atomic<bool> g_bLastCmdWasAskPayoutWithOk{false};
std::atomic<int> g_nLastAskPayoutAmount{0};
std::atomic<char> g_cLastCmd{0};
std::atomic<int> g_nCurrentLowLevelWarningState{3};

std::atomic<int> g_nCurrencyDecimals{2};
std::atomic<int> g_nLegacySystem{0};
std::atomic<int> g_nAutoDisable{0};
std::atomic<int> g_nForwardCallbackChangeOnly{0};
std::atomic<int> g_nLoggEveryCallback{0};
std::atomic<int> g_nLoggSendEvents{0};
DVSharedString g_strLevelWarningFilter DV_INIT_SHARED_STATE;

std::atomic<int> g_nLastLoggedStatusEventAmount{-1};
std::atomic<int> g_nLastLoggedStatusEventStatus{-1};
std::atomic<int> g_nLastLoggedStatusEventMode{-1};
std::atomic<bool> g_bMessageSentSinceLastLoggedStatusEvent{true};

std::atomic<bool> isProcessingPayoutCommand{false};
std::atomic<int> g_nInsideCallbackFunctions{0};

std::atomic<CStatusBackFunc> g_fStatusCallback{nullptr};
std::atomic<CErrorBackFunc> g_fErrorCallback{nullptr};
std::atomic<CCashLevelBackFunc> g_fCashLevelCallback{nullptr};
std::atomic<CLevelWarningBackFunc> g_fLevelWarningCallback{nullptr};
std::atomic<CCashSessionBackFunc> g_fCashSessionCallback{nullptr};

void dvResetStateForTesting()
{
    g_DVState = DVS_UNINITIATED;
    g_bDVOpened = false;
    g_nLastCallbackStatus = -1;
    g_nLastCallbackMode = -1;
    g_strLastCallbackCmd.clear();
    g_strPrevCallbackArg.clear();
    g_nLastCmessageRest = 0;
    g_nAmountPayedIn = 0;
    g_masterVersion.clear();
    g_supportedCommands.clear();
    g_bLastCmdWasAskPayoutWithOk = false;
    g_nLastAskPayoutAmount = 0;
    g_cLastCmd = 0;
    g_nCurrentLowLevelWarningState = 3;
    g_nCurrencyDecimals = 2;
    g_nLegacySystem = 0;
    g_nAutoDisable = 0;
    g_nForwardCallbackChangeOnly = 0;
    g_nLoggEveryCallback = 0;
    g_nLoggSendEvents = 0;
    g_strLevelWarningFilter.clear();
    g_nLastLoggedStatusEventAmount = -1;
    g_nLastLoggedStatusEventStatus = -1;
    g_nLastLoggedStatusEventMode = -1;
    g_bMessageSentSinceLastLoggedStatusEvent = true;
    isProcessingPayoutCommand = false;
    g_nInsideCallbackFunctions = 0;
    g_fStatusCallback = nullptr;
    g_fErrorCallback = nullptr;
    g_fCashLevelCallback = nullptr;
    g_fLevelWarningCallback = nullptr;
    g_fCashSessionCallback = nullptr;
}
