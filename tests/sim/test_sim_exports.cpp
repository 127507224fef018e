// The simulator exports the three entry points and the dvsim_ functions
// declared in dvsim.h, and nothing else; its SONAME is liblinkora.so.1.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>

extern "C" int dvsim_header_is_c(void);

namespace {

std::string run(const std::string& command)
{
    std::string out;
    FILE* p = popen(command.c_str(), "r");
    if (!p)
        return out;
    char buf[512];
    while (std::fgets(buf, sizeof buf, p))
        out += buf;
    pclose(p);
    return out;
}

} // namespace

TEST(SimExports, OnlyTheEntryPointsAndTheControlInterface)
{
    const std::set<std::string> expected = {
        "dv_initiate2", "dv_002", "dv_dini",
        "dvsim_result_text", "dvsim_get_status", "dvsim_insert", "dvsim_get_inventory", "dvsim_set_inventory",
        "dvsim_set_count", "dvsim_get_count", "dvsim_set_thresholds", "dvsim_cash_session", "dvsim_fault",
        "dvsim_jam", "dvsim_arm_fault", "dvsim_clear_fault", "dvsim_force_answer", "dvsim_drop_reports",
        "dvsim_delay_next_report", "dvsim_garble_next_report", "dvsim_inject_report", "dvsim_wait_idle",
        "dvsim_command_count", "dvsim_command_at", "dvsim_report_count", "dvsim_report_at", "dvsim_clear_logs",
        "dvsim_set_profile", "dvsim_set_timing", "dvsim_get_timing", "dvsim_set_legacy", "dvsim_seed",
        "dvsim_clock_manual", "dvsim_clock_advance", "dvsim_clock_now", "dvsim_reset_model",
        "dvsim_load_scenario", "dvsim_load_scenario_text", "dvsim_control", "dvsim_socket_start",
        "dvsim_socket_stop",
    };
    std::string out = run(std::string("nm -D --defined-only ") + DVSIM_LIBRARY_FILE);
    ASSERT_FALSE(out.empty());
    std::set<std::string> got;
    size_t pos = 0;
    while (pos < out.size()) {
        size_t end = out.find('\n', pos);
        std::string line = out.substr(pos, end - pos);
        pos = end == std::string::npos ? out.size() : end + 1;
        size_t sp = line.rfind(' ');
        if (sp == std::string::npos || sp < 2)
            continue;
        char type = line[sp - 1];
        if (type == 'T' || type == 'D' || type == 'B' || type == 'W' || type == 'V' || type == 'R')
            got.insert(line.substr(sp + 1));
    }
    EXPECT_EQ(expected, got);
}

TEST(SimExports, HeaderIsValidC)
{
    EXPECT_GT(dvsim_header_is_c(), 0); // compiled from a C file
}

TEST(SimExports, SonameIsTheCommunicationLibrary)
{
    std::string out = run(std::string("objdump -p ") + DVSIM_LIBRARY_FILE + " | grep SONAME");
    EXPECT_NE(std::string::npos, out.find("liblinkora.so.1")) << out;
    EXPECT_NE(std::string::npos, std::string(DVSIM_LIBRARY_FILE).rfind("/liblinkora.so.1"));
}
