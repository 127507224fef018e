/*
 * dvsim.h - control interface of the Dravik device simulator.
 *
 * The simulator is a substitute liblinkora.so.1: it exports the three entry
 * points of the device communication library (dv_initiate2, dv_002,
 * dv_dini) and models a note and coin recycler behind them. This header
 * declares the extra dvsim_ functions with which tests, tools and test
 * benches steer that model: insert cash, change the inventory, inject
 * faults, corrupt answers and reports, read back what was exchanged.
 *
 * ------------------------------------------------------------------------
 * Linking
 *   A test links liblinkora.so.1 directly (the build puts it in
 *   <build>/sim/). libdvlogics' dlopen("liblinkora.so.1") then finds the
 *   copy that is already loaded, so the test and the library talk to the
 *   same device. A till in another process is steered through the control
 *   socket instead (DVSIM_SOCKET, the dvsim program).
 *
 * Threads
 *   Every function here may be called from any thread at any time,
 *   including from inside the report callback, except dvsim_wait_idle,
 *   which refuses (DVSIM_E_STATE) on the simulator's own thread. The model
 *   is protected by one internal lock that is never held while the report
 *   callback runs.
 *
 *   Reports are delivered on the simulator's thread, one at a time, in the
 *   order in which the device produced them. The thread exists between
 *   dv_initiate2 and dv_dini (the "link"). While no link is open the device
 *   still works (a jam or an insert changes its state) but its reports are
 *   discarded, and timed work completes at once.
 *
 * Ownership
 *   Every pointer argument belongs to the caller. Input texts are copied
 *   before the function returns; nothing keeps a caller's pointer except
 *   dv_initiate2, which keeps the callback function pointer until dv_dini.
 *   Output buffers are filled with at most size-1 bytes plus a NUL; a
 *   function that can cut a text returns the full length so that the
 *   caller can detect the cut (as snprintf does).
 *
 * Return codes
 *   Functions returning int give DVSIM_OK (0) or a negative dvsim_result;
 *   the *_count and *_at functions return a count or length instead, or a
 *   negative dvsim_result. No function throws or aborts on bad input.
 *
 * Amounts
 *   All amounts and denomination values are integers in the currency's
 *   smallest unit (cents for EUR, two decimals), as on the wire.
 *
 * Environment
 *   DVSIM_CONFIG  path of a scenario file, read at the first use of the
 *                 simulator and again by dv_initiate2 when the variable
 *                 names another file. A malformed file makes dv_initiate2
 *                 refuse (non-zero result, "scenario line N: ..." answer).
 *   DVSIM_SOCKET  path of a UNIX stream socket; dv_initiate2 starts
 *                 listening on it for one-line control commands and
 *                 dv_dini stops. See sim/README.md for the command set.
 *
 * Time
 *   Delays come from the timing profile (fast for tests, realistic for
 *   demonstrations). The model's clock is the monotonic clock unless a test
 *   switches it to manual (dvsim_clock_manual), in which case time moves
 *   only through dvsim_clock_advance and no delay is ever slept.
 * ------------------------------------------------------------------------
 */
#ifndef DVSIM_H
#define DVSIM_H

#include <stddef.h>
#ifndef __cplusplus
#include <stdbool.h>
#endif

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define DVSIM_API __attribute__((visibility("default")))
#else
#define DVSIM_API
#endif

/* ---------------------------------------------------------------------- */
/* The communication library's entry points                                */

/**
 * Opens the link: starts the simulator thread, which from now on delivers
 * the device's reports to callback, one at a time, in order. The callback's
 * return value is ignored. portName may be null or any text (there is no
 * port). ans (64 bytes, may be null) receives a text; *result (may be
 * null) receives 0 on success, 1 when the scenario named by DVSIM_CONFIG
 * is malformed or unreadable (ans: "scenario line N: ..."), 2 when callback
 * is null, 3 when the control socket named by DVSIM_SOCKET cannot be
 * opened, 9 on an internal failure. A link that is already open is closed
 * first. The device's state survives the link: it is not reset here.
 */
