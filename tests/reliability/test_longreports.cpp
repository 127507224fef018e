// Reports longer than the simulator carries (it takes up to 255 bytes), up
// to a mebibyte, delivered by the stand-in communication library on its own
// thread, each from a heap block of exactly its size. This program does not
// link the simulator: the library finds the stand-in by its name.
#include "dvapi.h"
#include "fakelinkora.h"
#include "recorder.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <ctime>
#include <functional>
#include <set>
#include <thread>
#include <unistd.h>

using namespace dvtest;

namespace {

std::string logName(const char* base)
{
    static const char* const days[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    return std::string(base) + "_" + days[local.tm_wday] + ".log";
}

std::string padded(std::string text, size_t size, char fill)
{
    text.resize(size, fill);
    return text;
}

class LongReportTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        setEnv("DVLOGS", logs.path().c_str());
        setEnv("DVCONFIG", config.path().c_str());
        ASSERT_EQ(chdir(logs.path().c_str()), 0);
        Recorder::instance().clear();
        ASSERT_TRUE(lib.load(libraryPath()));
        ASSERT_EQ(lib.api().registerEvents23DV(&Recorder::status, &Recorder::error, &Recorder::level,
                                               &Recorder::warning, &Recorder::session, msg),
                  0);
        char port[] = "Type:RS232;Name:stand-in";
        char settings[] = "ForwardCallbackChangeOnly:0";
        ASSERT_EQ(lib.api().initDV(port, settings, msg), 0) << msg;
        ASSERT_EQ(fakelink_link_open(), 1);
    }
    void TearDown() override
    {
        lib.unload();
        if (chdir("/tmp") != 0) {
        }
    }

    void deliver(const std::string& report) { ASSERT_EQ(fakelink_deliver(report.data(), report.size()), 0); }
    std::string logic() const { return logs.file(logName("dvlogic")); }
    std::vector<Event> events(const char* kind) const { return Recorder::instance().of(kind); }

    TempDir logs, config;
    Library lib;
    char msg[DV_MESSAGE_SIZE] = "";
};

TEST_F(LongReportTest, EveryKindUpToAMebibyte)
{
    for (size_t size : {256u, 4096u, 65536u, 1u << 20}) {
        Recorder::instance().clear();
        const std::string status = padded("a0000123401", size, 'T');
        const std::string level = padded("b0000000011" "05 10 EUR       ", size, 'L');
        const std::string session = padded("b0000000001" "CR/RF00012000", size, 'S');
        const std::string error = padded("b0000000021" "NOTE JAM      07", size, 'E');
        const std::string rest = padded("c0000050011", size, 'C');
        const std::string capabilities = padded("xDRAVIK-SIM-0000010102ABCDEFGH1234X", size, 'X');
        const std::string unknown = padded("z", size, 'Z');
        const std::string malformed = padded("a00001x", size, '?');
        for (const std::string* r : {&status, &level, &session, &error, &rest, &capabilities, &unknown, &malformed})
            deliver(*r);
        deliver("a0000000001");
        ASSERT_EQ(fakelink_wait_idle(60000), 0);

        // Every event, its texts cut to the sizes the header gives them.
        const std::vector<Event> statuses = events("status");
        ASSERT_GE(statuses.size(), 2u) << size;
        EXPECT_EQ(statuses[0].str(), "status 1234 0 1") << size;
        ASSERT_EQ(events("level").size(), 1u) << size;
        EXPECT_EQ(events("level")[0].texts[0], level.substr(11, DV_LEVEL_EXTINFO_SIZE - 1)) << size;
        ASSERT_EQ(events("warning").size(), 1u) << size;
        EXPECT_EQ(events("warning")[0].texts[2], "10 Low (5 Left)") << size;
        ASSERT_EQ(events("session").size(), 1u) << size;
        EXPECT_EQ(events("session")[0].str(), "session 3 12000 0 [" + session.substr(11, 19) + "]") << size;
        ASSERT_EQ(events("error").size(), 1u) << size;
        EXPECT_EQ(events("error")[0].a, 7) << size;

        // Reports are logged whole, the unreadable ones as errors too.
        EXPECT_TRUE(hasLine(logic(), "<- " + status)) << size;
        EXPECT_TRUE(hasLine(logic(), "<- " + capabilities)) << size;
        EXPECT_TRUE(hasLine(logic(), "!! " + unknown)) << size;
        EXPECT_TRUE(hasLine(logic(), "!! " + malformed)) << size;
    }
    // The last report counts: the device is open again.
    int open = -1;
    EXPECT_EQ(lib.api().isOpenDV(&open, msg), 0);
    EXPECT_EQ(open, 1);
}

TEST_F(LongReportTest, WhileTheTillCalls)
{
    std::atomic<bool> delivering{true};
    std::thread device([&] {
        for (int i = 0; i < 300; ++i) {
            const size_t size = 1000 + static_cast<size_t>(i) * 211 % 60000;
            const char* head = i % 3 == 0 ? "a0000000001" : i % 3 == 1 ? "b0000000011" "05 10 EUR       " : "zz";
            const std::string report = padded(head, size, static_cast<char>('A' + i % 26));
            fakelink_deliver(report.data(), report.size());
            if (i % 20 == 0)
                fakelink_wait_idle(10000);
        }
        fakelink_deliver("a0000000001", 11);
        fakelink_wait_idle(60000);
        delivering = false;
    });
    const DvApi& dv = lib.api();
    char settings[] = "LoggEveryCallback:1";
    int calls = 0, wrong = 0;
    while (delivering.load()) {
        int open = -1, level = -1;
        char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], info[DV_INFO_INFO_SIZE];
        const std::vector<std::pair<short, std::set<short>>> results = {
            {dv.isOpenDV(&open, msg), {0}},
            {dv.infoDV(&level, commands, master, info, msg), {0, 5}},
            {dv.changeSettingsDV(settings, 1, msg), {0}},
            {dv.askPayoutDV(0, msg), {0, 1, 2, 5, 12}},
            {dv.enablePayinDV(msg), {1, 2, 5, 12}}, // never confirmed a capability query
            {dv.resetDV(msg), {0, 1}},
        };
        for (const auto& r : results)
            wrong += r.second.count(r.first) ? 0 : 1;
        calls += 6;
    }
    device.join();
    EXPECT_EQ(wrong, 0) << "of " << calls;
    EXPECT_GT(calls, 0);
    EXPECT_EQ(fakelink_delivered(), 301);
    int open = -1;
    EXPECT_EQ(dv.isOpenDV(&open, msg), 0);
    EXPECT_EQ(open, 1);
    EXPECT_GE(events("level").size(), 90u);
}

} // namespace
