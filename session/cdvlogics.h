// CDVLogics: the one session object, dvLogics.
//
// It owns the settings, the capability-query result and the paid-out list,
// and implements every operation behind the exported functions. Operations
// run on the till's thread: they send one command through the device link
// and wait, in 10 ms steps, for the device reports that the report handler
// (on the device thread) records in the shared state of dvstate.h.
//
// Every `message` argument is a buffer of at least DV_MESSAGE_SIZE bytes.
#ifndef DV_SESSION_CDVLOGICS_H
#define DV_SESSION_CDVLOGICS_H

#include "config/cdvsettings.h"
#include "dvlogics.h"
#include "session/dvstate.h"

#include <atomic>
#include <ctime>
#include <list>
#include <string>

struct PaidOutRecord {
    time_t TimeStamp; // seconds since the epoch
    int Amount;
};

class CDVLogics {
public:
    CDVLogics();
    ~CDVLogics();
    CDVLogics(const CDVLogics&) = delete;
    CDVLogics& operator=(const CDVLogics&) = delete;

    // --- waiting for device reports (time-outs in ms; result 0, 2 or 6) ---
    int waitForStatus(int nStatus, int nTimeOut);
    int waitForStatus(int nStatus1, int nStatus2, int nTimeOut);
    int waitForCallback(const std::string& strCallbackType, int nTimeOut);
    int waitForMode(int nMode, int nTimeOut, bool ignoreError);

    // --- event registration, init, settings, exit ---
    short registerBasicEvents(CStatusBackFunc status, CErrorBackFunc error, char* message);
    short registerEvents(CStatusBackFunc status, CErrorBackFunc error, CCashLevelBackFunc cashLevel,
                         char* message);
    short registerEvents2(CStatusBackFunc status, CErrorBackFunc error, CCashLevelBackFunc cashLevel,
                          CCashSessionBackFunc cashSession, char* message);
    short registerEvents3(CStatusBackFunc status, CErrorBackFunc error, CLevelWarningBackFunc levelWarning,
                          CCashSessionBackFunc cashSession, char* message);
    short registerEvents23(CStatusBackFunc status, CErrorBackFunc error, CCashLevelBackFunc cashLevel,
                           CLevelWarningBackFunc levelWarning, CCashSessionBackFunc cashSession,
                           char* message);
    short init(char* portSettings, char* initSettings, char* message);
    short initialize(char* portSettings, char* message);
    short changeSettings(char* initSettings, short durationType, char* message);
    short exit(char* message);
    void getIniFileSettings();

    // --- login, logout, open state, info ---
    short verifyDV(int* verified, char* message);
    short login(short cashRegId, short cashierId, char* message);
    short login(char* cashRegId, char* cashierId, char* message);
    short logout(char* message);
    short isOpen(int& open, char* message);
    short info(int& level, char* commands, char* master, char* info, char* message);

    // --- pay-in and deposit ---
    short enablePayin(char* message);
    short disablePayin(char* message);
    short deposit(char* transactId, char* message);

    // --- money out ---
    short askPayout(int amount, char* message);
    short askPayout(int amount, int& amountRest, char* message);
    short dispense(int amount, char* transactId, int& amountRest, char* message);
    short payout(int amountDispense, int amountDeposit, char* transactId, char* message);
    short payout(int amountDispense, int amountDeposit, char* transactId, int& amountRest, char* message);
    short amountDue(int amountDue, char* transactId, int& amountRest, char* message);
    void addToPaidOutList(int amount);
    void purgePaidOutList();
    int getSumInPurgePaidOutList();
    void restoreTempSettingsAfterPayout();

    // --- change, regret, reset ---
    short change(char* message);
    short regret(short regretType, char* message);
    short reset(char* message);

    bool isInitiated() const { return m_bInitiated.load(); }
    CDVSettings& settings() { return m_dvSettings; }

private:
    enum BusyWait { WAIT_IDLE_OR_CLOSED, WAIT_IDLE_ONLY };
    // The common guard of the money and pay-in operations: wait while the
    // device is working, refuse while it reports an error.
    short busyAndErrorGuard(const char* op, BusyWait wait, int timeOut, char* message);
    // Ask-first decision of dispense and payout (true: ask first).
    bool mustAskFirst(const char* op, int amount);
    // Payout-per-time limit; 0 or 11.
    short checkPayoutLimit(const char* op, int amountDispense, int amountDeposit, bool isPayout,
                           char* message);
    void markLowLevelWarningPending(const char* op);
    // After change or regret: the start wait (when cash was paid in) and the
    // stop wait (when the `check` setting is 1).
    short waitForCashOut(const char* op, int payedIn, SETTINGTYPES check, char* message);
    void copySettingsToGlobals(bool all);
    // StatusOkTimeout (seconds) in milliseconds, kept within an int.
    int statusOkTimeoutMs() const;
    void resetVerification();

    std::atomic<bool> m_bInitiated;
    CDVSettings m_dvSettings;
    std::list<PaidOutRecord> m_PaidOutRecords;
    std::atomic<short> m_verifyDVStatus;
    std::atomic<int> m_nDVLevel;
    char m_masterVersion[6];
    char m_supportedCommands[32];
};

extern CDVLogics dvLogics;

#endif
