// The model of the note and coin recycler. Not thread-aware: the runtime
// calls every method with its one lock held. Time is the model's own clock
// (monotonic, or manual for tests); timed work is kept on a timeline and
// run by runDue, which the simulator thread calls when work falls due.
#ifndef DVSIM_DEVICE_H
#define DVSIM_DEVICE_H

#include "change.h"
#include "config.h"

#include <deque>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace dvsim {

using Ms = long long;

// Level of one denomination, numbered as the cash-level reports count them.
enum Level { LevelNormal = 0, LevelEmpty = 1, LevelLow = 2, LevelHigh = 3 };

struct Denomination {
    long value = 0;
    long count = 0;
    long low = 0;
    long high = 0;
    Level level = LevelNormal; // last level seen, to report only changes
};

// A step of timed work: runs at due (model time) and may emit reports or
// schedule further steps.
struct Step {
    Ms due = 0;
    std::function<void(Ms)> run;
};

struct Outgoing {
    Ms due = 0;
    std::string text;
};

// Everything the device is and knows, in one place.
struct DeviceState {
    // --- what the device is doing
    bool sessionOpen = false; // mode digit: 1 after login, 0 after logout
    int payin = 3;            // idle status: 0 pay-in enabled, 3 disabled (always 3 when closed)
    bool working = false;     // status 1: counting a note or paying out
    bool counting = false;    // the work is counting inserted cash (more may queue)
    struct Note {             // a note or coin inserted, with its fate
        long value;
        bool jams;            // an armed fault makes it jam
        int code;
        std::string text;
    };
    std::deque<Note> waitingNotes; // inserted while another is being counted
    bool fault = false;       // status 2 until a reset
    int faultCode = 0;
    std::string faultText;

    // --- the current transaction
    long paidIn = 0;              // amount credited since the transaction began
    std::vector<long> inserted;   // values credited, in order (for regret)
    int cashRegister = 0;         // from the last login
    int cashier = 0;

    // --- cash
    std::string currency;
    int decimals = 2;
    std::vector<Denomination> denoms; // highest value first

    // --- behaviour
    Timing timing;
    bool legacy = false;
    struct Armed {
        int trigger;
        unsigned left; // events to go; fires when it reaches 0
        int code;
        std::string text;
    };
    std::vector<Armed> armed;

    // --- line disturbances, set by the control interface
    int forcedAnswer = 0;      // DVSIM_ANSWER_* for the next forcedCount commands
    unsigned forcedCount = 0;
    unsigned dropReports = 0;  // reports still to lose
    unsigned delayNext = 0;    // ms added to the next report
    bool garbleNext = false;

    // --- timed work and reports on their way
    std::deque<Step> timeline;   // ordered by due
    std::deque<Outgoing> outbox; // ordered by due, delivered in order
    Ms lastReport = 0;           // when the last report of the device goes out
    bool reported = false;       // lastReport is set
};

class Device {
public:
    Device();

    // Configuration and reset ------------------------------------------------
    void configure(const Config& c); // becomes the start state; resets
    void reset();                    // back to the start state
    const Config& config() const { return m_cfg; }

    // Clock ------------------------------------------------------------------
    Ms now() const;
    void setManualClock(bool on);
    bool manualClock() const { return m_manual; }
    bool advance(unsigned ms);

    // Link: without one, timed work completes at once and reports are lost.
    void setLinked(bool on);
    bool linked() const { return m_linked; }

    // The device link ---------------------------------------------------------
    // Handles one command (logged) and returns the immediate answer text.
    std::string command(const std::string& req);
    unsigned answerLatency() const { return m_s.timing.answerLatency; }

    // Simulator thread -------------------------------------------------------
    void runDue(Ms now);
    bool takeReport(Ms now, std::string& out); // next due report, disturbances applied
    Ms nextWake() const;                       // earliest due time, -1 when nothing waits
    bool idle() const { return m_s.timeline.empty() && m_s.outbox.empty(); }

    // Control ----------------------------------------------------------------
    int insert(long value);
    int fault(int code, const std::string& text);
    int clearFault();
    int armFault(int trigger, unsigned nth, int code, const std::string& text);
    int cashSession(int kind, long amount);
    int injectReport(const std::string& text);
    int forceAnswer(int kind, unsigned count);
    void dropReports(unsigned count) { m_s.dropReports = count; }
    void delayNextReport(unsigned ms) { m_s.delayNext = ms; }
    void garbleNextReport() { m_s.garbleNext = true; }
    int setInventory(std::string currency, int decimals, std::vector<DenomConfig> denoms);
    int setCount(long value, long count);
    int setThresholds(long value, long low, long high);
    const DeviceState& state() const { return m_s; }
    int setProfile(int profile);
    int setTiming(int which, unsigned ms);
    void setLegacy(bool on) { m_s.legacy = on; }
    void seed(unsigned long s) { m_rng.seed(static_cast<std::mt19937::result_type>(s)); }
    int statusDigit() const;
    int mode() const { return m_s.sessionOpen ? 1 : 0; }

    // Logs -------------------------------------------------------------------
    const std::deque<std::string>& commandLog() const { return m_commands; }
    const std::deque<std::string>& reportLog() const { return m_reports; }
    void clearLogs();

    // Report texts, exposed for tests of the layouts.
    static std::string valueText(long value, int decimals, bool high);
    std::string levelTail(const Denomination& d, Level level) const;
    static std::string errorTail(int code, const std::string& text);

private:
    enum CashOut { Payout, Deposit, RegretAllPayout, Dispense, Change, RegretLast, RegretAll };

    std::string report(char type, const std::string& tail = std::string()) const;
    std::string reportWith(char type, long amount, const std::string& tail = std::string()) const;
    ChangePlan plan(long amount, long maxValue = 0) const;
    ChangePlan changePlan() const;
    void takeOut(const ChangePlan& p);
    void takeOut(long value);
    Ms emit(Ms at, const std::string& text);
    void schedule(Ms due, std::function<void(Ms)> fn);
    void settle();
    unsigned jitter();
    bool fire(int trigger, DeviceState::Armed& fired);
    void enterFault(Ms at, int code, const std::string& text);
    Denomination* find(long value);
    std::vector<std::string> levelChanges();
    void recomputeLevels();
    void startCounting(Ms at, const DeviceState::Note& note);
    void finishCounting(Ms at, const DeviceState::Note& note);
    std::string startCashOut(Ms at, CashOut kind, long amount, char letter, const char* what);
    void finishCashOut(Ms at, CashOut kind, long amount, bool fail, int code, const std::string& text);
    std::string askPayout(Ms at, long amount);
    void logCommand(const std::string& text);

    Config m_cfg;
    DeviceState m_s;
    std::mt19937 m_rng;
    bool m_linked = false;
    bool m_manual = false;
    Ms m_manualNow = 0;
    Ms m_offset = 0; // added to the monotonic clock after a manual period
    std::deque<std::string> m_commands;
    std::deque<std::string> m_reports;
};

} // namespace dvsim

#endif