DVSIM_API void dv_initiate2(bool (*callback)(unsigned char *), char *portName, char *ans,
                            short *result);

/**
 * Sends one command (NUL-terminated; fields separated by the byte 0x1C)
 * and writes the device's immediate answer into ans, at most 64 bytes with
 * the NUL: the command letter, a reason character, the answer code ('0'
 * done, '1' busy, '2' error, '3' session closed), a blank and a short
 * English text. Without an open link the answer is "?L2 link not open".
 * Nothing is written when ans is null. See sim/README.md.
 */
DVSIM_API void dv_002(char *req, char *ans);

/**
 * Closes the link: reports not yet delivered are discarded, work in
 * progress completes at once, the thread is stopped and joined. Called from
 * inside the report callback it does not wait for itself: the thread ends
 * when the callback returns. Harmless without a link.
 */
DVSIM_API void dv_dini(void);

/* ---------------------------------------------------------------------- */
/* Results                                                                 */

/** Results of the dvsim_ functions. */
typedef enum dvsim_result {
    DVSIM_OK = 0,
    DVSIM_E_ARG = -1,      /**< a bad argument: null pointer, out of range, unknown name */
    DVSIM_E_STATE = -2,    /**< not possible in the device's present state */
    DVSIM_E_BUSY = -3,     /**< the device is paying out or otherwise working */
    DVSIM_E_NOTFOUND = -4, /**< no such denomination, or no such log entry */
    DVSIM_E_TIMEOUT = -5,  /**< the wait ran out */
    DVSIM_E_IO = -6,       /**< a file or the socket could not be used */
    DVSIM_E_PARSE = -7,    /**< a scenario text is malformed */
    DVSIM_E_NOMEM = -8,    /**< out of memory */
    DVSIM_E_INTERNAL = -9  /**< an unexpected failure inside the simulator */
} dvsim_result;

/** Short English text of a result code (static storage, never null). */
DVSIM_API const char *dvsim_result_text(int result);

/* ---------------------------------------------------------------------- */
/* Status                                                                  */

/** Summary of the device, filled by dvsim_get_status. */
typedef struct dvsim_status {
    int link_open;           /**< 1 between dv_initiate2 and dv_dini */
    int session_open;        /**< the mode digit of the reports: 1 logged in */
    int status;              /**< status digit: 0 pay-in enabled and idle, 1 working,
                                  2 error, 3 pay-in disabled (also when logged out) */
    long paid_in;            /**< amount paid in during the current transaction */
    int fault_code;          /**< error code of the active fault, 0 when none */
    int legacy;              /**< 1 when the device ignores the capability query */
    unsigned pending_reports;/**< reports produced but not yet delivered */
} dvsim_status;

/** Fills *out. Returns DVSIM_OK, or DVSIM_E_ARG when out is null. */
DVSIM_API int dvsim_get_status(dvsim_status *out);

/* ---------------------------------------------------------------------- */
/* Cash                                                                    */

/**
 * A customer inserts one note or coin of the given value.
 * The device counts it (status 1) and then credits it (status 0); see
 * sim/README.md for the reports. Notes inserted while the device is still
 * counting are queued and counted one after the other.
 * Returns DVSIM_OK; DVSIM_E_ARG for a value <= 0; DVSIM_E_NOTFOUND when the
 * device has no such denomination; DVSIM_E_STATE when the session is
 * closed, pay-in is disabled or a fault is active; DVSIM_E_BUSY while the
 * device pays out.
 */
DVSIM_API int dvsim_insert(long value);

/** Largest number of denominations the device holds. */
#define DVSIM_MAX_DENOMINATIONS 16
/** Size of the currency field, NUL included. */
#define DVSIM_CURRENCY_SIZE 8

/**
 * One denomination of the inventory. A level is empty at count 0, low when
 * 0 < count <= low, high when high > 0 and count >= high; the device sends
 * a cash-level report whenever a denomination enters one of these levels.
 */
