#include "config.h"

#include "dvsim.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

namespace dvsim {

unsigned Timing::get(int which) const
{
    switch (which) {
    case DVSIM_TIMING_ANSWER_LATENCY: return answerLatency;
    case DVSIM_TIMING_REPORT_LATENCY: return reportLatency;
    case DVSIM_TIMING_REPORT_GAP: return reportGap;
    case DVSIM_TIMING_COUNT: return count;
    case DVSIM_TIMING_WORKING_MIN: return workingMin;
    case DVSIM_TIMING_PAYOUT_ITEM: return payoutItem;
    case DVSIM_TIMING_JITTER: return jitter;
    default: return 0;
    }
}

bool Timing::set(int which, unsigned ms)
{
    if (ms > 600000)
        return false;
    switch (which) {
    case DVSIM_TIMING_ANSWER_LATENCY: answerLatency = ms; return true;
    case DVSIM_TIMING_REPORT_LATENCY: reportLatency = ms; return true;
    case DVSIM_TIMING_REPORT_GAP: reportGap = ms; return true;
    case DVSIM_TIMING_COUNT: count = ms; return true;
    case DVSIM_TIMING_WORKING_MIN: workingMin = ms; return true;
    case DVSIM_TIMING_PAYOUT_ITEM: payoutItem = ms; return true;
    case DVSIM_TIMING_JITTER: jitter = ms; return true;
    default: return false;
    }
}

Timing profileTiming(int profile)
{
    Timing t; // the fast profile: short, fixed, but every working phase lasts
              // long enough for a poller with a 10 ms step to see it
    if (profile == ProfileRealistic) {
        t.answerLatency = 20;
        t.reportLatency = 40;
        t.reportGap = 50;
        t.count = 700;
        t.workingMin = 400;
        t.payoutItem = 250;
        t.jitter = 30;
    }
    return t;
}

Config defaultConfig()
{
    Config c;
    // value, count, low, high: four note and six coin denominations
    c.denoms = {
        {5000, 10, 2, 50}, {2000, 20, 3, 60}, {1000, 20, 3, 60}, {500, 20, 3, 60},
        {200, 30, 5, 100}, {100, 30, 5, 100}, {50, 30, 5, 100}, {20, 30, 5, 100},
        {10, 30, 5, 100},  {5, 30, 5, 100},
    };
    c.timing = profileTiming(c.profile);
    return c;
}

static long unitOf(int decimals)
{
    long unit = 1;
    for (int i = 0; i < decimals; ++i)
        unit *= 10;
    return unit;
}

std::string normaliseInventory(std::string& currency, int decimals, std::vector<DenomConfig>& denoms)
{
    if (currency.empty() || currency.size() > 4)
        return "currency must have 1 to 4 letters";
    for (char ch : currency)
        if (!std::isalpha(static_cast<unsigned char>(ch)))
            return "currency must have 1 to 4 letters";
    if (decimals < 0 || decimals > 4)
        return "decimals must be 0 to 4";
    if (denoms.empty())
        return "no denominations";
    if (denoms.size() > DVSIM_MAX_DENOMINATIONS)
        return "more than 16 denominations";
    long unit = unitOf(decimals);
    std::set<long> seen;
    for (const DenomConfig& d : denoms) {
        if (d.value <= 0 || d.value > 99999999)
            return "denomination value out of range: " + std::to_string(d.value);
        if (d.value >= unit && d.value % unit != 0)
            return "value " + std::to_string(d.value) +
                   " is neither whole currency units nor less than one unit";
        if (!seen.insert(d.value).second)
            return "denomination listed twice: " + std::to_string(d.value);
        if (d.count < 0 || d.count > 99999)
            return "count out of range 0..99999 for " + std::to_string(d.value);
        if (d.low < 0 || d.low > 99)
            return "low threshold out of range 0..99 for " + std::to_string(d.value);
        if (d.high < 0 || (d.high > 0 && d.high <= d.low))
            return "high threshold must be 0 or above low for " + std::to_string(d.value);
    }
    std::stable_sort(denoms.begin(), denoms.end(),
                     [](const DenomConfig& a, const DenomConfig& b) { return a.value > b.value; });
    return std::string();
}

std::string faultText(int code)
{
    switch (code) {
    case 1: return "DOOR OPEN";
    case 2: return "CASSETTE OUT";
    case 3: return "NOTE FULL";
    case 4: return "COIN FULL";
    case 5: return "HOPPER EMPTY";
    case 6: return "COIN JAM";
    case 7: return "NOTE JAM";
    case 8: return "PAYOUT FAULT";
    case 9: return "SENSOR FAULT";
    default: return "DEVICE ERROR";
    }
}

namespace {

bool parseLong(const std::string& s, long lo, long hi, long& out)
{
    if (s.empty() || s.size() > 12)
        return false;
    for (char ch : s)
        if (!std::isdigit(static_cast<unsigned char>(ch)))
            return false;
    long v = std::strtol(s.c_str(), nullptr, 10);
    if (v < lo || v > hi)
        return false;
    out = v;
    return true;
}

std::vector<std::string> words(const std::string& line)
{
    std::vector<std::string> out;
    std::istringstream in(line);
    std::string w;
    while (in >> w) {
        if (w[0] == '#')
            break;
        out.push_back(w);
    }
    return out;
}

int triggerOf(const std::string& s)
{
    if (s == "insert") return DVSIM_AT_INSERT;
    if (s == "payout") return DVSIM_AT_PAYOUT;
    if (s == "command") return DVSIM_AT_COMMAND;
    return 0;
}

} // namespace

int timingByName(const std::string& name)
{
    static const std::pair<const char*, int> names[] = {
        {"answer_latency", DVSIM_TIMING_ANSWER_LATENCY}, {"report_latency", DVSIM_TIMING_REPORT_LATENCY},
        {"report_gap", DVSIM_TIMING_REPORT_GAP},         {"count", DVSIM_TIMING_COUNT},
        {"working_min", DVSIM_TIMING_WORKING_MIN},       {"payout_item", DVSIM_TIMING_PAYOUT_ITEM},
        {"jitter", DVSIM_TIMING_JITTER},
    };
    for (const auto& n : names)
        if (name == n.first)
            return n.second;
    return -1;
}

bool parseScenario(const std::string& text, Config& out, std::string& err)
{
    Config c = defaultConfig();
    bool denomsGiven = false;
    std::vector<std::pair<int, unsigned>> timings;
    std::vector<int> denomLines; // line of each denomination, for late checks
    std::istringstream in(text);
    std::string line;
    int lineNo = 0;
    auto fail = [&](const std::string& what) {
        err = "scenario line " + std::to_string(lineNo) + ": " + what;
        return false;
    };
    while (std::getline(in, line)) {
        ++lineNo;
        if (line.size() > 1024)
            return fail("line too long");
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        std::vector<std::string> w = words(line);
        if (w.empty())
            continue;
        const std::string& key = w[0];
        long n = 0;
        if (key == "currency") {
            std::vector<DenomConfig> probe{DenomConfig{1, 0, 0, 0}};
            std::string code = w.size() == 2 ? w[1] : std::string();
            if (w.size() != 2 || !normaliseInventory(code, 0, probe).empty())
                return fail("expected: currency CODE (1 to 4 letters)");
            c.currency = w[1];
        } else if (key == "decimals") {
            if (w.size() != 2 || !parseLong(w[1], 0, 4, n))
                return fail("expected: decimals 0..4");
            c.decimals = static_cast<int>(n);
        } else if (key == "denomination") {
            if (w.size() < 2 || !parseLong(w[1], 1, 99999999, n))
                return fail("expected: denomination VALUE [count N] [low N] [high N]");
            if (!denomsGiven)
                c.denoms.clear();
            denomsGiven = true;
            DenomConfig d;
            d.value = n;
            for (size_t i = 2; i < w.size(); i += 2) {
                if (i + 1 >= w.size() || !parseLong(w[i + 1], 0, 99999, n))
                    return fail("expected a number after '" + w[i] + "'");
                if (w[i] == "count")
                    d.count = n;
                else if (w[i] == "low")
                    d.low = n;
                else if (w[i] == "high")
                    d.high = n;
                else
                    return fail("unknown denomination field '" + w[i] + "'");
            }
            c.denoms.push_back(d);
            denomLines.push_back(lineNo);
            std::string cur = "X";
            std::vector<DenomConfig> one{d};
            std::string bad = normaliseInventory(cur, 0, one); // field ranges only
            if (!bad.empty())
                return fail(bad);
        } else if (key == "profile") {
            if (w.size() != 2 || (w[1] != "fast" && w[1] != "realistic"))
                return fail("expected: profile fast|realistic");
            c.profile = w[1] == "fast" ? ProfileFast : ProfileRealistic;
        } else if (key == "timing") {
            int which = w.size() == 3 ? timingByName(w[1]) : -1;
            if (which < 0 || !parseLong(w[2], 0, 600000, n))
                return fail("expected: timing NAME MS (answer_latency, report_latency, report_gap, "
                            "count, working_min, payout_item, jitter)");
            timings.emplace_back(which, static_cast<unsigned>(n));
        } else if (key == "legacy") {
            if (w.size() != 2 || (w[1] != "on" && w[1] != "off"))
                return fail("expected: legacy on|off");
            c.legacy = w[1] == "on";
        } else if (key == "payin_at_login") {
            if (w.size() != 2 || (w[1] != "enabled" && w[1] != "disabled"))
                return fail("expected: payin_at_login enabled|disabled");
            c.payinAtLogin = w[1] == "enabled";
        } else if (key == "seed") {
            if (w.size() != 2 || !parseLong(w[1], 0, 2147483647L, n))
                return fail("expected: seed NUMBER");
            c.seed = static_cast<unsigned long>(n);
        } else if (key == "serial") {
            if (w.size() != 2 || w[1].size() > 17)
                return fail("expected: serial TEXT (at most 17 characters, no blanks)");
            c.serial = w[1];
        } else if (key == "version") {
            if (w.size() != 2 || w[1].size() != 4 || !parseLong(w[1], 0, 9999, n))
                return fail("expected: version MMmm (4 digits)");
            c.version = w[1];
        } else if (key == "commands") {
            if (w.size() != 2 || w[1].size() > 31)
                return fail("expected: commands TEXT (at most 31 characters)");
            c.commands = w[1];
        } else if (key == "fault") {
            // fault CODE at insert|payout|command N [TEXT...]
            ArmedFault f;
            if (w.size() < 5 || !parseLong(w[1], 1, 99, n) || w[2] != "at")
                return fail("expected: fault CODE at insert|payout|command N [TEXT]");
            f.code = static_cast<int>(n);
            f.trigger = triggerOf(w[3]);
            if (f.trigger == 0 || !parseLong(w[4], 1, 1000000, n))
                return fail("expected: fault CODE at insert|payout|command N [TEXT]");
            f.nth = static_cast<unsigned>(n);
            for (size_t i = 5; i < w.size(); ++i)
                f.text += (i > 5 ? " " : "") + w[i];
            if (f.text.size() > 14)
                return fail("fault text longer than 14 characters");
            if (c.faults.size() >= 8)
                return fail("more than 8 faults");
            c.faults.push_back(f);
        } else {
            return fail("unknown key '" + key.substr(0, 20) + "'");
        }
    }
    c.timing = profileTiming(c.profile);
    for (const auto& t : timings)
        c.timing.set(t.first, t.second);
    // Checks that need the whole file (decimals may follow the denominations).
    for (size_t i = 0; i < denomLines.size(); ++i) {
        lineNo = denomLines[i];
        std::vector<DenomConfig> upTo(c.denoms.begin(), c.denoms.begin() + static_cast<long>(i) + 1);
        std::string cur = c.currency;
        std::string bad = normaliseInventory(cur, c.decimals, upTo);
        if (!bad.empty())
            return fail(bad);
    }
    std::string bad = normaliseInventory(c.currency, c.decimals, c.denoms);
    if (!bad.empty()) {
        err = "scenario: " + bad;
        return false;
    }
    out = c;
    return true;
}

bool loadScenarioFile(const std::string& path, Config& out, std::string& err, bool* ioError)
{
    if (ioError)
        *ioError = false;
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        err = "cannot read scenario file " + path;
        if (ioError)
            *ioError = true;
        return false;
    }
    std::string text;
    char buf[4096];
    while (in.read(buf, sizeof buf) || in.gcount() > 0) {
        text.append(buf, static_cast<size_t>(in.gcount()));
        if (text.size() > 1024 * 1024) {
            err = "scenario file too large: " + path;
            return false;
        }
    }
    return parseScenario(text, out, err);
}

} // namespace dvsim
