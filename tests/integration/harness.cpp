#include "harness.h"

#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <unistd.h>

namespace dvtest {

namespace {
std::vector<std::string> simLog(long (*count)(), long (*at)(size_t, char*, size_t))
{
    std::vector<std::string> out;
    const long n = count();
    for (long i = 0; i < n; ++i) {
        char buffer[512];
        at(static_cast<size_t>(i), buffer, sizeof buffer);
        std::string text = buffer;
        for (char& c : text)
            if (c == 0x1C)
                c = '|';
        out.push_back(text);
    }
    return out;
}
} // namespace

std::vector<std::string> simCommands()
{
    return simLog(&dvsim_command_count, &dvsim_command_at);
}

std::vector<std::string> simReports()
{
    return simLog(&dvsim_report_count, &dvsim_report_at);
}

std::string IntegrationTest::logName(const char* base)
{
    static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    return std::string(base) + "_" + days[local.tm_wday] + ".log";
}

std::string IntegrationTest::errorLog() const
{
    static const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                         "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    return logs.file(std::string("dverror_") + months[local.tm_mon] + ".log");
}

void IntegrationTest::SetUp()
{
    setEnv("DVLOGS", logs.path().c_str());
    setEnv("DVCONFIG", config.path().c_str());
    ASSERT_EQ(chdir(cwd.path().c_str()), 0);
    Recorder::instance().clear();
    dvsim_reset_model();
    dvsim_clear_logs();
    ASSERT_TRUE(lib.load(libraryPath())) << dlerror();
}

void IntegrationTest::TearDown()
{
    lib.unload();
    if (chdir("/tmp") != 0) {
    }
}

short IntegrationTest::init(const std::string& settings)
{
    char registration[DV_MESSAGE_SIZE];
    EXPECT_EQ(dv().registerEvents23DV(&Recorder::status, &Recorder::error, &Recorder::level, &Recorder::warning,
                                      &Recorder::session, registration),
              0);
    Text port("Type:RS232;Name:sim");
    Text initSettings(settings);
    return dv().initDV(port, initSettings, msg);
}

void IntegrationTest::initAndLogin(const std::string& settings)
{
    ASSERT_EQ(init(settings), 0) << msg;
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    settle();
}

void IntegrationTest::writeConfig(const std::string& content)
{
    writeFile(config.file("dvlogics.ini"), content);
}

void IntegrationTest::settle(int timeoutMs)
{
    ASSERT_EQ(dvsim_wait_idle(timeoutMs), DVSIM_OK);
}

} // namespace dvtest
