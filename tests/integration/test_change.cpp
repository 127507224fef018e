// Change, regret and reset.
#include "harness.h"

#include <chrono>

using namespace dvtest;

namespace {

enum Start { LOGGED_OUT, ENABLED, DISABLED, DEPOSITED };

class ChangeTest : public IntegrationTest {
protected:
    void reach(Start start, const std::string& settings = "")
    {
        ASSERT_EQ(init(settings), 0) << msg;
        if (start == LOGGED_OUT)
            return;
        ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
        ASSERT_EQ(dv().enablePayinDV(msg), 0) << msg;
        ASSERT_EQ(dvsim_insert(1000), DVSIM_OK);
        settle();
        if (start == ENABLED)
            return;
        ASSERT_EQ(dv().disablePayinDV(msg), 0) << msg;
        if (start == DISABLED)
            return;
        ASSERT_EQ(dv().depositDV(Text(""), msg), 0) << msg;
        settle();
    }
    short run(const std::string& op)
    {
        if (op == "change")
            return dv().changeDV(msg);
        if (op == "regret0")
            return dv().regretDV(0, msg);
        if (op == "regret1")
            return dv().regretDV(1, msg);
        return dv().resetDV(msg);
    }
};

TEST_F(ChangeTest, StateTable)
{
    const struct {
        Start start;
        const char* op;
        short status;
        const char* command;
    } cases[] = {
        {LOGGED_OUT, "change", 5, nullptr},   {LOGGED_OUT, "regret0", 5, nullptr},
        {LOGGED_OUT, "regret1", 5, nullptr},  {LOGGED_OUT, "reset", 0, "e|3"},
        {ENABLED, "change", 0, "e|1"},        {ENABLED, "regret0", 0, "e|2"},
        {ENABLED, "regret1", 0, "e|4"},       {ENABLED, "reset", 0, "e|3"},
        {DISABLED, "change", 0, "e|1"},       {DISABLED, "regret0", 0, "e|2"},
        {DISABLED, "regret1", 0, "e|4"},      {DISABLED, "reset", 0, "e|3"},
        {DEPOSITED, "change", 0, "e|1"},      {DEPOSITED, "regret0", 0, "e|2"},
        {DEPOSITED, "regret1", 12, nullptr},  {DEPOSITED, "reset", 0, "e|3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.op) + " from state " + std::to_string(c.start));
        reach(c.start);
        dvsim_clear_logs();
        EXPECT_EQ(run(c.op), c.status) << msg;
        if (c.command)
            EXPECT_EQ(simCommands(), std::vector<std::string>{c.command});
        else
            EXPECT_TRUE(simCommands().empty());
        settle();
        char exitMessage[DV_MESSAGE_SIZE];
        ASSERT_EQ(dv().exitDV(exitMessage), 0);
        dvsim_reset_model();
    }
}

TEST_F(ChangeTest, ChangeWithNothingPaidInDoesNotWait)
{
    initAndLogin();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(dv().changeDV(msg), 0) << msg;
    EXPECT_STREQ(msg, "Done");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(500));
}

TEST_F(ChangeTest, InvalidRegretTypeComesBeforeTheStateTest)
{
    reach(LOGGED_OUT);
    EXPECT_EQ(dv().regretDV(2, msg), 4);
    EXPECT_STREQ(msg, "Invalid regretType");
    EXPECT_EQ(dv().regretDV(-1, msg), 4);
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::regret: Invalid regretType"));
    EXPECT_TRUE(simCommands().empty());
}

TEST_F(ChangeTest, RegretAllOnALegacyDeviceIsAZeroPayout)
{
    reach(LOGGED_OUT, "LegacySystem:1");
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0);
    settle();
    dvsim_clear_logs();
    EXPECT_EQ(dv().regretDV(1, msg), 0) << msg;
    EXPECT_EQ(simCommands(), std::vector<std::string>{"f|00000000|00000000|regretAll"});
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::regret: True regret all is not supported, using normal payout "
                                    "instead."));
}

TEST_F(ChangeTest, ResetIsSentInErrorAndClearsIt)
{
    reach(ENABLED);
    ASSERT_EQ(dvsim_jam(), DVSIM_OK);
    settle();
    EXPECT_EQ(dv().changeDV(msg), 2);
    EXPECT_EQ(dv().regretDV(0, msg), 2);
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::regret: Dravik has error(s)"));
    dvsim_clear_logs();
    EXPECT_EQ(dv().resetDV(msg), 0) << msg;
    EXPECT_EQ(simCommands(), std::vector<std::string>{"e|3"});
    settle();
    EXPECT_EQ(dv().changeDV(msg), 0) << msg;
}

TEST_F(ChangeTest, StopWaitsTimeOutWithTheirChecks)
{
    reach(ENABLED, "ChangeOkCheck:1;RegretOkCheck:1;StatusOkTimeout:1");
    ASSERT_EQ(dvsim_set_timing(DVSIM_TIMING_PAYOUT_ITEM, 3000), DVSIM_OK);
    EXPECT_EQ(dv().regretDV(1, msg), 6);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::regret: Stop timed out, return code = 6"));
}

TEST_F(ChangeTest, ChangeStopWaitTimesOut)
{
    reach(ENABLED, "ChangeOkCheck:1;StatusOkTimeout:1");
    ASSERT_EQ(dvsim_set_timing(DVSIM_TIMING_PAYOUT_ITEM, 3000), DVSIM_OK);
    EXPECT_EQ(dv().changeDV(msg), 6);
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::change: Stop timed out, return code = 6"));
}

// With money paid in, change and regret wait up to 5 s for the device to
// start paying it back.
TEST_F(ChangeTest, ChangeThatNeverStartsTimesOut)
{
    reach(ENABLED);
    ASSERT_EQ(dvsim_drop_reports(100), DVSIM_OK);
    EXPECT_EQ(dv().changeDV(msg), 6);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::change: Start timed out, return code = 6"));
}

TEST_F(ChangeTest, RegretThatNeverStartsTimesOut)
{
    reach(ENABLED);
    ASSERT_EQ(dvsim_drop_reports(100), DVSIM_OK);
    EXPECT_EQ(dv().regretDV(1, msg), 6);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::regret: Start timed out, return code = 6"));
}

TEST_F(ChangeTest, ChecksWaitForTheDeviceToFinish)
{
    reach(ENABLED, "ChangeOkCheck:1;RegretOkCheck:1");
    EXPECT_EQ(dv().regretDV(0, msg), 0) << msg;
    EXPECT_EQ(dvsim_wait_idle(0), DVSIM_OK); // nothing left to do when it returned
}

TEST_F(ChangeTest, DeviceThatStaysBusyMakesRegretGiveUp)
{
    reach(ENABLED);
    ASSERT_EQ(dvsim_inject_report("a0000100011"), DVSIM_OK); // working, and nothing after it
    settle();
    dvsim_clear_logs();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(dv().regretDV(0, msg), 1);
    EXPECT_STREQ(msg, "Dravik is busy");
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, std::chrono::milliseconds(10000)); // regret waits 10 s, not the 15 s of the others
    EXPECT_LT(waited, std::chrono::milliseconds(14000));
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::regret: Dravik is still busy, giving up."));
    EXPECT_TRUE(simCommands().empty());
}

} // namespace
