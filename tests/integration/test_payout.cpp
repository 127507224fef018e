// Money out: ask-payout, the ask-first decision, dispense, payout, amount
// due, the payout-per-time limit, start and stop waits, temporary settings.
#include "harness.h"

using namespace dvtest;

namespace {

class PayoutTest : public IntegrationTest {
protected:
    // Logged in with pay-in enabled and `paidIn` inserted.
    void sale(long paidIn, const std::string& settings = "")
    {
        initAndLogin(settings);
        ASSERT_EQ(dv().enablePayinDV(msg), 0) << msg;
        // The customer pays with the largest notes and coins that fit.
        for (long value : {5000L, 2000L, 1000L, 500L, 200L, 100L, 50L, 20L, 10L, 5L}) {
            while (paidIn >= value) {
                ASSERT_EQ(dvsim_insert(value), DVSIM_OK);
                paidIn -= value;
            }
        }
        settle();
        dvsim_clear_logs();
    }
    // Logged in with pay-in disabled.
    void disabled(const std::string& settings = "")
    {
        initAndLogin(settings);
        ASSERT_EQ(dv().disablePayinDV(msg), 0) << msg;
        settle();
        dvsim_clear_logs();
    }
    bool asked() const
    {
        for (const auto& c : simCommands())
            if (c[0] == 'd')
                return true;
        return false;
    }
};

TEST_F(PayoutTest, AskPayoutOfZeroSendsNothing)
{
    disabled();
    EXPECT_EQ(dv().askPayoutDV(0, msg), 0);
    EXPECT_STREQ(msg, "Done");
    EXPECT_TRUE(simCommands().empty());
}

TEST_F(PayoutTest, AskPayoutThatCannotBePaidReportsTheRest)
{
    disabled();
    int rest = -1;
    EXPECT_EQ(dv().askPayout2DV(3, &rest, msg), 8); // nothing smaller than 0.05
    EXPECT_STREQ(msg, "Not possible (rest)");
    EXPECT_EQ(rest, 3);
    EXPECT_TRUE(hasLine(apiLog(), "!! askPayout2DV: Failed! Returning 8: amountRest=3: Not possible (rest)"));
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::askPayout: Waiting for b message resulted in:0"));
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::askPayout: Waiting for a message resulted in:0"));
    EXPECT_EQ(simCommands(), (std::vector<std::string>{"d|00000003"}));
}

TEST_F(PayoutTest, AskPayoutCutsItsAmountToEightDigits)
{
    disabled();
    dv().askPayoutDV(123456789, msg);
    EXPECT_EQ(simCommands().front(), "d|12345678");
}

TEST_F(PayoutTest, AskFirstDecision)
{
    // Right after login the cash levels count as low: even a small amount asks.
    disabled();
    int rest = 0;
    ASSERT_EQ(dv().dispenseDV(500, Text(""), &rest, msg), 0) << msg;
    EXPECT_TRUE(asked());
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::dispense: Small amount to dispense but Cash Levels are low, call "
                                    "askPayout"));
    settle();

    // The device came back idle after the dispense: levels are fine now... as
    // soon as it reports status 0. A small amount then goes without asking.
    ASSERT_EQ(dv().enablePayinDV(msg), 0);
    settle();
    dvsim_clear_logs();
    ASSERT_EQ(dv().payoutDV(200, 0, Text(""), msg), 0) << msg;
    EXPECT_FALSE(asked());
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::payout: Small amount to pay out and Cash Levels are ok, askPayout "
                                    "not called"));
    settle();

    // A zero amount never asks.
    dvsim_clear_logs();
    ASSERT_EQ(dv().payoutDV(0, 0, Text(""), msg), 0) << msg;
    EXPECT_FALSE(asked());
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::payout: Zero amount to pay out, askPayout not called"));
    settle();

    // A large amount asks, unless the same amount was just asked for.
    dvsim_clear_logs();
    ASSERT_EQ(dv().askPayoutDV(5000, msg), 0) << msg;
    ASSERT_EQ(dv().payoutDV(5000, 0, Text(""), msg), 0) << msg;
    EXPECT_EQ(simCommands(), (std::vector<std::string>{"d|00005000", "f|00005000|00000000"}));
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::payout: Previous askPayout with same amount performed, askPayout "
                                    "not called"));
    settle();
    dvsim_clear_logs();
    ASSERT_EQ(dv().payoutDV(5000, 0, Text(""), msg), 0) << msg; // the flag went with the payout
    EXPECT_TRUE(asked());
}

