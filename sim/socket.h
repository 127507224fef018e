// The control socket: a UNIX stream socket on which one-line text commands
// arrive (the language of dvsim_control) and one-line replies go back.
// One connection is served at a time; a connection may carry many lines.
#ifndef DVSIM_SOCKET_H
#define DVSIM_SOCKET_H

#include <mutex>
#include <string>
#include <thread>

namespace dvsim {

class ControlSocket {
public:
    // DVSIM_OK, DVSIM_E_ARG, DVSIM_E_STATE (already listening) or DVSIM_E_IO;
    // err says what went wrong.
    int start(const std::string& path, std::string& err);
    void stop(); // joins the thread, removes the socket file
    bool running();

private:
    void run();
    void serve(int fd);

    std::mutex m_mu; // start/stop; never taken by the socket thread
    std::thread m_thread;
    int m_listen = -1;
    int m_wake[2] = {-1, -1}; // a byte in the pipe tells the thread to stop
    std::string m_path;
    bool m_running = false;
};

// Runs one control line and returns the reply line (control.cpp).
int runControl(const std::string& line, std::string& reply);

} // namespace dvsim

#endif
