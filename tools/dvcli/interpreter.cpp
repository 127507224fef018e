#include "interpreter.h"

#include "events.h"
#include "output.h"
#include "words.h"

#include "dvlogics.h"

#include <chrono>
#include <climits>
#include <cstring>
#include <thread>

namespace dvcli {

namespace {

const size_t kAny = static_cast<size_t>(-1);

struct StatusEntry {
    int code;
    const char* name;
};

const StatusEntry kStatuses[] = {
    {DV_STATUS_OK, "DV_STATUS_OK"},
    {DV_STATUS_BUSY, "DV_STATUS_BUSY"},
    {DV_STATUS_ERROR, "DV_STATUS_ERROR"},
    {DV_STATUS_WARNING, "DV_STATUS_WARNING"},
    {DV_STATUS_INPUT_PARAM_ERROR, "DV_STATUS_INPUT_PARAM_ERROR"},
    {DV_STATUS_CLOSED, "DV_STATUS_CLOSED"},
    {DV_STATUS_TIMEOUT, "DV_STATUS_TIMEOUT"},
    {DV_STATUS_SEND_FAILED, "DV_STATUS_SEND_FAILED"},
    {DV_STATUS_REST_REMAINS, "DV_STATUS_REST_REMAINS"},
    {DV_STATUS_DEPOSIT_TOO_BIG, "DV_STATUS_DEPOSIT_TOO_BIG"},
    {DV_STATUS_LIMIT_EXCEEDED, "DV_STATUS_LIMIT_EXCEEDED"},
    {DV_STATUS_NOT_SUPPORTED, "DV_STATUS_NOT_SUPPORTED"},
};

std::string upper(std::string s)
{
    for (char& c : s)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return s;
}

// "0", "DV_STATUS_OK" or "OK" (any case).
bool statusByName(const std::string& word, int& code)
{
    long long n = 0;
    if (parseNumber(word, INT_MIN, INT_MAX, n)) {
        code = static_cast<int>(n);
        return true;
    }
    std::string name = upper(word);
    if (name.compare(0, 10, "DV_STATUS_") != 0)
        name = "DV_STATUS_" + name;
    for (const StatusEntry& s : kStatuses) {
        if (name == s.name) {
            code = s.code;
            return true;
        }
    }
    return false;
}

Tone toneOf(int status)
{
    return status == 0 ? Tone::Good : status == DV_STATUS_WARNING ? Tone::Warn : Tone::Bad;
}

// A text argument of the library: a word, or null when the word is absent.
class CText {
public:
    CText(const std::vector<std::string>& words, size_t index) : m_null(index >= words.size())
    {
        if (!m_null)
            m_text.assign(words[index].begin(), words[index].end());
        m_text.push_back('\0');
    }
    explicit CText(const std::string& text) : m_null(false)
    {
        m_text.assign(text.begin(), text.end());
        m_text.push_back('\0');
    }
    char* get() { return m_null ? nullptr : m_text.data(); }
    std::string shown() const { return m_null ? "NULL" : quoted(std::string(m_text.data())); }

private:
    bool m_null;
    std::vector<char> m_text;
};

// The message buffer handed to the library, one byte longer than the most
// it writes, so that it always ends in a NUL.
struct Message {
    char text[DV_MESSAGE_SIZE + 1] = "";
    char* get() { return text; }
    const char* done()
    {
        text[DV_MESSAGE_SIZE] = '\0';
        return text;
    }
};

std::string resultStatusText(const LastResult& r)
{
    if (r.simulator)
        return std::to_string(r.status) + (r.status == 0 ? " ok" : " error");
    return std::to_string(r.status) + " " + statusName(r.status);
}

std::string n2s(long long v)
{
    return std::to_string(v);
}

} // namespace

const char* statusName(int status)
{
    for (const StatusEntry& s : kStatuses)
        if (s.code == status)
            return s.name;
    return "?";
}

struct Interpreter::Command {
    const char* name;
    const char* usage;
    const char* help;
    size_t minArgs;
    size_t maxArgs;
    bool isCommand; // a library call or a sim command: it has a result
    Outcome (Interpreter::*run)(const std::vector<std::string>&, Problem&);
};

const std::vector<Interpreter::Command>& Interpreter::commands()
{
    static const std::vector<Command> table = {
        {"register", "[1|2|3|23]", "registerEvents...DV: the event callbacks (23, the default: all five)", 0, 1, true,
         &Interpreter::doRegister},
        {"init", "[SETTINGS]", "initDV with the port text (--port) and a settings text", 0, 1, true,
         &Interpreter::doInit},
        {"settings", "TEXT [0|1]", "changeSettingsDV: permanent (0) or until the next payout (1)", 1, 2, true,
         &Interpreter::doSettings},
        {"exit", "", "exitDV", 0, 0, true, &Interpreter::doExit},
        {"login", "REG CASHIER", "loginDV: cash register and cashier numbers", 2, 2, true, &Interpreter::doLogin},
        {"loginstr", "[REG [CASHIER]]", "loginStrDV: the same as texts", 0, 2, true, &Interpreter::doLoginStr},
        {"logout", "", "logoutDV", 0, 0, true, &Interpreter::doLogout},
        {"open", "", "isOpenDV (output: open)", 0, 0, true, &Interpreter::doOpen},
        {"info", "", "infoDV (outputs: level, commands, master, info)", 0, 0, true, &Interpreter::doInfo},
        {"enable", "", "enablePayinDV", 0, 0, true, &Interpreter::doEnable},
        {"disable", "", "disablePayinDV", 0, 0, true, &Interpreter::doDisable},
        {"deposit", "[ID]", "depositDV: keep what was paid in", 0, 1, true, &Interpreter::doDeposit},
        {"dispense", "AMOUNT [ID]", "dispenseDV (output: rest)", 1, 2, true, &Interpreter::doDispense},
        {"ask", "AMOUNT", "askPayoutDV", 1, 1, true, &Interpreter::doAsk},
        {"ask2", "AMOUNT", "askPayout2DV (output: rest)", 1, 1, true, &Interpreter::doAsk2},
        {"payout", "OUT IN [ID]", "payoutDV: pay OUT back, keep IN", 2, 3, true, &Interpreter::doPayout},
        {"payout2", "OUT IN [ID]", "payout2DV (output: rest)", 2, 3, true, &Interpreter::doPayout2},
        {"due", "AMOUNT [ID]", "amountDueDV (output: rest)", 1, 2, true, &Interpreter::doDue},
        {"change", "", "changeDV", 0, 0, true, &Interpreter::doChange},
        {"regret", "0|1", "regretDV: the last note (0) or everything paid in (1)", 1, 1, true,
         &Interpreter::doRegret},
        {"reset", "", "resetDV", 0, 0, true, &Interpreter::doReset},
        {"sim", "COMMAND...", "the simulator's control language ('sim help')", 1, kAny, true, &Interpreter::doSim},
        {"expect", "CODE...", "the last command answered one of these status codes (number or name)", 1, kAny,
         false, &Interpreter::doExpect},
        {"expect-message", "[TEXT]", "the last command's message is TEXT", 0, kAny, false,
         &Interpreter::doExpectMessage},
        {"expect-output", "NAME [VALUE]", "an output of the last command (rest, open, level, ...) is VALUE", 1, kAny,
         false, &Interpreter::doExpectOutput},
        {"expect-event", "KIND [FIELD...]", "an event arrives (waits up to the timeout); FIELD is a number or *", 1,
         4, false, &Interpreter::doExpectEvent},
        {"expect-no-event", "KIND [FIELD...]", "no such event arrived since the last command", 1, 4, false,
         &Interpreter::doExpectNoEvent},
        {"wait-idle", "[MS]", "wait until the simulator has finished its work and reports (default 10000)", 0, 1,
         false, &Interpreter::doWaitIdle},
        {"timeout", "MS", "how long expect-event waits (default 5000)", 1, 1, false, &Interpreter::doTimeout},
        {"sleep", "MS", "pause", 1, 1, false, &Interpreter::doSleep},
        {"echo", "[TEXT]", "print TEXT", 0, kAny, false, &Interpreter::doEcho},
        {"help", "[COMMAND]", "this list, or one command", 0, 1, false, &Interpreter::doHelp},
        {"quit", "", "leave dvcli (end of a script)", 0, 0, false, &Interpreter::doQuit},
    };
    return table;
}

std::vector<std::string> Interpreter::commandNames()
{
    std::vector<std::string> names;
    for (const Command& c : commands())
        names.push_back(c.name);
    return names;
}

std::string Interpreter::help(const std::string& command)
{
    std::string out;
    for (const Command& c : commands()) {
        if (!command.empty() && command != c.name)
            continue;
        if (command.empty() && std::strcmp(c.name, "expect") == 0)
            out += "checks of the last call or sim command (a script stops when one fails):\n";
        if (command.empty() && std::strcmp(c.name, "wait-idle") == 0)
            out += "other:\n";
        out += "  " + padded(std::string(c.name) + " " + c.usage, 32) + " " + c.help + "\n";
    }
    if (command.empty())
        out = "library calls (a text argument left out is passed as NULL, \"\" is an empty text):\n" + out;
    return out;
}

Interpreter::Interpreter(const Device& device, const std::string& portSettings)
    : m_device(device), m_port(portSettings)
{
}

Interpreter::~Interpreter()
{
    // A session left open (the script or console ended without 'exit') is
    // closed quietly, so that the device thread stops before dvcli exits.
    if (m_sessionOpen) {
        char message[DV_MESSAGE_SIZE];
        exitDV(message);
    }
}

Outcome Interpreter::execute(const std::string& line, Problem& problem)
{
    problem = Problem();
    problem.line = m_line;
    std::vector<std::string> w;
    std::string error;
    if (!splitWords(line, w, error)) {
        problem.text = error;
        return Outcome::BadInput;
    }
    if (w.empty())
        return Outcome::Done;
    const Command* command = nullptr;
    for (const Command& c : commands())
        if (w[0] == c.name)
            command = &c;
    if (!command) {
        problem.text = "unknown command '" + printable(w[0]) + "' (try 'help')";
        return Outcome::BadInput;
    }
    const size_t args = w.size() - 1;
    if (args < command->minArgs || args > command->maxArgs) {
        problem.text = std::string("usage: ") + command->name + (*command->usage ? " " : "") + command->usage;
        return Outcome::BadInput;
    }
    if (command->isCommand && unchecked(problem) != Outcome::Done)
        return Outcome::Unexpected;
    return (this->*(command->run))(w, problem);
}

Outcome Interpreter::finish(Problem& problem)
{
    problem = Problem();
    return unchecked(problem);
}

Outcome Interpreter::unchecked(Problem& problem)
{
    if (!m_strict || m_checked || !m_last.valid || m_last.status == 0)
        return Outcome::Done;
    m_checked = true;
    problem.line = m_last.line;
    problem.text = m_last.command + " answered " + resultStatusText(m_last) + " " + quoted(m_last.message) +
                   " and no 'expect' accepts it";
    return Outcome::Unexpected;
}

bool Interpreter::number(const std::vector<std::string>& w, size_t i, const char* name, long long lo, long long hi,
                         long long& out, Problem& problem) const
{
    if (i < w.size() && parseNumber(w[i], lo, hi, out))
        return true;
    problem.text = w[0] + ": " + name + " must be a whole number from " + n2s(lo) + " to " + n2s(hi) + ", not '" +
                   printable(i < w.size() ? w[i] : std::string()) + "'";
    return false;
}

void Interpreter::begin(const std::string& function, const std::string& arguments)
{
    m_eventMark = EventLog::instance().size();
    m_eventCursor = m_eventMark;
    Output::instance().beginCall(function + "(" + arguments + ")");
    m_last = LastResult();
    m_last.command = function;
    m_last.line = m_line;
}

Outcome Interpreter::finishCall(short status, const char* message,
                                std::vector<std::pair<std::string, std::string>> outputs)
{
    m_last.valid = true;
    m_last.status = status;
    m_last.message = message;
    m_last.outputs = std::move(outputs);
    m_checked = false;
    std::string shown = m_last.message;
    if (!m_last.outputs.empty()) {
        shown += "  (";
        for (size_t i = 0; i < m_last.outputs.size(); ++i)
            shown += (i ? ", " : "") + m_last.outputs[i].first + " " + m_last.outputs[i].second;
        shown += ")";
    }
    Output::instance().endCall(resultStatusText(m_last), toneOf(status), shown);
    return Outcome::Done;
}

// ---- Library calls -------------------------------------------------------

Outcome Interpreter::doRegister(const std::vector<std::string>& w, Problem& p)
{
    long long variant = 23;
    if (w.size() > 1 && (!number(w, 1, "the variant", 1, 23, variant, p) ||
                         (variant != 1 && variant != 2 && variant != 3 && variant != 23))) {
        p.text = "register: the variant is 1, 2, 3 or 23 (registerEventsDV, ...2DV, ...3DV, ...23DV)";
        return Outcome::BadInput;
    }
    Message msg;
    short rc = 0;
    switch (variant) {
    case 1:
        begin("registerEventsDV", "status, error, level");
        rc = registerEventsDV(callbacks::status, callbacks::error, callbacks::level, msg.get());
        break;
    case 2:
        begin("registerEvents2DV", "status, error, level, session");
        rc = registerEvents2DV(callbacks::status, callbacks::error, callbacks::level, callbacks::session, msg.get());
        break;
    case 3:
        begin("registerEvents3DV", "status, error, warning, session");
        rc = registerEvents3DV(callbacks::status, callbacks::error, callbacks::warning, callbacks::session,
                               msg.get());
        break;
    default:
        begin("registerEvents23DV", "status, error, level, warning, session");
        rc = registerEvents23DV(callbacks::status, callbacks::error, callbacks::level, callbacks::warning,
                                callbacks::session, msg.get());
        break;
    }
    return finishCall(rc, msg.done());
}

Outcome Interpreter::doInit(const std::vector<std::string>& w, Problem&)
{
    CText port(m_port);
    CText settings(w, 1);
    Message msg;
    begin("initDV", port.shown() + ", " + settings.shown());
    const short status = initDV(port.get(), settings.get(), msg.get());
    if (status == DV_STATUS_OK)
        m_sessionOpen = true;
    return finishCall(status, msg.done());
}

Outcome Interpreter::doSettings(const std::vector<std::string>& w, Problem& p)
{
    long long duration = 0;
    if (w.size() > 2 && !number(w, 2, "the duration", SHRT_MIN, SHRT_MAX, duration, p))
        return Outcome::BadInput;
    CText settings(w, 1);
    Message msg;
    begin("changeSettingsDV", settings.shown() + ", " + n2s(duration));
    return finishCall(changeSettingsDV(settings.get(), static_cast<short>(duration), msg.get()), msg.done());
}

Outcome Interpreter::doExit(const std::vector<std::string>&, Problem&)
{
    Message msg;
    begin("exitDV", "");
    const short status = exitDV(msg.get());
    if (status == DV_STATUS_OK)
        m_sessionOpen = false;
    return finishCall(status, msg.done());
}

Outcome Interpreter::doLogin(const std::vector<std::string>& w, Problem& p)
{
    long long reg = 0, cashier = 0;
    if (!number(w, 1, "REG", SHRT_MIN, SHRT_MAX, reg, p) || !number(w, 2, "CASHIER", SHRT_MIN, SHRT_MAX, cashier, p))
        return Outcome::BadInput;
    Message msg;
    begin("loginDV", n2s(reg) + ", " + n2s(cashier));
    return finishCall(loginDV(static_cast<short>(reg), static_cast<short>(cashier), msg.get()), msg.done());
}

Outcome Interpreter::doLoginStr(const std::vector<std::string>& w, Problem&)
{
    CText reg(w, 1), cashier(w, 2);
    Message msg;
    begin("loginStrDV", reg.shown() + ", " + cashier.shown());
    return finishCall(loginStrDV(reg.get(), cashier.get(), msg.get()), msg.done());
}

Outcome Interpreter::doLogout(const std::vector<std::string>&, Problem&)
{
    Message msg;
    begin("logoutDV", "");
    return finishCall(logoutDV(msg.get()), msg.done());
}

Outcome Interpreter::doOpen(const std::vector<std::string>&, Problem&)
{
    Message msg;
    int open = -1;
    begin("isOpenDV", "&open");
    const short rc = isOpenDV(&open, msg.get());
    return finishCall(rc, msg.done(), {{"open", n2s(open)}});
}

Outcome Interpreter::doInfo(const std::vector<std::string>&, Problem&)
{
    Message msg;
    int level = -1;
    char commandsText[DV_INFO_COMMANDS_SIZE + 1] = "";
    char master[DV_INFO_MASTER_SIZE + 1] = "";
    char info[DV_INFO_INFO_SIZE + 1] = "";
    begin("infoDV", "&level, commands, master, info");
    const short rc = infoDV(&level, commandsText, master, info, msg.get());
    commandsText[DV_INFO_COMMANDS_SIZE] = master[DV_INFO_MASTER_SIZE] = info[DV_INFO_INFO_SIZE] = '\0';
    return finishCall(rc, msg.done(),
                      {{"level", n2s(level)}, {"commands", commandsText}, {"master", master}, {"info", info}});
}

Outcome Interpreter::doEnable(const std::vector<std::string>&, Problem&)
{
    Message msg;
    begin("enablePayinDV", "");
    return finishCall(enablePayinDV(msg.get()), msg.done());
}

Outcome Interpreter::doDisable(const std::vector<std::string>&, Problem&)
{
    Message msg;
    begin("disablePayinDV", "");
    return finishCall(disablePayinDV(msg.get()), msg.done());
}

Outcome Interpreter::doDeposit(const std::vector<std::string>& w, Problem&)
{
    CText id(w, 1);
    Message msg;
    begin("depositDV", id.shown());
    return finishCall(depositDV(id.get(), msg.get()), msg.done());
}

Outcome Interpreter::doDispense(const std::vector<std::string>& w, Problem& p)
{
    long long amount = 0;
    if (!number(w, 1, "AMOUNT", INT_MIN, INT_MAX, amount, p))
        return Outcome::BadInput;
    CText id(w, 2);
    Message msg;
    int rest = 0;
    begin("dispenseDV", n2s(amount) + ", " + id.shown() + ", &rest");
    const short rc = dispenseDV(static_cast<int>(amount), id.get(), &rest, msg.get());
    return finishCall(rc, msg.done(), {{"rest", n2s(rest)}});
}

Outcome Interpreter::doAsk(const std::vector<std::string>& w, Problem& p)
{
    long long amount = 0;
    if (!number(w, 1, "AMOUNT", INT_MIN, INT_MAX, amount, p))
        return Outcome::BadInput;
    Message msg;
    begin("askPayoutDV", n2s(amount));
    return finishCall(askPayoutDV(static_cast<int>(amount), msg.get()), msg.done());
}

Outcome Interpreter::doAsk2(const std::vector<std::string>& w, Problem& p)
{
    long long amount = 0;
    if (!number(w, 1, "AMOUNT", INT_MIN, INT_MAX, amount, p))
        return Outcome::BadInput;
    Message msg;
    int rest = 0;
    begin("askPayout2DV", n2s(amount) + ", &rest");
    const short rc = askPayout2DV(static_cast<int>(amount), &rest, msg.get());
    return finishCall(rc, msg.done(), {{"rest", n2s(rest)}});
}

Outcome Interpreter::doPayout(const std::vector<std::string>& w, Problem& p)
{
    long long out = 0, in = 0;
    if (!number(w, 1, "OUT", INT_MIN, INT_MAX, out, p) || !number(w, 2, "IN", INT_MIN, INT_MAX, in, p))
        return Outcome::BadInput;
    CText id(w, 3);
    Message msg;
    begin("payoutDV", n2s(out) + ", " + n2s(in) + ", " + id.shown());
    return finishCall(payoutDV(static_cast<int>(out), static_cast<int>(in), id.get(), msg.get()), msg.done());
}

Outcome Interpreter::doPayout2(const std::vector<std::string>& w, Problem& p)
{
    long long out = 0, in = 0;
    if (!number(w, 1, "OUT", INT_MIN, INT_MAX, out, p) || !number(w, 2, "IN", INT_MIN, INT_MAX, in, p))
        return Outcome::BadInput;
    CText id(w, 3);
    Message msg;
    int rest = 0;
    begin("payout2DV", n2s(out) + ", " + n2s(in) + ", " + id.shown() + ", &rest");
    const short rc = payout2DV(static_cast<int>(out), static_cast<int>(in), id.get(), &rest, msg.get());
    return finishCall(rc, msg.done(), {{"rest", n2s(rest)}});
}

Outcome Interpreter::doDue(const std::vector<std::string>& w, Problem& p)
{
    long long amount = 0;
    if (!number(w, 1, "AMOUNT", INT_MIN, INT_MAX, amount, p))
        return Outcome::BadInput;
    CText id(w, 2);
    Message msg;
    int rest = 0;
    begin("amountDueDV", n2s(amount) + ", " + id.shown() + ", &rest");
    const short rc = amountDueDV(static_cast<int>(amount), id.get(), &rest, msg.get());
    return finishCall(rc, msg.done(), {{"rest", n2s(rest)}});
}

Outcome Interpreter::doChange(const std::vector<std::string>&, Problem&)
{
    Message msg;
    begin("changeDV", "");
    return finishCall(changeDV(msg.get()), msg.done());
}

Outcome Interpreter::doRegret(const std::vector<std::string>& w, Problem& p)
{
    long long type = 0;
    if (!number(w, 1, "the regret type", SHRT_MIN, SHRT_MAX, type, p))
        return Outcome::BadInput;
    Message msg;
    begin("regretDV", n2s(type));
    return finishCall(regretDV(static_cast<short>(type), msg.get()), msg.done());
}

Outcome Interpreter::doReset(const std::vector<std::string>&, Problem&)
{
    Message msg;
    begin("resetDV", "");
    return finishCall(resetDV(msg.get()), msg.done());
}

// ---- The simulator -------------------------------------------------------

Outcome Interpreter::doSim(const std::vector<std::string>& w, Problem& p)
{
    if (!m_device.simulator()) {
        p.text = m_device.choice() == Device::Choice::System
                     ? "the simulator is not loaded (dvcli runs with --device system)"
                     : "the simulator is not loaded (" + m_device.path() + " is not the simulator)";
        return Outcome::BadInput;
    }
    const std::string line = joinWords(w, 1);
    m_eventMark = EventLog::instance().size();
    m_eventCursor = m_eventMark;
    Output::instance().beginCall("sim " + line);
    char reply[4096] = "";
    const int rc = m_device.sim().control(line.c_str(), reply, sizeof reply);
    reply[sizeof reply - 1] = '\0';
    std::string text = reply;
    if (text.compare(0, 3, "ok ") == 0)
        text.erase(0, 3);
    else if (text == "ok")
        text.clear();
    else if (text.compare(0, 7, "error: ") == 0)
        text.erase(0, 7);
    m_last = LastResult();
    m_last.valid = true;
    m_last.simulator = true;
    m_last.line = m_line;
    m_last.command = "sim " + w[1];
    m_last.status = rc;
    m_last.message = text;
    m_checked = false;
    Output::instance().endCall(resultStatusText(m_last), rc == 0 ? Tone::Good : Tone::Bad, printable(text));
    return Outcome::Done;
}

Outcome Interpreter::doWaitIdle(const std::vector<std::string>& w, Problem& p)
{
    long long ms = 10000;
    if (w.size() > 1 && !number(w, 1, "MS", 0, 600000, ms, p))
        return Outcome::BadInput;
    if (!m_device.simulator()) {
        p.text = "wait-idle: the simulator is not loaded";
        return Outcome::BadInput;
    }
    const int rc = m_device.sim().waitIdle(static_cast<int>(ms));
    if (rc == DVSIM_OK)
        return Outcome::Done;
    p.text = rc == DVSIM_E_TIMEOUT ? "the device was not idle within " + n2s(ms) + " ms"
                                   : std::string("wait-idle failed: ") + m_device.sim().resultText(rc);
    return Outcome::Unexpected;
}

// ---- Checks --------------------------------------------------------------

bool Interpreter::needResult(const char* what, Problem& p) const
{
    if (m_last.valid)
        return true;
    p.text = std::string(what) + ": nothing to check yet (no command has run)";
    return false;
}

Outcome Interpreter::doExpect(const std::vector<std::string>& w, Problem& p)
{
    std::vector<int> codes;
    for (size_t i = 1; i < w.size(); ++i) {
        int code = 0;
        if (!statusByName(w[i], code)) {
            p.text = "expect: '" + printable(w[i]) + "' is not a status code (a number or a name such as DV_STATUS_OK)";
            return Outcome::BadInput;
        }
        codes.push_back(code);
    }
    if (!needResult("expect", p))
        return Outcome::BadInput;
    m_checked = true;
    std::string wanted;
    for (int code : codes) {
        if (code == m_last.status) {
            ++m_expectationsMet;
            return Outcome::Done;
        }
        const char* name = m_last.simulator ? (code == 0 ? "ok" : "error") : statusName(code);
        wanted += (wanted.empty() ? "" : " or ") + n2s(code) + " " + name;
    }
    p.text = "expected " + wanted + " from " + m_last.command + ", got " + resultStatusText(m_last) + " " +
             quoted(m_last.message);
    return Outcome::Unexpected;
}

Outcome Interpreter::doExpectMessage(const std::vector<std::string>& w, Problem& p)
{
    if (!needResult("expect-message", p))
        return Outcome::BadInput;
    const std::string wanted = joinWords(w, 1);
    if (wanted == m_last.message) {
        ++m_expectationsMet;
        return Outcome::Done;
    }
    p.text = "expected message " + quoted(wanted) + " from " + m_last.command + ", got " + quoted(m_last.message);
    return Outcome::Unexpected;
}

Outcome Interpreter::doExpectOutput(const std::vector<std::string>& w, Problem& p)
{
    if (!needResult("expect-output", p))
        return Outcome::BadInput;
    const std::string wanted = joinWords(w, 2);
    std::string names;
    for (const auto& output : m_last.outputs) {
        if (output.first == w[1]) {
            if (output.second == wanted) {
                ++m_expectationsMet;
                return Outcome::Done;
            }
            p.text = "expected " + w[1] + " " + quoted(wanted) + " from " + m_last.command + ", got " +
                     quoted(output.second);
            return Outcome::Unexpected;
        }
        names += (names.empty() ? "" : ", ") + output.first;
    }
    p.text = m_last.command + " has no output '" + printable(w[1]) + "'" +
             (names.empty() ? std::string(" (it has none)") : " (it has: " + names + ")");
    return Outcome::BadInput;
}

Outcome Interpreter::doExpectEvent(const std::vector<std::string>& w, Problem& p)
{
    EventPattern pattern;
    if (!parseEventPattern(w, 1, pattern, p.text))
        return Outcome::BadInput;
    const EventLog& log = EventLog::instance();
    const long found = log.waitFor(pattern, m_eventCursor, m_timeoutMs);
    if (found >= 0) {
        m_eventCursor = static_cast<size_t>(found) + 1;
        ++m_expectationsMet;
        return Outcome::Done;
    }
    const size_t size = log.size();
    p.text = "expected event " + pattern.describe() + " within " + n2s(m_timeoutMs) + " ms, ";
    if (size > m_eventCursor)
        p.text += "got " + n2s(static_cast<long long>(size - m_eventCursor)) +
                  " other event(s), the last: " + log.at(size - 1).describe();
    else
        p.text += "got no event";
    return Outcome::Unexpected;
}

Outcome Interpreter::doExpectNoEvent(const std::vector<std::string>& w, Problem& p)
{
    EventPattern pattern;
    if (!parseEventPattern(w, 1, pattern, p.text))
        return Outcome::BadInput;
    const EventLog& log = EventLog::instance();
    const size_t size = log.size();
    for (size_t i = m_eventMark; i < size; ++i) {
        const Event event = log.at(i);
        if (pattern.matches(event)) {
            p.text = "expected no event " + pattern.describe() + ", got: " + event.describe();
            return Outcome::Unexpected;
        }
    }
    ++m_expectationsMet;
    return Outcome::Done;
}

Outcome Interpreter::doTimeout(const std::vector<std::string>& w, Problem& p)
{
    long long ms = 0;
    if (!number(w, 1, "MS", 0, 600000, ms, p))
        return Outcome::BadInput;
    m_timeoutMs = static_cast<int>(ms);
    return Outcome::Done;
}

Outcome Interpreter::doSleep(const std::vector<std::string>& w, Problem& p)
{
    long long ms = 0;
    if (!number(w, 1, "MS", 0, 600000, ms, p))
        return Outcome::BadInput;
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
    return Outcome::Done;
}

Outcome Interpreter::doEcho(const std::vector<std::string>& w, Problem&)
{
    Output::instance().line(joinWords(w, 1), Tone::Heading);
    return Outcome::Done;
}

Outcome Interpreter::doHelp(const std::vector<std::string>& w, Problem& p)
{
    const std::string text = help(w.size() > 1 ? w[1] : "");
    if (text.empty()) {
        p.text = "help: no command '" + printable(w[1]) + "'";
        return Outcome::BadInput;
    }
    size_t start = 0;
    while (start < text.size()) {
        const size_t end = text.find('\n', start);
        Output::instance().line(text.substr(start, end - start));
        start = end == std::string::npos ? text.size() : end + 1;
    }
    if (w.size() == 1)
        Output::instance().line("A sale: register, init, login 1 1, enable, sim insert 2000, payout 750 1250 T-1, "
                                "disable, logout, exit.");
    return Outcome::Done;
}

Outcome Interpreter::doQuit(const std::vector<std::string>&, Problem&)
{
    return Outcome::Quit;
}

} // namespace dvcli