typedef struct dvsim_denomination {
    long value; /**< in the smallest currency unit, > 0 */
    long count; /**< notes or coins held, 0..99999 */
    long low;   /**< low threshold, 0..99 (0: the level is never low) */
    long high;  /**< high threshold, 0 (never high) or > low */
} dvsim_denomination;

/** The device's inventory, a plain caller-owned value. */
typedef struct dvsim_inventory {
    char currency[DVSIM_CURRENCY_SIZE]; /**< 1 to 4 letters, e.g. "EUR" */
    int decimals;                       /**< decimals of the currency, 0..4 */
    size_t count;                       /**< entries used in denominations[] */
    dvsim_denomination denominations[DVSIM_MAX_DENOMINATIONS];
} dvsim_inventory;

/** Copies the live inventory into *out, highest value first.
 *  Returns DVSIM_OK or DVSIM_E_ARG (null). */
DVSIM_API int dvsim_get_inventory(dvsim_inventory *out);

/**
 * Replaces the live inventory (the order of the entries does not matter).
 * Values must be whole currency units or less than one unit (the cash-level
 * reports can only write those two forms), distinct, and at most
 * DVSIM_MAX_DENOMINATIONS. No report is sent; the levels are taken as they
 * are now. Returns DVSIM_OK, or DVSIM_E_ARG with nothing changed.
 */
DVSIM_API int dvsim_set_inventory(const dvsim_inventory *in);

/** Sets the count of one denomination (silently, like a service person).
 *  Returns DVSIM_OK, DVSIM_E_ARG (count out of 0..99999) or DVSIM_E_NOTFOUND. */
DVSIM_API int dvsim_set_count(long value, long count);

/** Reads the count of one denomination into *count.
 *  Returns DVSIM_OK, DVSIM_E_ARG (null) or DVSIM_E_NOTFOUND. */
DVSIM_API int dvsim_get_count(long value, long *count);

/** Sets the low and high thresholds of one denomination (see
 *  dvsim_denomination). Returns DVSIM_OK, DVSIM_E_ARG or DVSIM_E_NOTFOUND. */
DVSIM_API int dvsim_set_thresholds(long value, long low, long high);

/** Kinds of cash-session records (the numbers are the library's info types). */
enum {
    DVSIM_SESSION_BO_WD = 0, /**< back-office withdrawal, "BO/WD" */
    DVSIM_SESSION_BO_RF = 1, /**< back-office refill, "BO/RF" */
    DVSIM_SESSION_CR_WD = 2, /**< cash-register withdrawal, "CR/WD" */
    DVSIM_SESSION_CR_RF = 3, /**< cash-register refill, "CR/RF" */
    DVSIM_SESSION_INFO = 4   /**< device information record, "Dravik..." */
};

/** The device reports a cash-session record ("b" report, tail such as
 *  "CR/RF00012000"). amount 0..99999999 (ignored for DVSIM_SESSION_INFO).
 *  Returns DVSIM_OK or DVSIM_E_ARG. */
DVSIM_API int dvsim_cash_session(int kind, long amount);

/* ---------------------------------------------------------------------- */
/* Faults                                                                  */

/**
 * The device enters an error now: status 2, work in progress is abandoned,
 * and a "b" report carries the error tail (text padded to 14 characters,
 * then the 2-digit code). Every command but reset ("e" FS "3") is then
 * answered with code '2' until a reset or dvsim_clear_fault.
 * code 1..99; text up to 14 characters, or null for the standard text of
 * the code. Returns DVSIM_OK or DVSIM_E_ARG.
 */
DVSIM_API int dvsim_fault(int code, const char *text);

/** A note jam: dvsim_fault(7, "NOTE JAM"). */
DVSIM_API int dvsim_jam(void);

/** Points at which an armed fault fires. */
enum {
    DVSIM_AT_INSERT = 1,  /**< the nth note or coin jams while being counted */
    DVSIM_AT_PAYOUT = 2,  /**< the nth cash-out (payout, deposit, dispense, change,
                               regret) fails at its end, nothing paid */
    DVSIM_AT_COMMAND = 3  /**< the nth command received is answered '2' and the
                               device enters the fault */
};

