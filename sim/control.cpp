// The control language shared by dvsim_control and the control socket: one
// command per line, one reply line starting with "ok" or "error:". It is
// built on the public dvsim_ functions only.
#include "config.h"
#include "socket.h"

#include "dvsim.h"

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace dvsim {

namespace {

const char kHelp[] =
    "ok commands: status | inventory | insert VALUE... | count VALUE N | thresholds VALUE LOW HIGH"
    " | jam | fault CODE [TEXT] | arm CODE insert|payout|command N [TEXT] | clear"
    " | answer busy|error|closed|garbage|empty|normal [N] | drop [N] | delay MS | garble"
    " | report TEXT | session BO/WD|BO/RF|CR/WD|CR/RF|info [AMOUNT] | legacy on|off"
    " | profile fast|realistic | timing NAME MS | seed N | reset-model | load PATH"
    " | commands [N] | reports [N] | clear-logs | idle [MS] | ping | help";

bool number(const std::string& s, long lo, long hi, long& out)
{
    if (s.empty() || s.size() > 10 || s.find_first_not_of("0123456789") != std::string::npos)
        return false;
    out = std::strtol(s.c_str(), nullptr, 10);
    return out >= lo && out <= hi;
}

int fail(std::string& reply, const std::string& text, int rc = DVSIM_E_ARG)
{
    reply = "error: " + text;
    return rc;
}

int result(std::string& reply, int rc, const std::string& okText)
{
    if (rc == DVSIM_OK)
        reply = okText.empty() ? "ok" : "ok " + okText;
    else
        reply = std::string("error: ") + dvsim_result_text(rc);
    return rc;
}

// Log entries shown on one line: the field separator becomes '|'.
std::string lastEntries(long (*count)(), long (*at)(size_t, char*, size_t), long n)
{
    long total = count();
    std::string out;
    for (long i = total > n ? total - n : 0; i < total; ++i) {
        char buf[300];
        if (at(static_cast<size_t>(i), buf, sizeof buf) < 0)
            continue;
        std::string e(buf);
        for (char& ch : e)
            if (ch == '\x1c')
                ch = '|';
        out += (out.empty() ? "" : " ; ") + e;
    }
    return out;
}

} // namespace

int runControl(const std::string& line, std::string& reply)
{
    std::istringstream in(line);
    std::vector<std::string> w;
    std::string word;
    while (in >> word)
        w.push_back(word);
    if (w.empty())
        return fail(reply, "empty command (try 'help')");
    const std::string& cmd = w[0];
    const size_t n = w.size();
    long a = 0, b = 0, c = 0;

    if (cmd == "help")
        return reply = kHelp, DVSIM_OK;
    if (cmd == "ping")
        return reply = "ok pong", DVSIM_OK;
    if (cmd == "status" && n == 1) {
        dvsim_status s;
        int rc = dvsim_get_status(&s);
        std::ostringstream o;
        o << "link " << (s.link_open ? "open" : "closed") << " session " << (s.session_open ? "open" : "closed")
          << " status " << s.status << " mode " << s.session_open << " paid " << s.paid_in << " fault "
          << s.fault_code << " legacy " << (s.legacy ? "on" : "off") << " pending " << s.pending_reports;
        return result(reply, rc, o.str());
    }
    if (cmd == "inventory" && n == 1) {
        dvsim_inventory inv;
        int rc = dvsim_get_inventory(&inv);
        std::ostringstream o;
        o << inv.currency << " decimals " << inv.decimals;
        for (size_t i = 0; i < inv.count; ++i) {
            const dvsim_denomination& d = inv.denominations[i];
            o << " | " << d.value << " x" << d.count << " low " << d.low << " high " << d.high;
        }
        return result(reply, rc, o.str());
    }
    if (cmd == "insert" && n >= 2) {
        for (size_t i = 1; i < n; ++i) {
            if (!number(w[i], 1, 99999999, a))
                return fail(reply, "bad value '" + w[i] + "'");
            int rc = dvsim_insert(a);
            if (rc != DVSIM_OK)
                return fail(reply, "insert " + w[i] + ": " + dvsim_result_text(rc), rc);
        }
        return result(reply, DVSIM_OK, "inserted");
    }
    if (cmd == "count" && n == 3 && number(w[1], 1, 99999999, a) && number(w[2], 0, 99999, b))
        return result(reply, dvsim_set_count(a, b), "");
    if (cmd == "thresholds" && n == 4 && number(w[1], 1, 99999999, a) && number(w[2], 0, 99, b) &&
        number(w[3], 0, 99999, c))
        return result(reply, dvsim_set_thresholds(a, b, c), "");
    if (cmd == "jam" && n == 1)
        return result(reply, dvsim_jam(), "fault 7 NOTE JAM");
    if (cmd == "fault" && n >= 2 && number(w[1], 1, 99, a)) {
        std::string text;
        for (size_t i = 2; i < n; ++i)
            text += (i > 2 ? " " : "") + w[i];
        return result(reply, dvsim_fault(static_cast<int>(a), text.c_str()), "fault " + w[1]);
    }
    if (cmd == "arm" && n >= 4 && number(w[1], 1, 99, a) && number(w[3], 1, 1000000, b)) {
        int trigger = w[2] == "insert" ? DVSIM_AT_INSERT : w[2] == "payout" ? DVSIM_AT_PAYOUT
                    : w[2] == "command" ? DVSIM_AT_COMMAND : 0;
        std::string text;
        for (size_t i = 4; i < n; ++i)
            text += (i > 4 ? " " : "") + w[i];
        if (trigger == 0)
            return fail(reply, "expected: arm CODE insert|payout|command N [TEXT]");
        return result(reply, dvsim_arm_fault(trigger, static_cast<unsigned>(b), static_cast<int>(a), text.c_str()),
                      "armed");
    }
    if (cmd == "clear" && n == 1)
        return result(reply, dvsim_clear_fault(), "fault cleared");
    if (cmd == "answer" && (n == 2 || n == 3)) {
        static const char* const kinds[] = {"normal", "busy", "error", "closed", "garbage", "empty"};
        int kind = -1;
        for (int i = 0; i < 6; ++i)
            if (w[1] == kinds[i])
                kind = i;
        if (kind < 0 || (n == 3 && !number(w[2], 1, 1000000, a)))
            return fail(reply, "expected: answer busy|error|closed|garbage|empty|normal [N]");
        return result(reply, dvsim_force_answer(kind, n == 3 ? static_cast<unsigned>(a) : 1u), "");
    }
    if (cmd == "drop" && (n == 1 || (n == 2 && number(w[1], 1, 1000000, a))))
        return result(reply, dvsim_drop_reports(n == 2 ? static_cast<unsigned>(a) : 1u), "");
    if (cmd == "delay" && n == 2 && number(w[1], 0, 600000, a))
        return result(reply, dvsim_delay_next_report(static_cast<unsigned>(a)), "");
    if (cmd == "garble" && n == 1)
        return result(reply, dvsim_garble_next_report(), "");
    if (cmd == "report" && n >= 2) {
        std::string text = line.substr(line.find("report") + 7);
        return result(reply, dvsim_inject_report(text.c_str()), "queued");
    }
    if (cmd == "session" && (n == 2 || n == 3)) {
        static const char* const kinds[] = {"BO/WD", "BO/RF", "CR/WD", "CR/RF", "info"};
        int kind = -1;
        for (int i = 0; i < 5; ++i)
            if (w[1] == kinds[i])
                kind = i;
        if (kind < 0 || (n == 3 && !number(w[2], 0, 99999999, a)))
            return fail(reply, "expected: session BO/WD|BO/RF|CR/WD|CR/RF|info [AMOUNT]");
        return result(reply, dvsim_cash_session(kind, n == 3 ? a : 0), "");
    }
    if (cmd == "legacy" && n == 2 && (w[1] == "on" || w[1] == "off"))
        return result(reply, dvsim_set_legacy(w[1] == "on"), "legacy " + w[1]);
    if (cmd == "profile" && n == 2 && (w[1] == "fast" || w[1] == "realistic"))
        return result(reply, dvsim_set_profile(w[1] == "fast" ? DVSIM_PROFILE_FAST : DVSIM_PROFILE_REALISTIC),
                      "profile " + w[1]);
    if (cmd == "timing" && n == 3 && timingByName(w[1]) >= 0 && number(w[2], 0, 600000, a))
        return result(reply, dvsim_set_timing(timingByName(w[1]), static_cast<unsigned>(a)), "");
    if (cmd == "seed" && n == 2 && number(w[1], 0, 2147483647L, a))
        return result(reply, dvsim_seed(static_cast<unsigned long>(a)), "");
    if (cmd == "reset-model" && n == 1)
        return result(reply, dvsim_reset_model(), "model reset");
    if (cmd == "load" && n == 2) {
        char err[128];
        int rc = dvsim_load_scenario(w[1].c_str(), err, sizeof err);
        return rc == DVSIM_OK ? result(reply, rc, "loaded") : fail(reply, err, rc);
    }
    if ((cmd == "commands" || cmd == "reports") && (n == 1 || (n == 2 && number(w[1], 1, 1000, a)))) {
        long count = n == 2 ? a : 10;
        std::string text = cmd == "commands" ? lastEntries(dvsim_command_count, dvsim_command_at, count)
                                             : lastEntries(dvsim_report_count, dvsim_report_at, count);
        return result(reply, DVSIM_OK, text);
    }
    if (cmd == "clear-logs" && n == 1)
        return result(reply, dvsim_clear_logs(), "");
    if (cmd == "idle" && (n == 1 || (n == 2 && number(w[1], 0, 60000, a))))
        return result(reply, dvsim_wait_idle(n == 2 ? static_cast<int>(a) : 5000), "idle");

    static const char* const known[] = {"status", "inventory", "insert", "count", "thresholds", "jam",
                                        "fault", "arm", "clear", "answer", "drop", "delay", "garble",
                                        "report", "session", "legacy", "profile", "timing", "seed",
                                        "reset-model", "load", "commands", "reports", "clear-logs", "idle"};
    for (const char* k : known)
        if (cmd == k)
            return fail(reply, "wrong arguments for '" + cmd + "' (try 'help')");
    return fail(reply, "unknown command '" + cmd.substr(0, 40) + "' (try 'help')");
}

} // namespace dvsim
