// Helpers for the simulator tests: a recording report callback, command
// building and conversations. Each test binary links liblinkora.so.1.
#ifndef DV_TESTS_SIMTEST_H
#define DV_TESTS_SIMTEST_H

#include "dvsim.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <initializer_list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace simtest {

const char FS = '\x1c';

// What the recording callback saw.
struct Received {
    std::mutex mu;
    std::vector<std::string> reports;
    std::vector<std::thread::id> threads;
    std::function<void(const std::string&)> hook; // runs inside the callback, after recording
};

inline Received& received()
{
    static Received r;
    return r;
}

inline bool recordReport(unsigned char* text)
{
    Received& r = received();
    std::string s(reinterpret_cast<char*>(text));
    std::function<void(const std::string&)> hook;
    {
        std::lock_guard<std::mutex> lk(r.mu);
        r.reports.push_back(s);
        r.threads.push_back(std::this_thread::get_id());
        hook = r.hook;
    }
    if (hook)
        hook(s);
    return true;
}

inline std::vector<std::string> reports()
{
    std::lock_guard<std::mutex> lk(received().mu);
    return received().reports;
}

inline void clearReports()
{
    std::lock_guard<std::mutex> lk(received().mu);
    received().reports.clear();
    received().threads.clear();
}

inline void setHook(std::function<void(const std::string&)> hook)
{
    std::lock_guard<std::mutex> lk(received().mu);
    received().hook = std::move(hook);
}

// "a" FS "01" FS "02" ... from the fields.
inline std::string cmd(std::initializer_list<std::string> fields)
{
    std::string out;
    for (const std::string& f : fields)
        out += (out.empty() ? "" : std::string(1, FS)) + f;
    return out;
}

inline std::string send(const std::string& req)
{
    std::vector<char> r(req.begin(), req.end());
    r.push_back('\0');
    char ans[64];
    std::memset(ans, 'Z', sizeof ans);
    dv_002(r.data(), ans);
    return ans;
}

inline char code(const std::string& answer)
{
    return answer.size() > 2 ? answer[2] : '\0';
}

inline short openLink(std::string* text = nullptr)
{
    char ans[64] = "";
    short result = -1;
    char port[] = "SIM0";
    dv_initiate2(recordReport, port, ans, &result);
    if (text)
        *text = ans;
    return result;
}

// Sends a command, waits until the device is idle, returns the reports it caused.
inline std::vector<std::string> converse(const std::string& req, std::string* answer = nullptr)
{
    EXPECT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    clearReports();
    std::string a = send(req);
    if (answer)
        *answer = a;
    EXPECT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    return reports();
}

// Same for a control action.
inline std::vector<std::string> after(const std::function<void()>& action)
{
    EXPECT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    clearReports();
    action();
    EXPECT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    return reports();
}

inline std::vector<std::string> commandLog()
{
    std::vector<std::string> out;
    for (long i = 0; i < dvsim_command_count(); ++i) {
        char buf[300];
        dvsim_command_at(static_cast<size_t>(i), buf, sizeof buf);
        out.push_back(buf);
    }
    return out;
}

inline std::vector<std::string> reportLog()
{
    std::vector<std::string> out;
    for (long i = 0; i < dvsim_report_count(); ++i) {
        char buf[300];
        dvsim_report_at(static_cast<size_t>(i), buf, sizeof buf);
        out.push_back(buf);
    }
    return out;
}

inline dvsim_status status()
{
    dvsim_status s{};
    EXPECT_EQ(DVSIM_OK, dvsim_get_status(&s));
    return s;
}

inline long countOf(long value)
{
    long n = -1;
    EXPECT_EQ(DVSIM_OK, dvsim_get_count(value, &n));
    return n;
}

// Fixture: a fresh device and an open link; logged in when login is true.
class Sim : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvsim_load_scenario_text("", nullptr, 0); // the built-in configuration
        dvsim_clear_logs();
        clearReports();
        setHook(nullptr);
        ASSERT_EQ(0, openLink());
    }
    void TearDown() override
    {
        setHook(nullptr);
        dv_dini();
    }
    void login()
    {
        ASSERT_EQ('0', code(send(cmd({"a", "01", "02", "0905"}))));
        ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    }
    void pay(std::initializer_list<long> values)
    {
        for (long v : values)
            ASSERT_EQ(DVSIM_OK, dvsim_insert(v)) << v;
        ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    }
};

} // namespace simtest

#endif
