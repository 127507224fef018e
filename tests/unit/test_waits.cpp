// The session's wait loops: 10 ms steps, sleep first, the time-out rule and
// the error test.
#include "reportfixture.h"

#include "session/cdvlogics.h"

#include <chrono>
#include <thread>

namespace {

using WaitTest = ReportTest;
using Clock = std::chrono::steady_clock;

long msSince(Clock::time_point start)
{
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

TEST_F(WaitTest, ConditionThatHoldsReturnsAfterOneStep)
{
    g_nLastCallbackStatus = 0;
    const auto start = Clock::now();
    EXPECT_EQ(dvLogics.waitForStatus(0, 5000), 0);
    EXPECT_GE(msSince(start), 10);
    EXPECT_EQ(dvLogics.waitForStatus(1, 0, 5000), 0);
}

TEST_F(WaitTest, ConditionMetExactlyAtTheTimeOutStillTimesOut)
{
    g_nLastCallbackStatus = 1;
    EXPECT_EQ(dvLogics.waitForStatus(1, 10), 6);
    EXPECT_EQ(dvLogics.waitForStatus(1, 20), 0);
}

TEST_F(WaitTest, TimeOutWhenNothingComes)
{
    g_nLastCallbackStatus = 3;
    EXPECT_EQ(dvLogics.waitForStatus(0, 50), 6);
    EXPECT_EQ(dvLogics.waitForStatus(0, 1, 50), 6);
    EXPECT_EQ(dvLogics.waitForCallback("c", 50), 6);
    EXPECT_EQ(dvLogics.waitForMode(1, 50, false), 6);
}

TEST_F(WaitTest, ReportArrivingDuringTheWaitEndsIt)
{
    g_nLastCallbackStatus = 3;
    std::thread device([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
        g_nLastCallbackStatus = 1;
    });
    EXPECT_EQ(dvLogics.waitForStatus(1, 5000), 0);
    device.join();
}

TEST_F(WaitTest, DeviceErrorEndsEveryWaitButAModeWaitThatIgnoresIt)
{
    g_nLastCallbackStatus = 2;
    g_strLastCallbackCmd.set("x");
    g_nLastCallbackMode = 1;
    EXPECT_EQ(dvLogics.waitForStatus(0, 5000), 2);
    EXPECT_EQ(dvLogics.waitForStatus(0, 3, 5000), 2);
    EXPECT_EQ(dvLogics.waitForCallback("x", 5000), 2);
    EXPECT_TRUE(g_strLastCallbackCmd.equals("x")); // the error return clears nothing
    EXPECT_EQ(dvLogics.waitForMode(1, 5000, false), 2);
    EXPECT_EQ(g_nLastCallbackMode.load(), 1);
    EXPECT_EQ(dvLogics.waitForMode(1, 5000, true), 0);
    const std::vector<std::string> expected = {
        "!! CDVLogics::waitForStatus: Error entered", "!! CDVLogics::waitForStatus: Error entered",
        "!! CDVLogics::waitForCallback: Error entered", "!! CDVLogics::waitForMode: Error entered"};
    EXPECT_EQ(errors(), expected);
}

TEST_F(WaitTest, CallbackAndModeWaitsClearWhatTheyWaitedFor)
{
    g_nLastCallbackStatus = 0;
    g_strLastCallbackCmd.set("c");
    EXPECT_EQ(dvLogics.waitForCallback("c", 100), 0);
    EXPECT_TRUE(g_strLastCallbackCmd.equals(""));
    g_strLastCallbackCmd.set("b");
    EXPECT_EQ(dvLogics.waitForCallback("c", 30), 6);
    EXPECT_TRUE(g_strLastCallbackCmd.equals(""));

    g_nLastCallbackMode = 1;
    EXPECT_EQ(dvLogics.waitForMode(1, 100, false), 0);
    EXPECT_EQ(g_nLastCallbackMode.load(), -1);
    g_nLastCallbackMode = 0;
    EXPECT_EQ(dvLogics.waitForMode(1, 30, false), 6);
    EXPECT_EQ(g_nLastCallbackMode.load(), -1);
}

} // namespace
