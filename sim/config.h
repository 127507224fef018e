// Configuration of the simulated device: what a scenario file sets and what
// the model returns to on a reset. Plain values, no threads, no globals.
#ifndef DVSIM_CONFIG_H
#define DVSIM_CONFIG_H

#include <string>
#include <vector>

namespace dvsim {

// Delays in milliseconds (see DVSIM_TIMING_* in dvsim.h).
struct Timing {
    unsigned answerLatency = 0;  // dv_002 sleeps this long before answering
    unsigned reportLatency = 1;  // from the answer to the first report
    unsigned reportGap = 50;     // at least this between two reports of the device
    unsigned count = 30;         // counting one inserted note or coin
    unsigned workingMin = 50;    // shortest working phase of a cash-out
    unsigned payoutItem = 0;     // per note or coin paid out
    unsigned jitter = 0;         // random extra per phase, 0..jitter

    unsigned get(int which) const;
    bool set(int which, unsigned ms);
};

enum Profile { ProfileFast = 0, ProfileRealistic = 1 };
Timing profileTiming(int profile);

struct DenomConfig {
    long value = 0; // smallest currency unit
    long count = 0;
    long low = 0;   // low when 0 < count <= low
    long high = 0;  // high when high > 0 and count >= high
};

// When an armed fault fires (DVSIM_AT_*), counted from the moment it was armed.
struct ArmedFault {
    int trigger = 0;
    unsigned nth = 0;
    int code = 0;
    std::string text;
};

struct Config {
    std::string currency = "EUR";
    int decimals = 2;
    std::vector<DenomConfig> denoms; // highest value first
    int profile = ProfileFast;
    Timing timing;
    bool legacy = false;        // ignore the capability query
    bool payinAtLogin = true;   // login leaves pay-in enabled (status 0)
    unsigned long seed = 1;
    std::string serial = "DRAVIK-SIM-000001"; // 17 characters of the "x" report
    std::string version = "0102";             // master version, 2+2 digits
    std::string commands = "ABCDEFGH1234X";   // supported commands
    std::vector<ArmedFault> faults;
};

Config defaultConfig();

// Checks currency, decimals and denominations and sorts the denominations by
// value, highest first. Returns an empty text, or what is wrong.
std::string normaliseInventory(std::string& currency, int decimals,
                               std::vector<DenomConfig>& denoms);

// DVSIM_TIMING_* of a scenario/control name such as "working_min", or -1.
int timingByName(const std::string& name);

// Standard error text of a fault code ("NOTE JAM" for 7).
std::string faultText(int code);

// Parses a scenario text over the defaults. On failure returns false and
// err says "scenario line N: ...".
bool parseScenario(const std::string& text, Config& out, std::string& err);

// Reads and parses a scenario file; err as above, or "cannot read scenario
// file ..." (then *ioError is set).
bool loadScenarioFile(const std::string& path, Config& out, std::string& err,
                      bool* ioError);

} // namespace dvsim

#endif
