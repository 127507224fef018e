/*
 * dvlogics.h - C interface of libdvlogics, the driver library for the
 * Dravik closed note and coin recycler.
 *
 * This header is all a till (point-of-sale application) needs. It is valid
 * C (C99 and later) and C++.
 *
 * ---------------------------------------------------------------------------
 * CONTRACT
 * ---------------------------------------------------------------------------
 *
 * Status codes. Every function returns a short status code (DV_STATUS_*) and
 * writes a NUL-terminated text into the caller's `message` buffer.
 *   0 DV_STATUS_OK                  done
 *   1 DV_STATUS_BUSY                the device answered "busy" (device side)
 *   2 DV_STATUS_ERROR               general failure: not initiated, device
 *                                   error, library could not be loaded
 *   3 DV_STATUS_WARNING             nothing done, not an error
 *   4 DV_STATUS_INPUT_PARAM_ERROR   an argument is null, empty or out of
 *                                   range (caller's fault)
 *   5 DV_STATUS_CLOSED              the device is closed (logged out)
 *   6 DV_STATUS_TIMEOUT             the device did not report in time
 *   7 DV_STATUS_SEND_FAILED         the communication library gave an
 *                                   unknown answer
 *   8 DV_STATUS_REST_REMAINS        ask-payout: the device cannot pay the
 *                                   whole amount, a rest remains
 *  10 DV_STATUS_DEPOSIT_TOO_BIG     payout: deposit larger than paid in
 *  11 DV_STATUS_LIMIT_EXCEEDED      payout-per-time limit exceeded
 *  12 DV_STATUS_NOT_SUPPORTED       not possible in this state or not
 *                                   supported by this device
 *
 * Message buffer. The library writes at most DV_MESSAGE_SIZE bytes
 * (terminating NUL included) into `message`; longer texts (for example long
 * translations from dvlang.ini) are cut. Give every function a buffer of at
 * least DV_MESSAGE_SIZE bytes. A null `message` is answered with 4 and
 * nothing is written. The library never allocates or frees caller memory.
 *
 * Threading. Call the exported functions from one thread at a time. The
 * event callbacks registered with the registerEvents... functions run on
 * the communication library's own thread, one at a time, in the order the
 * device sent its reports. Inside a callback the till may record the event
 * and may call exitDV, but must not call a function that waits for further
 * device reports (login, payout, ...): those reports are delivered on the
 * very thread that would be waiting. The text arguments of a callback are
 * valid only during the call; copy what you need.
 *
 * Device. initDV loads the communication library "liblinkora.so.1" with
 * dlopen (the usual library search path: LD_LIBRARY_PATH, the runpath of the
 * program, ldconfig's cache, /lib, /usr/lib), and if that fails
 * "./liblinkora.so.1" from the current directory. The device simulator that
 * ships with this library has that same name.
 *
 * Files and environment.
 *   dvlogics.ini  settings; searched in $DVCONFIG, then the current
 *                 directory, then /etc/dravik/ (sections Operation, Events,
 *                 Logging).
 *   dvlang.ini    translations of the message texts (section Lang, the
 *                 English text as key); same search order.
 *   DVLOGS        log directory; else LOGFILE (a directory); else
 *                 $HOME/temp; else ./temp. The library writes
 *                 dvapi_<Day>.log, dvlogic_<Day>.log and
 *                 dverror_<Month>.log there and keeps one week / one year.
 *
 * Library version: "Version: 2.4.2.5" (written to the logic log at initDV).
 */
#ifndef DVLOGICS_H
#define DVLOGICS_H

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__) || defined(__clang__)
#define DV_API __attribute__((visibility("default")))
#else
#define DV_API
#endif

/* ---- Status codes -------------------------------------------------------- */