/** Arms a fault that fires at the nth event of the trigger, counted from
 *  now (nth >= 1). At most 8 armed faults. Returns DVSIM_OK or DVSIM_E_ARG. */
DVSIM_API int dvsim_arm_fault(int trigger, unsigned nth, int code, const char *text);

/** Clears an active fault as a service person would; the device reports its
 *  state again ("a" report). Returns DVSIM_OK or DVSIM_E_STATE (no fault). */
DVSIM_API int dvsim_clear_fault(void);

/* ---------------------------------------------------------------------- */
/* Corrupting answers and reports                                          */

/** Forced answers. */
enum {
    DVSIM_ANSWER_BUSY = 1,    /**< code '1' */
    DVSIM_ANSWER_ERROR = 2,   /**< code '2' */
    DVSIM_ANSWER_CLOSED = 3,  /**< code '3' */
    DVSIM_ANSWER_GARBAGE = 4, /**< a code character outside '0'..'3' */
    DVSIM_ANSWER_EMPTY = 5,   /**< an empty answer text */
    DVSIM_ANSWER_NORMAL = 0   /**< cancel a pending forced answer */
};

/** The next count commands get the forced answer and are not carried out
 *  (they still appear in the command log). Returns DVSIM_OK or DVSIM_E_ARG. */
DVSIM_API int dvsim_force_answer(int kind, unsigned count);

/** The next count reports are lost on the way. Returns DVSIM_OK. */
DVSIM_API int dvsim_drop_reports(unsigned count);

/** The next report, and everything behind it, arrives ms later (at most
 *  600000). Returns DVSIM_OK or DVSIM_E_ARG. */
DVSIM_API int dvsim_delay_next_report(unsigned ms);

/** The next report is corrupted on the way so that it no longer parses
 *  (a digit of its amount, status or mode field becomes a sign; an "x"
 *  report is cut short). Returns DVSIM_OK. */
DVSIM_API int dvsim_garble_next_report(void);

/** Queues a raw report text (1..255 bytes, no NUL inside) for delivery on
 *  the simulator thread after the reports already queued. The model is not
 *  touched. Returns DVSIM_OK, DVSIM_E_ARG, or DVSIM_E_STATE without a link. */
DVSIM_API int dvsim_inject_report(const char *text);

/**
 * Waits until the device has no timed work left and every report has been
 * delivered (the callback returned). Returns DVSIM_OK; DVSIM_E_TIMEOUT after
 * timeout_ms (negative: wait without limit); DVSIM_E_STATE when called on
 * the simulator thread or when the link closes during the wait. With a
 * manual clock, timed work only progresses through dvsim_clock_advance.
 */
DVSIM_API int dvsim_wait_idle(int timeout_ms);

/* ---------------------------------------------------------------------- */
/* Logs of the conversation                                                */

/** Number of commands received by dv_002 and kept (the last 10000). */
DVSIM_API long dvsim_command_count(void);
/** Copies command index (0 = oldest kept) into buf, raw bytes (fields are
 *  separated by the byte 0x1C). Returns the full length of the command,
 *  DVSIM_E_NOTFOUND for a bad index, DVSIM_E_ARG when buf is null and
 *  size is not 0. */
DVSIM_API long dvsim_command_at(size_t index, char *buf, size_t size);
/** Number of reports delivered to the callback and kept (the last 10000);
 *  dropped reports are not counted, garbled ones are kept as delivered. */
DVSIM_API long dvsim_report_count(void);
/** Copies report index like dvsim_command_at. */
DVSIM_API long dvsim_report_at(size_t index, char *buf, size_t size);
/** Empties both logs. Returns DVSIM_OK. */
DVSIM_API int dvsim_clear_logs(void);

/* ---------------------------------------------------------------------- */
/* Behaviour, time and configuration                                       */

/** Timing profiles. */
enum { DVSIM_PROFILE_FAST = 0, DVSIM_PROFILE_REALISTIC = 1 };

