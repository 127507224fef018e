// Integration tests: the real libdvlogics.so against the device simulator.
//
// The test program links the simulator (liblinkora.so.1) directly, so the
// library's dlopen("liblinkora.so.1") finds that same copy and the test can
// steer the device through dvsim.h. The library itself is loaded with dlopen
// in SetUp, after the environment (DVLOGS, DVCONFIG, the current directory)
// has been prepared, and unloaded in TearDown. Each case runs in its own
// process.
#ifndef DV_TESTS_HARNESS_H
#define DV_TESTS_HARNESS_H

#include "dvapi.h"
#include "dvsim.h"
#include "recorder.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace dvtest {

// Commands the simulator received, with the separator 0x1C shown as '|'.
std::vector<std::string> simCommands();
// Reports the simulator delivered.
std::vector<std::string> simReports();

class IntegrationTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    const DvApi& dv() const { return lib.api(); }

    // Registers all five callbacks and opens the session on the simulator.
    // `settings` is the initSettings text.
    short init(const std::string& settings = "");
    // init, then login 1 1 (expects both to succeed).
    void initAndLogin(const std::string& settings = "");
    // Writes dvlogics.ini into the DVCONFIG directory.
    void writeConfig(const std::string& content);
    // Waits until the simulator has delivered everything.
    void settle(int timeoutMs = 5000);

    std::string apiLog() const { return logs.file(logName("dvapi")); }
    std::string logicLog() const { return logs.file(logName("dvlogic")); }
    std::string errorLog() const;

    std::vector<Event> events(const char* kind) const { return Recorder::instance().of(kind); }

    TempDir logs, config, cwd;
    Library lib;
    char msg[DV_MESSAGE_SIZE] = "";

private:
    static std::string logName(const char* base);
};

} // namespace dvtest

#endif