#define DV_STATUS_OK 0                /* done */
#define DV_STATUS_BUSY 1              /* device answered busy */
#define DV_STATUS_ERROR 2             /* general failure */
#define DV_STATUS_WARNING 3           /* nothing done, not an error */
#define DV_STATUS_INPUT_PARAM_ERROR 4 /* bad argument */
#define DV_STATUS_CLOSED 5            /* device closed */
#define DV_STATUS_TIMEOUT 6           /* device did not report in time */
#define DV_STATUS_SEND_FAILED 7       /* unknown answer from the link */
#define DV_STATUS_REST_REMAINS 8      /* ask-payout: a rest remains */
#define DV_STATUS_DEPOSIT_TOO_BIG 10  /* deposit larger than paid in */
#define DV_STATUS_LIMIT_EXCEEDED 11   /* payout-per-time limit exceeded */
#define DV_STATUS_NOT_SUPPORTED 12    /* not in this state / by this device */

/* ---- Buffer sizes ------------------------------------------------------- */

/* The most the library ever writes into a `message` buffer, NUL included. */
#define DV_MESSAGE_SIZE 256
/* infoDV output buffers: the most written into each, NUL included. */
#define DV_INFO_COMMANDS_SIZE 32
#define DV_INFO_MASTER_SIZE 6
#define DV_INFO_INFO_SIZE 7

/* Capacities of the texts handed to the event callbacks, NUL included. */
#define DV_ERROR_TEXT_SIZE 128
#define DV_LEVEL_EXTINFO_SIZE 64
#define DV_LEVEL_TYPE_SIZE 20
#define DV_LEVEL_DENOMINATION_SIZE 20
#define DV_LEVEL_WARNING_SIZE 64
#define DV_SESSION_EXTINFO_SIZE 20

/* ---- Event callbacks ----------------------------------------------------
 * All callbacks run on the communication library's thread (see Threading
 * above). They must return promptly and must not call a function that waits
 * for device reports. Text arguments are valid only during the call.
 */

/* Status of the device after a report.
 *   amount  amount paid in during the current transaction, in the
 *           currency's smallest unit
 *   status  0 pay-in enabled and idle, 1 working, 2 error, 3 pay-in disabled
 *   mode    1 the device is open (logged in), 0 closed */
typedef void (*CStatusBackFunc)(int amount, short status, short mode);

/* The device entered an error state.
 *   errorCode  the device's error code
 *   errorText  text for the code (key "Error Code <n>" in dvlang.ini),
 *              at most DV_ERROR_TEXT_SIZE bytes
 *   extInfo    "ErrorInfo Not set" */
typedef void (*CErrorBackFunc)(int errorCode, char* errorText, char* extInfo);

/* A denomination's cash level is low, empty or high.
 *   denomination  value of the note or coin in the smallest unit
 *   numberOf      notes or coins left (0 empty, 999 high)
 *   extInfo       the device's level text, at most DV_LEVEL_EXTINFO_SIZE */
typedef void (*CCashLevelBackFunc)(long denomination, short numberOf, char* extInfo);

/* The same level report, in more detail.
 *   warningType         1 empty, 2 low, 3 high
 *   denomination        value in the smallest unit
 *   numberOf            notes or coins left (0 empty, 999 high)
 *   typeString          "Empty", "Low" or "High" (translated)
 *   denominationString  the value as the device wrote it ("10", "0,50")
 *   warningMessage      for example "10 Low (5 Left)"
 *   extInfo             the device's level text */
typedef void (*CLevelWarningBackFunc)(short warningType, long denomination, short numberOf,
                                      char* typeString, char* denominationString,
                                      char* warningMessage, char* extInfo);

/* A cash session record.
 *   infoType  0 "BO/WD", 1 "BO/RF", 2 "CR/WD", 3 "CR/RF", 4 device record
 *   amount    the record's amount (0 for type 4)
 *   extInfo   the record text, at most DV_SESSION_EXTINFO_SIZE bytes */
typedef void (*CCashSessionBackFunc)(short infoType, int amount, char* extInfo);