/** Individual delays, in milliseconds. */
enum {
    DVSIM_TIMING_ANSWER_LATENCY = 0, /**< dv_002 takes this long to answer */
    DVSIM_TIMING_REPORT_LATENCY = 1, /**< from the answer to the first report */
    DVSIM_TIMING_REPORT_GAP = 2,     /**< at least this between two reports of the
                                          device (not raw injected ones), so that a
                                          poller sees each report before the next */
    DVSIM_TIMING_COUNT = 3,          /**< counting one inserted note or coin */
    DVSIM_TIMING_WORKING_MIN = 4,    /**< shortest working phase (status 1) of a cash-out */
    DVSIM_TIMING_PAYOUT_ITEM = 5,    /**< per note or coin paid out */
    DVSIM_TIMING_JITTER = 6          /**< up to this much is added at random to
                                          each phase (seeded random source) */
};

/** Selects a profile (all delays). Returns DVSIM_OK or DVSIM_E_ARG. */
DVSIM_API int dvsim_set_profile(int profile);
/** Sets one delay, 0..600000 ms. Returns DVSIM_OK or DVSIM_E_ARG. */
DVSIM_API int dvsim_set_timing(int which, unsigned ms);
/** Reads one delay. Returns DVSIM_OK or DVSIM_E_ARG. */
DVSIM_API int dvsim_get_timing(int which, unsigned *ms);

/** Legacy device: the capability query "x" is answered '0' and never
 *  reported. Returns DVSIM_OK. */
DVSIM_API int dvsim_set_legacy(int on);

/** Reseeds the random source used for jitter and garbling. Returns DVSIM_OK. */
DVSIM_API int dvsim_seed(unsigned long seed);

/** Switches the model's clock to manual (on != 0; time stands still at its
 *  present value) or back to the monotonic clock. Returns DVSIM_OK. */
DVSIM_API int dvsim_clock_manual(int on);
/** Moves a manual clock forward. Returns DVSIM_OK, or DVSIM_E_STATE when the
 *  clock is not manual. */
DVSIM_API int dvsim_clock_advance(unsigned ms);
/** The model's present time in milliseconds (arbitrary origin). */
DVSIM_API long long dvsim_clock_now(void);

/**
 * Puts the device back into its configured start state: the defaults, or
 * the last scenario loaded. Session closed, no fault, no pending work or
 * reports, forced answers and report corruptions cancelled, the inventory
 * and profile as configured, the clock back on the monotonic clock. The
 * logs and the link are kept. Loading a scenario does the same.
 * Returns DVSIM_OK.
 */
DVSIM_API int dvsim_reset_model(void);

/**
 * Reads a scenario file, makes it the configuration and resets the model
 * to it. On failure nothing changes and err (if not null) receives a text
 * such as "scenario line 7: unknown key 'colour'".
 * Returns DVSIM_OK, DVSIM_E_ARG (path null), DVSIM_E_IO (cannot read) or
 * DVSIM_E_PARSE.
 */
DVSIM_API int dvsim_load_scenario(const char *path, char *err, size_t err_size);
/** The same with the scenario text itself. */
DVSIM_API int dvsim_load_scenario_text(const char *text, char *err, size_t err_size);

/* ---------------------------------------------------------------------- */
/* Control commands and socket                                             */

/**
 * Runs one control command line (the language of the control socket, e.g.
 * "insert 2000", "jam", "status") and writes its one-line reply, which
 * starts with "ok" or "error:". Returns DVSIM_OK when the command
 * succeeded, a negative result otherwise; DVSIM_E_ARG for a null line.
 */
DVSIM_API int dvsim_control(const char *line, char *reply, size_t size);

/** Starts listening on a UNIX socket at path (a stale socket file is
 *  replaced). Returns DVSIM_OK, DVSIM_E_ARG (null or too long),
 *  DVSIM_E_STATE (already listening) or DVSIM_E_IO. */
DVSIM_API int dvsim_socket_start(const char *path);
/** Stops listening and removes the socket file. Returns DVSIM_OK. */
DVSIM_API int dvsim_socket_stop(void);

#ifdef __cplusplus
}
#endif

#endif /* DVSIM_H */