TEST_F(PayoutTest, PayoutChecksDepositBeforeAmounts)
{
    sale(800);
    EXPECT_EQ(dv().payoutDV(-1, 1000, Text(""), msg), 10);
    EXPECT_STREQ(msg, "Amount to deposit too big");
    EXPECT_EQ(dv().payoutDV(500, 1000, Text(""), msg), 10);
    const struct {
        int dispense, deposit;
        const char* text;
    } cases[] = {{-1, 0, "Amount to dispense too small"},
                 {100000000, 0, "Amount to dispense too big"},
                 {0, -1, "Amount to deposit too small"}};
    for (const auto& c : cases) {
        EXPECT_EQ(dv().payoutDV(c.dispense, c.deposit, Text(""), msg), 4);
        EXPECT_STREQ(msg, c.text);
    }
    EXPECT_TRUE(simCommands().empty());
}

TEST_F(PayoutTest, PayoutNeedsPayinEnabled)
{
    disabled();
    EXPECT_EQ(dv().payoutDV(0, 0, Text(""), msg), 12);
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::payout: Payout is not supported from state Payin Disabled"));
}

TEST_F(PayoutTest, DispenseAmountsAndStates)
{
    sale(0);
    int rest = 0;
    EXPECT_EQ(dv().dispenseDV(-1, nullptr, &rest, msg), 4);
    EXPECT_STREQ(msg, "Amount to dispense too small");
    EXPECT_EQ(dv().dispenseDV(100000000, nullptr, &rest, msg), 4);
    EXPECT_STREQ(msg, "Amount to dispense too big");
    EXPECT_EQ(dv().dispenseDV(100, nullptr, &rest, msg), 12); // pay-in enabled
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::dispense: Dispense is not supported from state Payin Enabled"));
    EXPECT_TRUE(simCommands().empty());
}

TEST_F(PayoutTest, DispenseSendsItsAmountAndId)
{
    disabled("AskPayOutAmountLimit:0");
    int rest = -1;
    ASSERT_EQ(dv().dispenseDV(1250, nullptr, &rest, msg), 0) << msg;
    EXPECT_EQ(rest, 0);
    settle();
    ASSERT_EQ(dv().dispenseDV(1250, Text("T1"), &rest, msg), 0) << msg;
    const auto commands = simCommands();
    EXPECT_EQ(commands[1], "c|00001250");
    EXPECT_EQ(commands.back(), "c|00001250|T1");
    EXPECT_TRUE(hasLine(apiLog(), "== dispenseDV: Ok! Returning 0 (DV_STATUS_OK): amountRest=0: Done"));
}

TEST_F(PayoutTest, AmountDuePaysOutTheSurplus)
{
    sale(2000);
    int rest = -1;
    EXPECT_EQ(dv().amountDueDV(2500, Text("T1"), &rest, msg), 4);
    EXPECT_STREQ(msg, "Paid in amount smaller than amount due");
    ASSERT_EQ(dv().amountDueDV(1200, Text("T1"), &rest, msg), 0) << msg;
    EXPECT_EQ(simCommands().back(), "f|00000800|00002000|T1");
}

TEST_F(PayoutTest, PerTimeLimitAtItsBoundary)
{
    // One-cent coins, so that every amount can be paid.
    dvsim_inventory inventory;
    ASSERT_EQ(dvsim_get_inventory(&inventory), DVSIM_OK);
    inventory.denominations[inventory.count++] = dvsim_denomination{1, 500, 0, 0};
    ASSERT_EQ(dvsim_set_inventory(&inventory), DVSIM_OK);
    disabled("PayOutAmountPerTimeLimitAmount:1000;PayOutAmountPerTimeLimitSeconds:600");
    int rest = 0;
    ASSERT_EQ(dv().dispenseDV(600, nullptr, &rest, msg), 0) << msg;
    settle();
    ASSERT_EQ(dv().dispenseDV(300, nullptr, &rest, msg), 0) << msg;
    settle();
    dvsim_clear_logs();
    EXPECT_EQ(dv().dispenseDV(101, nullptr, &rest, msg), 11);
    EXPECT_STREQ(msg, "Payout larger than allowed limit per time unit");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::dispense: (900 + 101 > 1000), Payout larger than allowed limit per "
                                    "time unit: 600 seconds!"));
    for (const auto& c : simCommands())
        EXPECT_NE(c[0], 'c') << c; // refused before sending
    ASSERT_EQ(dv().dispenseDV(100, nullptr, &rest, msg), 0) << msg;
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::dispense: adding 100 to paid out list."));
}

TEST_F(PayoutTest, PayoutCountsDispenseMinusDepositAgainstTheLimit)
{
    sale(5000, "PayOutAmountPerTimeLimitAmount:1000");
    EXPECT_EQ(dv().payoutDV(4000, 2000, Text(""), msg), 11);
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::payout: (0 + (4000 - 2000) > 1000), Payout larger than allowed "
                                    "limit per time unit: 60 seconds!"));
    ASSERT_EQ(dv().payoutDV(3000, 2000, Text(""), msg), 0) << msg;
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::payout: adding 1000 to paid out list."));
}