/* ---- Set-up and shutdown ------------------------------------------------ */

/* Registers the status, error and cash-level callbacks. May be called before
 * or after initDV; replaces earlier registrations.
 * Returns 0 "Done"; 4 when message is null or any callback is null
 * ("empty callbacks"). */
DV_API short registerEventsDV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                              CCashLevelBackFunc dvCashLevelCall, char* message);

/* As registerEventsDV, plus the cash-session callback. All four required.
 * Returns 0 or 4. */
DV_API short registerEvents2DV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                               CCashLevelBackFunc dvCashLevelCall,
                               CCashSessionBackFunc dvCashSessionCall, char* message);

/* Status, error, level-warning and cash-session callbacks. All four required.
 * Returns 0 or 4. */
DV_API short registerEvents3DV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                               CLevelWarningBackFunc dvLevelWarningCall,
                               CCashSessionBackFunc dvCashSessionCall, char* message);

/* All five callbacks. All required. Returns 0 or 4. */
DV_API short registerEvents23DV(CStatusBackFunc dvStatusCall, CErrorBackFunc dvErrorCall,
                                CCashLevelBackFunc dvCashLevelCall,
                                CLevelWarningBackFunc dvLevelWarningCall,
                                CCashSessionBackFunc dvCashSessionCall, char* message);

/* Opens the session: reads dvlogics.ini, applies initSettings permanently,
 * loads liblinkora.so.1 and opens the port.
 *   portSettings  in, required: "Type:RS232;Name:<port>" ("USB" and "CAN"
 *                 are not implemented)
 *   initSettings  in, may be null or empty: tagged settings text, e.g.
 *                 "PayOutOkCheck:1;AutoDisable:1"
 *   message       out
 * Requires the status and error callbacks and at least one of the
 * cash-level and level-warning callbacks to be registered.
 * Returns 0 "Done"; 2 ("No callback defined", "Invalid portname",
 * "Port type not implemented", "Failed to get dll handle", ...); 3 "Already
 * initiated"; 4 ("portSettings is empty", "portSettings invalid"); or the
 * communication library's own non-zero result. */
DV_API short initDV(char* portSettings, char* initSettings, char* message);

/* Changes settings.
 *   initSettings  in, required, tagged settings text
 *   durationType  in: 0 permanent, 1 only until the next payout has ended
 * Works before and after initDV. Returns 0 "Done"; 4 ("unknown
 * durationType", "initSettings is empty"). */
DV_API short changeSettingsDV(char* initSettings, short durationType, char* message);

/* Closes the port and forgets the callbacks. The communication library stays
 * loaded when a device report is being handled at that moment (so exitDV may
 * be called from inside an event callback).
 * Returns 0 "Done"; 2 "Not initiated"; 4 (message null). */
DV_API short exitDV(char* message);

/* ---- Session ------------------------------------------------------------- */

/* Opens the device for a cash register and a cashier; each number is sent as
 * its absolute value modulo 100. Waits up to 5 s for the device to open.
 * Returns 0; 1 "Dravik is busy"; 2 ("Not initiated", "Dravik has
 * error(s)"); 5; 6 "Timed out"; 7. */
DV_API short loginDV(short cashRegId, short cashierId, char* message);

/* As loginDV with texts: the number is the value of the last two characters
 * (or the last one); null or empty texts count as 1. */
DV_API short loginStrDV(char* cashRegId, char* cashierId, char* message);

/* Closes the device. A busy answer is retried once after the device became
 * idle. Returns 0; 1; 2; 5; 6; 7. */
DV_API short logoutDV(char* message);

/* Whether the device reports itself open.
 *   open  out, required: 1 open, 0 not (0 also when not initiated)
 * Returns 0; 2 "Not initiated"; 4 "open parameter is null". */
DV_API short isOpenDV(int* open, char* message);

