#include "process.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace dvtest {

namespace {

using Clock = std::chrono::steady_clock;

int msLeft(Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left < 0 ? 0 : static_cast<int>(left);
}

[[noreturn]] void execChild(const std::vector<std::string>& argv,
                            const std::vector<std::pair<std::string, std::string>>& env, const std::string& cwd)
{
    for (const auto& e : env)
        setenv(e.first.c_str(), e.second.c_str(), 1);
    if (!cwd.empty() && chdir(cwd.c_str()) != 0)
        _exit(127);
    std::vector<char*> args;
    for (const std::string& a : argv)
        args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execv(args[0], args.data());
    _exit(127);
}

int exitStatus(int raw)
{
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

} // namespace

RunResult runProgram(const std::vector<std::string>& argv, const RunOptions& options)
{
    RunResult result;
    // Every descriptor is close-on-exec: a test that starts programs from
    // two threads must not pass one child's pipes to another (which would
    // hold them open and keep the first run waiting for its end).
    char inputName[] = "/tmp/dvtest-input.XXXXXX";
    const int input = mkostemp(inputName, O_CLOEXEC);
    if (input < 0)
        return result;
    unlink(inputName);
    if (!options.input.empty() && write(input, options.input.data(), options.input.size()) < 0) {
        close(input);
        return result;
    }
    lseek(input, 0, SEEK_SET);
    int out[2], err[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
        close(input);
        return result;
    }
    const pid_t pid = fork();
    if (pid == 0) {
        dup2(input, STDIN_FILENO);
        dup2(out[1], STDOUT_FILENO);
        dup2(err[1], STDERR_FILENO);
        close(out[0]);
        close(err[0]);
        execChild(argv, options.env, options.cwd);
    }
    close(input);
    close(out[1]);
    close(err[1]);
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(options.timeoutMs);
    struct pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
    std::string* into[2] = {&result.out, &result.err};
    int open = 2;
    while (open > 0) {
        const int ready = poll(fds, 2, msLeft(deadline));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0) {
            result.timedOut = true;
            kill(pid, SIGKILL);
            break;
        }
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            char buffer[4096];
            const ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
            if (n > 0) {
                into[i]->append(buffer, static_cast<size_t>(n));
            } else {
                close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    for (auto& fd : fds)
        if (fd.fd >= 0)
            close(fd.fd);
    int raw = 0;
    if (pid > 0 && waitpid(pid, &raw, 0) == pid && !result.timedOut)
        result.status = exitStatus(raw);
    return result;
}

Terminal::~Terminal()
{
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
    }
    if (m_fd >= 0)
        close(m_fd);
}

bool Terminal::start(const std::vector<std::string>& argv,
                     const std::vector<std::pair<std::string, std::string>>& env)
{
    struct winsize size = {};
    size.ws_row = 40;
    size.ws_col = 200;
    m_pid = forkpty(&m_fd, nullptr, nullptr, &size);
    if (m_pid == 0)
        execChild(argv, env, "");
    return m_pid > 0;
}

void Terminal::type(const std::string& keys)
{
    if (write(m_fd, keys.data(), keys.size()) < 0) {
    }
}

void Terminal::readAvailable(int timeoutMs)
{
    struct pollfd fd = {m_fd, POLLIN, 0};
    if (poll(&fd, 1, timeoutMs) <= 0)
        return;
    char buffer[4096];
    const ssize_t n = read(m_fd, buffer, sizeof buffer);
    if (n > 0)
        m_screen.append(buffer, static_cast<size_t>(n));
}

bool Terminal::waitFor(const std::string& text, int timeoutMs)
{
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    for (;;) {
        const size_t at = m_screen.find(text, m_seen);
        if (at != std::string::npos) {
            m_seen = at + text.size();
            return true;
        }
        if (msLeft(deadline) == 0)
            return false;
        readAvailable(std::min(msLeft(deadline), 100));
    }
}

int Terminal::finish(int timeoutMs)
{
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
    int raw = 0;
    while (m_pid > 0) {
        readAvailable(10); // keeps the terminal drained
        const pid_t done = waitpid(m_pid, &raw, WNOHANG);
        if (done == m_pid) {
            m_pid = -1;
            return exitStatus(raw);
        }
        if (msLeft(deadline) == 0)
            return -1;
    }
    return -1;
}

std::vector<std::string> linesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line))
        lines.push_back(line);
    return lines;
}

} // namespace dvtest
