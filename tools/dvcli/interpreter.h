// The command language shared by the console and scripts: one command per
// line, each library function a command, "sim ..." for the simulator's
// control language, and expectations that check what came back.
#ifndef DVCLI_INTERPRETER_H
#define DVCLI_INTERPRETER_H

#include "device.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace dvcli {

// Name of a status code, "DV_STATUS_OK"; "?" for a code the header does
// not define.
const char* statusName(int status);

enum class Outcome {
    Done,       // the line ran (a library status other than 0 is not a failure by itself)
    Unexpected, // an expectation was not met
    BadInput,   // the line is not a valid command
    Quit        // 'quit'
};

// What went wrong, and on which line (the line of the command whose result
// was not as expected, which may be an earlier line than the current one).
struct Problem {
    size_t line = 0;
    std::string text;
};

// What the last library call or sim command answered.
struct LastResult {
    bool valid = false;
    bool simulator = false;
    size_t line = 0;
    std::string command; // "loginDV", "sim insert"
    int status = 0;
    std::string message;
    std::vector<std::pair<std::string, std::string>> outputs; // "rest" -> "250"
};

class Interpreter {
public:
    Interpreter(const Device& device, const std::string& portSettings);
    ~Interpreter();
    Interpreter(const Interpreter&) = delete;
    Interpreter& operator=(const Interpreter&) = delete;

    // Strict (scripts): a command whose non-zero status was not accepted by
    // an 'expect' makes the next command, or finish(), report Unexpected.
    void setStrict(bool on) { m_strict = on; }
    // The number of the line about to run, for problem reports.
    void setLine(size_t line) { m_line = line; }

    Outcome execute(const std::string& line, Problem& problem);
    // The end of a script: the last command's status must have been checked.
    Outcome finish(Problem& problem);

    const LastResult& last() const { return m_last; }
    size_t expectationsMet() const { return m_expectationsMet; }

    // Help: all commands, or one.
    static std::string help(const std::string& command = "");
    static std::vector<std::string> commandNames();

private:
    struct Command;
    static const std::vector<Command>& commands();

    Outcome unchecked(Problem& problem);

    // A library call: print it, remember where the events begin, and after
    // the call print and keep its result.
    void begin(const std::string& function, const std::string& arguments);
    Outcome finishCall(short status, const char* message,
                       std::vector<std::pair<std::string, std::string>> outputs = {});

    bool number(const std::vector<std::string>& w, size_t i, const char* name, long long lo, long long hi,
                long long& out, Problem& problem) const;

    // The commands.
    Outcome doRegister(const std::vector<std::string>& w, Problem& p);
    Outcome doInit(const std::vector<std::string>& w, Problem& p);
    Outcome doSettings(const std::vector<std::string>& w, Problem& p);
    Outcome doExit(const std::vector<std::string>& w, Problem& p);
    Outcome doLogin(const std::vector<std::string>& w, Problem& p);
    Outcome doLoginStr(const std::vector<std::string>& w, Problem& p);
    Outcome doLogout(const std::vector<std::string>& w, Problem& p);
    Outcome doOpen(const std::vector<std::string>& w, Problem& p);
    Outcome doInfo(const std::vector<std::string>& w, Problem& p);
    Outcome doEnable(const std::vector<std::string>& w, Problem& p);
    Outcome doDisable(const std::vector<std::string>& w, Problem& p);
    Outcome doDeposit(const std::vector<std::string>& w, Problem& p);
    Outcome doDispense(const std::vector<std::string>& w, Problem& p);
    Outcome doAsk(const std::vector<std::string>& w, Problem& p);
    Outcome doAsk2(const std::vector<std::string>& w, Problem& p);
    Outcome doPayout(const std::vector<std::string>& w, Problem& p);
    Outcome doPayout2(const std::vector<std::string>& w, Problem& p);
    Outcome doDue(const std::vector<std::string>& w, Problem& p);
    Outcome doChange(const std::vector<std::string>& w, Problem& p);
    Outcome doRegret(const std::vector<std::string>& w, Problem& p);
    Outcome doReset(const std::vector<std::string>& w, Problem& p);
    Outcome doSim(const std::vector<std::string>& w, Problem& p);
    Outcome doExpect(const std::vector<std::string>& w, Problem& p);
    Outcome doExpectMessage(const std::vector<std::string>& w, Problem& p);
    Outcome doExpectOutput(const std::vector<std::string>& w, Problem& p);
    Outcome doExpectEvent(const std::vector<std::string>& w, Problem& p);
    Outcome doExpectNoEvent(const std::vector<std::string>& w, Problem& p);
    Outcome doWaitIdle(const std::vector<std::string>& w, Problem& p);
    Outcome doTimeout(const std::vector<std::string>& w, Problem& p);
    Outcome doSleep(const std::vector<std::string>& w, Problem& p);
    Outcome doEcho(const std::vector<std::string>& w, Problem& p);
    Outcome doHelp(const std::vector<std::string>& w, Problem& p);
    Outcome doQuit(const std::vector<std::string>& w, Problem& p);

    bool needResult(const char* what, Problem& p) const;

    const Device& m_device;
    std::string m_port;
    bool m_strict = false;
    bool m_sessionOpen = false; // initDV succeeded and no exitDV since
    size_t m_line = 0;
    LastResult m_last;
    bool m_checked = true; // an 'expect' looked at the last status
    size_t m_eventMark = 0;
    size_t m_eventCursor = 0;
    int m_timeoutMs = 5000;
    size_t m_expectationsMet = 0;
};

} // namespace dvcli

#endif
