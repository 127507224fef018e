// Running programs from tests: with input, extra environment and a time
// limit, capturing what they print; and on a pseudo-terminal, for the
// console's line editor.
#ifndef DV_TESTS_PROCESS_H
#define DV_TESTS_PROCESS_H

#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace dvtest {

struct RunOptions {
    std::string input;                                     // standard input
    std::vector<std::pair<std::string, std::string>> env;  // set in the child
    std::string cwd;                                       // empty: the test's
    int timeoutMs = 60000;                                 // then the child is killed
};

struct RunResult {
    int status = -1; // exit status; -1 when killed or not started
    bool timedOut = false;
    std::string out, err;
    std::string all() const { return out + err; }
};

RunResult runProgram(const std::vector<std::string>& argv, const RunOptions& options = {});

// A program on a pseudo-terminal.
class Terminal {
public:
    ~Terminal();
    bool start(const std::vector<std::string>& argv, const std::vector<std::pair<std::string, std::string>>& env);
    void type(const std::string& keys);
    // Waits until `text` shows up after what earlier waits matched; on
    // success the next wait starts after it.
    bool waitFor(const std::string& text, int timeoutMs);
    const std::string& screen() const { return m_screen; }
    // Waits for the program to end; its exit status, or -1.
    int finish(int timeoutMs);

private:
    void readAvailable(int timeoutMs);
    pid_t m_pid = -1;
    int m_fd = -1;
    std::string m_screen;
    size_t m_seen = 0;
};

// Lines of `text`.
std::vector<std::string> linesOf(const std::string& text);

} // namespace dvtest

#endif
