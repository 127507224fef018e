// dvcli: drives libdvlogics by hand, by script, or through a demo sale.
#include "device.h"
#include "output.h"
#include "programs.h"

#include "dvsim.h"

#include <cstdlib>
#include <cstring>
#include <exception>
#include <string>
#include <unistd.h>
#include <vector>

#ifndef DVCLI_VERSION
#define DVCLI_VERSION "?"
#endif

namespace {

const char kUsage[] =
    "usage: dvcli [OPTION...]              the interactive console\n"
    "       dvcli [OPTION...] demo         a whole cash sale against the simulator\n"
    "       dvcli [OPTION...] run FILE     a script ('-': standard input)\n"
    "\n"
    "options:\n"
    "  --device sim        the simulator beside dvcli (the default)\n"
    "  --device system     liblinkora.so.1 as the library finds it (a real device)\n"
    "  --device PATH       this liblinkora.so.1\n"
    "  --port NAME         port name for initDV (default: sim); a text with ':' is the\n"
    "                      whole port settings text, e.g. \"Type:RS232;Name:/dev/ttyS0\"\n"
    "  --realistic         the simulator's realistic timing (default: fast)\n"
    "  --color, --no-color colour on or off (default: on when output is a terminal)\n"
    "  -q, --quiet         print no calls and events, only failures and the result\n"
    "  --version, -h, --help\n"
    "\n"
    "exit status: 0 done (demo and scripts: as expected), 1 something answered\n"
    "otherwise, 2 bad usage, a bad script line, or no device.\n";

struct Options {
    std::string command = "console";
    std::string file;
    dvcli::Device::Choice device = dvcli::Device::Choice::Simulator;
    std::string devicePath;
    std::string port = "sim";
    bool realistic = false;
    int colour = -1; // -1: when standard output is a terminal
    bool quiet = false;
};

// Returns -1 to go on, or an exit status.
int parse(int argc, char** argv, Options& o)
{
    dvcli::Output& out = dvcli::Output::instance();
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](std::string& into) {
            if (i + 1 >= argc) {
                out.errorLine("dvcli: " + a + " needs a value");
                return false;
            }
            into = argv[++i];
            return true;
        };
        if (a == "-h" || a == "--help") {
            out.line(std::string(kUsage, sizeof kUsage - 2));
            return 0;
        } else if (a == "--version") {
            out.line(std::string("dvcli ") + DVCLI_VERSION);
            return 0;
        } else if (a == "--device") {
            std::string d;
            if (!value(d))
                return 2;
            if (d == "sim" || d == "simulator") {
                o.device = dvcli::Device::Choice::Simulator;
            } else if (d == "system") {
                o.device = dvcli::Device::Choice::System;
            } else {
                o.device = dvcli::Device::Choice::File;
                o.devicePath = d;
            }
        } else if (a == "--port") {
            if (!value(o.port))
                return 2;
        } else if (a == "--realistic") {
            o.realistic = true;
        } else if (a == "--color" || a == "--colour") {
            o.colour = 1;
        } else if (a == "--no-color" || a == "--no-colour") {
            o.colour = 0;
        } else if (a == "-q" || a == "--quiet") {
            o.quiet = true;
        } else if (a.size() > 1 && a[0] == '-' && a != "-") {
            out.errorLine("dvcli: unknown option " + a + " (try --help)");
            return 2;
        } else {
            words.push_back(a);
        }
    }
    if (!words.empty()) {
        o.command = words[0];
        if (o.command == "run" && words.size() == 2) {
            o.file = words[1];
        } else if (!((o.command == "demo" || o.command == "console") && words.size() == 1)) {
            out.errorLine("dvcli: unexpected '" + words.back() + "'\n" + std::string(kUsage, sizeof kUsage - 1));
            return 2;
        }
    }
    return -1;
}

bool colourWanted(int setting)
{
    if (setting >= 0)
        return setting == 1;
    const char* term = std::getenv("TERM");
    return isatty(STDOUT_FILENO) && !std::getenv("NO_COLOR") && !(term && std::strcmp(term, "dumb") == 0);
}

int run(int argc, char** argv)
{
    Options o;
    const int status = parse(argc, argv, o);
    if (status >= 0)
        return status;
    dvcli::Output& out = dvcli::Output::instance();
    out.setColour(colourWanted(o.colour));
    out.setQuiet(o.quiet);

    dvcli::Device device;
    std::string error;
    if (!device.load(o.device, o.devicePath, error)) {
        out.errorLine("dvcli: " + error);
        return 2;
    }
    if (o.realistic && device.simulator())
        device.sim().setProfile(DVSIM_PROFILE_REALISTIC);
    const std::string port = o.port.find(':') != std::string::npos ? o.port : "Type:RS232;Name:" + o.port;

    if (o.command == "demo")
        return dvcli::runDemo(device, port);
    if (o.command == "run")
        return dvcli::runScript(device, port, o.file);
    return dvcli::runConsole(device, port);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& e) {
        dvcli::Output::instance().errorLine(std::string("dvcli: ") + e.what());
    } catch (...) {
        dvcli::Output::instance().errorLine("dvcli: unexpected failure");
    }
    return 2;
}