TEST_F(PayoutTest, PayoutStopWaitAndTemporarySettings)
{
    sale(2000);
    ASSERT_EQ(dv().changeSettingsDV(Text("PayOutOkCheck:1"), 1, msg), 0);
    ASSERT_EQ(dv().payoutDV(500, 1500, Text(""), msg), 0) << msg;
    // Waited for the device to come back idle, then restored the setting.
    EXPECT_EQ(dvsim_wait_idle(0), DVSIM_OK);
    EXPECT_TRUE(hasLine(logicLog(), "## CDVSettings::RestoreSettings: Restored PayOutOkCheck: 0"));
}

TEST_F(PayoutTest, PermanentSettingsAreNotRestoredAfterAPayout)
{
    sale(2000);
    ASSERT_EQ(dv().changeSettingsDV(Text("PayOutOkCheck:1"), 0, msg), 0);
    ASSERT_EQ(dv().payoutDV(500, 1500, Text(""), msg), 0) << msg;
    EXPECT_FALSE(hasLine(logicLog(), "## CDVSettings::RestoreSettings: Restored PayOutOkCheck: 0"));
}

// A temporary AutoDisable is restored in the settings store but not in the
// value the login reads: the next login still disables pay-in by itself.
TEST_F(PayoutTest, RestoreLeavesAutoDisableInForce)
{
    sale(2000);
    ASSERT_EQ(dv().changeSettingsDV(Text("AutoDisable:1"), 1, msg), 0);
    ASSERT_EQ(dv().payoutDV(500, 1500, Text(""), msg), 0) << msg;
    settle();
    EXPECT_TRUE(hasLine(logicLog(), "## CDVSettings::RestoreSettings: Restored AutoDisable: 0"));
    ASSERT_EQ(dv().logoutDV(msg), 0) << msg;
    settle();
    dvsim_clear_logs();
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    settle();
    const std::vector<std::string> commands = simCommands();
    EXPECT_NE(std::find(commands.begin(), commands.end(), "g"), commands.end());
}

TEST_F(PayoutTest, PayoutThatNeverStartsTimesOut)
{
    sale(7000);
    ASSERT_EQ(dv().askPayoutDV(5000, msg), 0) << msg; // so that the payout does not ask again
    ASSERT_EQ(dvsim_drop_reports(100), DVSIM_OK);
    EXPECT_EQ(dv().payoutDV(5000, 2000, Text(""), msg), 6);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::payout: doPayout start timed out, return code = 6"));
}

TEST_F(PayoutTest, PayoutThatNeverStopsTimesOut)
{
    sale(2000, "PayOutOkCheck:1;StatusOkTimeout:1;AskPayOutAmountLimit:0");
    ASSERT_EQ(dvsim_set_timing(DVSIM_TIMING_PAYOUT_ITEM, 3000), DVSIM_OK);
    EXPECT_EQ(dv().payoutDV(500, 1500, Text(""), msg), 6);
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::payout: doPayout stop timed out, return code = 6"));
}

TEST_F(PayoutTest, DispenseThatNeverStartsTimesOut)
{
    disabled();
    ASSERT_EQ(dv().askPayoutDV(5000, msg), 0) << msg; // so that the dispense does not ask again
    ASSERT_EQ(dvsim_drop_reports(100), DVSIM_OK);
    int rest = 0;
    EXPECT_EQ(dv().dispenseDV(5000, nullptr, &rest, msg), 6);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::dispense: dispense start timed out, return code = 6"));
}

TEST_F(PayoutTest, DispenseThatNeverStopsTimesOut)
{
    disabled("PayOutOkCheck:1;StatusOkTimeout:1;AskPayOutAmountLimit:0");
    ASSERT_EQ(dvsim_set_timing(DVSIM_TIMING_PAYOUT_ITEM, 3000), DVSIM_OK);
    int rest = 0;
    EXPECT_EQ(dv().dispenseDV(700, nullptr, &rest, msg), 6);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::dispense: dispense stop timed out, return code = 6"));
}

TEST_F(PayoutTest, DispenseStopWaitAcceptsIdleOrDisabled)
{
    disabled("PayOutOkCheck:1;AskPayOutAmountLimit:0");
    int rest = 0;
    ASSERT_EQ(dv().dispenseDV(700, nullptr, &rest, msg), 0) << msg;
    EXPECT_EQ(dvsim_wait_idle(0), DVSIM_OK);
}

} // namespace
