#include "socket.h"

#include "dvsim.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace dvsim {

namespace {
const int kIdleClientMs = 10000;   // a silent client is dropped after this
const size_t kMaxLine = 4096;
}

int ControlSocket::start(const std::string& path, std::string& err)
{
    std::lock_guard<std::mutex> lk(m_mu);
    if (m_running) {
        err = "already listening on " + m_path;
        return DVSIM_E_STATE;
    }
    sockaddr_un addr{};
    if (path.empty() || path.size() >= sizeof addr.sun_path) {
        err = "socket path empty or too long";
        return DVSIM_E_ARG;
    }
    struct stat st{};
    if (lstat(path.c_str(), &st) == 0) {
        if (!S_ISSOCK(st.st_mode)) {
            err = path + " exists and is not a socket";
            return DVSIM_E_IO;
        }
        unlink(path.c_str()); // left over from an earlier run
    }
    int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        err = std::string("socket: ") + std::strerror(errno);
        return DVSIM_E_IO;
    }
    addr.sun_family = AF_UNIX;
    std::memcpy(addr.sun_path, path.c_str(), path.size() + 1);
    if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || listen(fd, 4) != 0) {
        err = "cannot listen on " + path + ": " + std::strerror(errno);
        close(fd);
        return DVSIM_E_IO;
    }
    if (pipe2(m_wake, O_CLOEXEC) != 0) {
        err = std::string("pipe: ") + std::strerror(errno);
        close(fd);
        unlink(path.c_str());
        return DVSIM_E_IO;
    }
    m_listen = fd;
    m_path = path;
    m_running = true;
    m_thread = std::thread([this] { run(); });
    return DVSIM_OK;
}

void ControlSocket::stop()
{
    std::lock_guard<std::mutex> lk(m_mu);
    if (!m_running)
        return;
    char b = 'x';
    ssize_t n = write(m_wake[1], &b, 1);
    (void)n;
    m_thread.join();
    close(m_listen);
    close(m_wake[0]);
    close(m_wake[1]);
    m_listen = m_wake[0] = m_wake[1] = -1;
    unlink(m_path.c_str());
    m_running = false;
}

bool ControlSocket::running()
{
    std::lock_guard<std::mutex> lk(m_mu);
    return m_running;
}

void ControlSocket::run()
{
    for (;;) {
        pollfd fds[2] = {{m_listen, POLLIN, 0}, {m_wake[0], POLLIN, 0}};
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            return;
        }
        if (fds[1].revents)
            return;
        if (fds[0].revents & POLLIN) {
            int c = accept4(m_listen, nullptr, nullptr, SOCK_CLOEXEC);
            if (c >= 0) {
                serve(c);
                close(c);
            }
        }
    }
}

static bool sendAll(int fd, const std::string& text)
{
    size_t done = 0;
    while (done < text.size()) {
        ssize_t n = send(fd, text.data() + done, text.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

void ControlSocket::serve(int fd)
{
    std::string pending;
    char buf[512];
    bool eof = false;
    while (!eof) {
        pollfd fds[2] = {{fd, POLLIN, 0}, {m_wake[0], POLLIN, 0}};
        int r = poll(fds, 2, kIdleClientMs);
        if (r < 0 && errno == EINTR)
            continue;
        if (r <= 0 || fds[1].revents)
            return;
        ssize_t n = recv(fd, buf, sizeof buf, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            eof = true;
            if (pending.empty())
                return;
            pending += '\n'; // a last line without its newline
        } else {
            pending.append(buf, static_cast<size_t>(n));
        }
        size_t nl;
        while ((nl = pending.find('\n')) != std::string::npos) {
            std::string line = pending.substr(0, nl);
            pending.erase(0, nl + 1);
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            std::string reply;
            runControl(line, reply);
            if (!sendAll(fd, reply + "\n"))
                return;
        }
        if (pending.size() > kMaxLine) {
            sendAll(fd, "error: line too long\n");
            return;
        }
    }
}

} // namespace dvsim