/* What the device supports.
 *   level     out, required: 0 basic device, 1 device answered the
 *             capability query (0 also when not initiated)
 *   commands  out, required, >= DV_INFO_COMMANDS_SIZE bytes: supported
 *             commands ("ABCDEF" at level 0)
 *   master    out, required, >= DV_INFO_MASTER_SIZE bytes: master version
 *   info      out, required, >= DV_INFO_INFO_SIZE bytes: "Dravik" at level 1
 * Returns 0; 2 "Not initiated"; 4 ("level parameter is null", ...);
 * 5 "Closed" when logged out. */
DV_API short infoDV(int* level, char* commands, char* master, char* info, char* message);

/* ---- Pay-in -------------------------------------------------------------- */

/* Opens the device for cash paid in. Needs a device that answered the
 * capability query. Returns 0; 1; 2; 5; 7; 12 "Not Supported". */
DV_API short enablePayinDV(char* message);

/* Closes the device for cash paid in and waits up to 5 s for it to confirm.
 * Returns 0; 1; 2; 5; 6; 7; 12. */
DV_API short disablePayinDV(char* message);

/* Keeps everything paid in as a deposit (pay-in must be disabled first).
 *   transactId  in, may be null or empty: the till's transaction id
 * Returns 0; 1; 2; 5; 7; 12. */
DV_API short depositDV(char* transactId, char* message);

/* ---- Pay-out ------------------------------------------------------------- */

/* Pays an amount out (pay-in disabled or cash deposited).
 *   amountDispense  in, 0..99999999
 *   transactId      in, may be null or empty
 *   amountRest      out: what an ask-payout found the device cannot pay
 *                   (must not be null)
 * Returns 0; 1; 2; 4 ("Amount to dispense too small/big"); 5; 6; 7; 8;
 * 11 "Payout larger than allowed limit per time unit"; 12. */
DV_API short dispenseDV(int amountDispense, char* transactId, int* amountRest, char* message);

/* Asks whether an amount can be paid out. Returns 0; 1; 2; 5; 6; 7;
 * 8 "Not possible (rest)"; 12. */
DV_API short askPayoutDV(int amountAskPay, char* message);

/* As askPayoutDV, reporting the rest that cannot be paid.
 *   amountRest  out, required */
DV_API short askPayout2DV(int amountAskPay, int* amountRest, char* message);

/* Ends a sale while pay-in is enabled: keeps amountDeposit of what was paid
 * in and pays amountDispense out (the change).
 *   amountDispense, amountDeposit  in, 0..99999999
 *   transactId                     in, may be null or empty
 * Returns 0; 1; 2; 4; 5; 6; 7; 8; 10 "Amount to deposit too big"; 11; 12. */
DV_API short payoutDV(int amountDispense, int amountDeposit, char* transactId, char* message);

/* As payoutDV, reporting the rest of the ask-payout.
 *   amountRest  out, required */
DV_API short payout2DV(int amountDispense, int amountDeposit, char* transactId,
                       int* amountRest, char* message);

/* Keeps everything paid in and pays out what exceeds amountDue.
 *   amountDue   in
 *   amountRest  out, required
 * Returns as payout2DV; 4 "Paid in amount smaller than amount due". */
DV_API short amountDueDV(int amountDue, char* transactId, int* amountRest, char* message);

/* ---- Change, regret, reset ---------------------------------------------- */

/* Pays out the change for what was paid in. Returns 0; 1; 2; 5; 6; 7; 12. */
DV_API short changeDV(char* message);

/* Gives money back.
 *   regretType  in: 0 the last note, 1 everything paid in
 * Returns 0; 1; 2; 4 "Invalid regretType"; 5; 6; 7; 12. */
DV_API short regretDV(short regretType, char* message);

/* Resets the device (clears a device error). Allowed in every state.
 * Returns 0; 1; 2 "Not initiated"; 5; 7. */
DV_API short resetDV(char* message);

#ifdef __cplusplus
}
#endif

#endif /* DVLOGICS_H */
