// The control socket, the control language and the dvsim client program.
#include "simtest.h"

#include <cstdio>
#include <cstdlib>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace simtest;

namespace {

std::string socketPath()
{
    return "/tmp/dvsim-sock-" + std::to_string(getpid());
}

// One connection; each call sends a line and reads the reply line.
class Client {
public:
    explicit Client(const std::string& path)
    {
        m_fd = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un addr{};
        addr.sun_family = AF_UNIX;
        std::snprintf(addr.sun_path, sizeof addr.sun_path, "%s", path.c_str());
        if (connect(m_fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) {
            close(m_fd);
            m_fd = -1;
        }
    }
    ~Client()
    {
        if (m_fd >= 0)
            close(m_fd);
    }
    bool connected() const { return m_fd >= 0; }
    std::string ask(const std::string& line)
    {
        std::string out = line + "\n";
        if (send(m_fd, out.data(), out.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(out.size()))
            return "<send failed>";
        std::string reply;
        char ch;
        while (recv(m_fd, &ch, 1, 0) == 1 && ch != '\n')
            reply += ch;
        return reply;
    }

private:
    int m_fd = -1;
};

// Runs the dvsim program; returns its exit status and output.
int runTool(const std::string& args, std::string& output, const std::string& input = std::string())
{
    std::string command = std::string(DVSIM_TOOL_FILE) + " " + args + " 2>&1";
    if (!input.empty()) {
        std::string file = socketPath() + ".in";
        FILE* f = std::fopen(file.c_str(), "w");
        if (!f)
            return -1;
        std::fputs(input.c_str(), f);
        std::fclose(f);
        command += " < " + file;
    }
    FILE* p = popen(command.c_str(), "r");
    if (!p)
        return -1;
    char buf[512];
    output.clear();
    while (std::fgets(buf, sizeof buf, p))
        output += buf;
    int st = pclose(p);
    return WIFEXITED(st) ? WEXITSTATUS(st) : -1;
}

} // namespace

class SimSocket : public Sim {
protected:
    void SetUp() override
    {
        Sim::SetUp();
        ASSERT_EQ(DVSIM_OK, dvsim_socket_start(socketPath().c_str()));
    }
    void TearDown() override
    {
        dvsim_socket_stop();
        Sim::TearDown();
    }
};

TEST_F(SimSocket, CommandsDriveTheDevice)
{
    Client c(socketPath());
    ASSERT_TRUE(c.connected());
    EXPECT_EQ("ok link open session closed status 3 mode 0 paid 0 fault 0 legacy off pending 0", c.ask("status"));
    EXPECT_EQ("error: insert 2000: not possible in this state", c.ask("insert 2000"));
    converse(cmd({"a", "01", "02", "0905"}));
    EXPECT_EQ("ok inserted", c.ask("insert 2000 500"));
    EXPECT_EQ("ok idle", c.ask("idle"));
    EXPECT_EQ("ok link open session open status 0 mode 1 paid 2500 fault 0 legacy off pending 0", c.ask("status"));
    std::string inv = c.ask("inventory");
    EXPECT_EQ(0u, inv.find("ok EUR decimals 2 | 5000 x10 low 2 high 50 | 2000 x21 ")) << inv;
    EXPECT_EQ("ok fault 7 NOTE JAM", c.ask("jam"));
    EXPECT_EQ("ok idle", c.ask("idle"));
    EXPECT_EQ(7, status().fault_code);
    EXPECT_EQ("ok fault cleared", c.ask("clear"));
    EXPECT_EQ("ok", c.ask("count 500 3"));
    EXPECT_EQ(3, countOf(500));
    EXPECT_EQ("ok queued", c.ask("report zhello world"));
    EXPECT_EQ("ok idle", c.ask("idle"));
    EXPECT_EQ("zhello world", reports().back());
    EXPECT_EQ("ok a0000250001 ; zhello world", c.ask("reports 2"));
    std::string cmds = c.ask("commands 1");
    EXPECT_EQ("ok a|01|02|0905", cmds);
}

TEST_F(SimSocket, BadCommandsGetAClearErrorLine)
{
    Client c(socketPath());
    ASSERT_TRUE(c.connected());
    struct Case {
        const char* line;
        const char* reply;
    } cases[] = {
        {"frobnicate", "error: unknown command 'frobnicate' (try 'help')"},
        {"", "error: empty command (try 'help')"},
        {"insert", "error: wrong arguments for 'insert' (try 'help')"},
        {"insert lots", "error: bad value 'lots'"},
        {"insert 7", "error: insert 7: not possible in this state"},
        {"count 7 1", "error: not found"},
        {"answer maybe", "error: expected: answer busy|error|closed|garbage|empty|normal [N]"},
        {"timing warp 5", "error: wrong arguments for 'timing' (try 'help')"},
        {"load /nonexistent/x.dvsim", "error: cannot read scenario file /nonexistent/x.dvsim"},
        {"clear", "error: not possible in this state"},
        {"%s%n%x", "error: unknown command '%s%n%x' (try 'help')"},
    };
    for (const Case& k : cases)
        EXPECT_EQ(k.reply, c.ask(k.line)) << k.line;
    EXPECT_EQ("ok pong", c.ask("ping")); // the connection survives errors
    EXPECT_EQ(0u, c.ask("help").find("ok commands:"));
}

TEST_F(SimSocket, ToolSendsOneCommandAndReportsTheOutcome)
{
    std::string out;
    EXPECT_EQ(0, runTool("-s " + socketPath() + " status", out));
    EXPECT_EQ(0u, out.find("ok link open session closed")) << out;
    EXPECT_EQ(1, runTool("-s " + socketPath() + " bogus command", out));
    EXPECT_EQ("error: unknown command 'bogus' (try 'help')\n", out);
    EXPECT_EQ(0, runTool("-s " + socketPath() + " fault 3 NOTE FULL", out));
    EXPECT_EQ(3, status().fault_code);
    EXPECT_EQ(2, runTool("-s /nonexistent/socket status", out));
    EXPECT_NE(std::string::npos, out.find("cannot connect")) << out;
    EXPECT_EQ(2, runTool("", out));
    EXPECT_EQ(0, runTool("-s " + socketPath() + " -", out, "ping\n# comment\nclear\nstatus\n"));
    std::remove((socketPath() + ".in").c_str());
    EXPECT_EQ(0u, out.find("ok pong\nok fault cleared\nok link open")) << out;
}

TEST(SimSocketEnv, LinkOpensAndClosesTheNamedSocket)
{
    std::string path = socketPath() + "-env";
    setenv("DVSIM_SOCKET", path.c_str(), 1);
    ASSERT_EQ(0, openLink());
    struct stat st{};
    ASSERT_EQ(0, lstat(path.c_str(), &st));
    EXPECT_TRUE(S_ISSOCK(st.st_mode));
    {
        Client c(path);
        EXPECT_EQ("ok pong", c.ask("ping"));
    }
    EXPECT_EQ(DVSIM_E_STATE, dvsim_socket_start(path.c_str()));
    dv_dini();
    EXPECT_NE(0, lstat(path.c_str(), &st));

    // a path that cannot be a socket makes the link refuse
    setenv("DVSIM_SOCKET", "/nonexistent/dir/sock", 1);
    std::string text;
    EXPECT_EQ(3, openLink(&text));
    EXPECT_EQ(0u, text.find("control socket: ")) << text;
    EXPECT_EQ(0, status().link_open);
}
