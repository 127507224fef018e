// Login, logout, open state, info, pay-in and a whole sale against the
// simulator, checked by the exact commands the device received.
#include "harness.h"

using namespace dvtest;

namespace {

using SessionTest = IntegrationTest;

const std::string kQuery = "x|"; // the capability query, followed by a time stamp

std::vector<std::string> withoutQueries(const std::vector<std::string>& commands)
{
    std::vector<std::string> out;
    for (const auto& c : commands)
        if (c.compare(0, 2, kQuery) != 0)
            out.push_back(c);
    return out;
}

// "a|07|23|HHMM" without the time.
std::string loginCommand()
{
    for (const auto& c : simCommands())
        if (c[0] == 'a')
            return c.substr(0, c.size() - 4);
    return "";
}

// The local time as the login sends it.
std::string localHHMM()
{
    const time_t now = time(nullptr);
    struct tm local;
    localtime_r(&now, &local);
    char text[8];
    snprintf(text, sizeof text, "%02d%02d", local.tm_hour, local.tm_min);
    return text;
}

TEST_F(SessionTest, WholeSale)
{
    ASSERT_EQ(init(), 0) << msg;
    const std::string before = localHHMM();
    ASSERT_EQ(dv().loginDV(3, 4, msg), 0) << msg;
    EXPECT_STREQ(msg, "Done");
    const std::string after = localHHMM();
    ASSERT_EQ(dv().enablePayinDV(msg), 0) << msg;
    EXPECT_STREQ(msg, "Done");
    ASSERT_EQ(dvsim_insert(2000), DVSIM_OK);
    ASSERT_EQ(dvsim_insert(500), DVSIM_OK);
    settle();
    // A sale of 15.00, paid with 25.00: keep 15.00, pay 10.00 back.
    ASSERT_EQ(dv().payoutDV(1000, 1500, Text("T1"), msg), 0) << msg;
    EXPECT_STREQ(msg, "Done");
    settle();
    ASSERT_EQ(dv().logoutDV(msg), 0) << msg;
    EXPECT_STREQ(msg, "Done");

    const std::vector<std::string> commands = simCommands();
    ASSERT_GE(commands.size(), 6u);
    EXPECT_EQ(commands[0].substr(0, 2), kQuery);
    EXPECT_EQ(commands[0].size(), 2u + 14u); // yyyymmddHHMMSS
    EXPECT_EQ(commands[1].substr(0, 8), "a|03|04|");
    ASSERT_EQ(commands[1].size(), 12u);
    const std::string hhmm = commands[1].substr(8); // the login's local time
    EXPECT_TRUE(hhmm == before || hhmm == after) << hhmm;
    const std::vector<std::string> rest(commands.begin() + 2, commands.end());
    // The first payout after login asks first: cash levels count as low until
    // the device says otherwise.
    EXPECT_EQ(rest, (std::vector<std::string>{"h", "d|00001000", "f|00001000|00001500|T1", "b"}));

    std::vector<std::string> statuses;
    for (const auto& e : events("status"))
        statuses.push_back(e.str());
    EXPECT_EQ(statuses.front(), "status 0 0 1");       // open, pay-in enabled
    EXPECT_NE(std::find(statuses.begin(), statuses.end(), "status 2500 0 1"), statuses.end());
    EXPECT_EQ(statuses.back(), "status 0 3 0");        // closed
    EXPECT_TRUE(hasLine(apiLog(), "== payoutDV: Ok! Returning 0 (DV_STATUS_OK): Done"));
    EXPECT_TRUE(hasLine(logicLog(), "-> f\x1C" "00001000\x1C" "00001500\x1C" "T1"));
}

TEST_F(SessionTest, LoginReducesIdsToTwoDigits)
{
    ASSERT_EQ(init(), 0) << msg;
    ASSERT_EQ(dv().loginDV(-7, 123, msg), 0) << msg;
    EXPECT_EQ(loginCommand(), "a|07|23|");
    EXPECT_TRUE(hasLine(logicLog(), "=> CDVLogics::login(-7, 123)"));
}

TEST_F(SessionTest, TextLoginTakesTheLastDigits)
{
    const struct {
        const char* reg;
        const char* cashier;
        const char* sent;
    } cases[] = {{"1234", "A", "a|34|01|"}, {"X0", "", "a|00|01|"}, {"A7", "00", "a|07|00|"}, {"AB", "5", "a|01|05|"}};
    ASSERT_EQ(init(), 0) << msg;
    for (const auto& c : cases) {
        dvsim_clear_logs();
        ASSERT_EQ(dv().loginStrDV(Text(c.reg), Text(c.cashier), msg), 0) << c.reg;
        EXPECT_EQ(loginCommand(), c.sent) << c.reg << "/" << c.cashier;
    }
    EXPECT_EQ(dv().loginStrDV(nullptr, nullptr, msg), 0); // null texts count as empty
    EXPECT_TRUE(hasLine(apiLog(), "=> loginStrDV(NULL, NULL, message)"));
}

TEST_F(SessionTest, CapabilityQueryFillsInfo)
{
    initAndLogin();
    int level = -1;
    char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], info[DV_INFO_INFO_SIZE];
    ASSERT_EQ(dv().infoDV(&level, commands, master, info, msg), 0) << msg;
    EXPECT_EQ(level, 1);
    EXPECT_STREQ(master, "01.02");
    EXPECT_STREQ(commands, "ABCDEFGH1234X");
    EXPECT_STREQ(info, "Dravik");
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::verifyDV: Master Version: 01.02"));
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::info: level=1, commands=\"ABCDEFGH1234X\", master=\"01.02\", "
                                    "info=\"Dravik\", message=\"Done\"."));
}

TEST_F(SessionTest, DeviceTextsReachInfoAsTheyStand)
{
    char err[128];
    ASSERT_EQ(dvsim_load_scenario_text("commands AB%%C%s%n\n", err, sizeof err), DVSIM_OK) << err;
    initAndLogin();
    int level = -1;
    char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], info[DV_INFO_INFO_SIZE];
    ASSERT_EQ(dv().infoDV(&level, commands, master, info, msg), 0) << msg;
    EXPECT_STREQ(commands, "AB%%C%s%n");
}

TEST_F(SessionTest, InfoWhileLoggedOutIsClosedAndTouchesNothing)
{
    ASSERT_EQ(init(), 0);
    int level = 9;
    char commands[DV_INFO_COMMANDS_SIZE] = "keep", master[DV_INFO_MASTER_SIZE] = "keep",
         info[DV_INFO_INFO_SIZE] = "keep";
    EXPECT_EQ(dv().infoDV(&level, commands, master, info, msg), 5);
    EXPECT_STREQ(msg, "Closed");
    EXPECT_EQ(level, 9);
    EXPECT_STREQ(commands, "keep");
    EXPECT_TRUE(hasLine(apiLog(), "!! infoDV: Failed! Returning 5: level=9: Closed"));
}

TEST_F(SessionTest, LegacySystemSendsNoQueryAndSupportsNoPayin)
{
    initAndLogin("LegacySystem:1;AutoDisable:1");
    EXPECT_TRUE(withoutQueries(simCommands()) == simCommands());
    EXPECT_EQ(simCommands().size(), 1u); // the login only: no automatic disable either
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::login: Legacy system, not calling verifyDV()"));
    int level = -1;
    char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], info[DV_INFO_INFO_SIZE];
    ASSERT_EQ(dv().infoDV(&level, commands, master, info, msg), 0);
    EXPECT_EQ(level, 0);
    EXPECT_STREQ(commands, "ABCDEF");
    EXPECT_STREQ(master, "");
    EXPECT_EQ(dv().enablePayinDV(msg), 12);
    EXPECT_STREQ(msg, "Not Supported");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::enablePayin: Enable Payin is not supported."));
    EXPECT_EQ(dv().depositDV(nullptr, msg), 12);
}

TEST_F(SessionTest, AutoDisableFollowsTheLogin)
{
    initAndLogin("AutoDisable:1");
    EXPECT_EQ(withoutQueries(simCommands()).back(), "g");
    EXPECT_EQ(dv().depositDV(Text(""), msg), 0) << msg; // pay-in is disabled now
}

TEST_F(SessionTest, UnansweredQueryIsNotRepeated)
{
    dvsim_set_legacy(1); // an old device: it ignores the query
    ASSERT_EQ(init(), 0);
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg; // after the query's 5 s time-out
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::verifyDV: verifyDV timed out"));
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::login: VerifyDV failed: nReturn=6: verified=0: Timed out"));
    ASSERT_EQ(dv().logoutDV(msg), 0) << msg;
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    size_t queries = 0;
    for (const auto& c : simCommands())
        queries += c.compare(0, 2, kQuery) == 0;
    EXPECT_EQ(queries, 1u);
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::login: Not changing already set values for verifyDVStatus=1 and "
                                    "DVLevel=0"));
    EXPECT_EQ(dv().enablePayinDV(msg), 12);
}

TEST_F(SessionTest, BusyLogoutIsRetriedOnce)
{
    initAndLogin();
    dvsim_clear_logs();
    ASSERT_EQ(dvsim_force_answer(DVSIM_ANSWER_BUSY, 1), DVSIM_OK);
    EXPECT_EQ(dv().logoutDV(msg), 0) << msg;
    EXPECT_EQ(simCommands(), (std::vector<std::string>{"b", "b"}));
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::logout() internal class linkora.logout was busy, now trying again"));

    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    dvsim_clear_logs();
    ASSERT_EQ(dvsim_force_answer(DVSIM_ANSWER_BUSY, 2), DVSIM_OK);
    EXPECT_EQ(dv().logoutDV(msg), 1);
    EXPECT_STREQ(msg, "Busy");
    EXPECT_EQ(simCommands().size(), 2u);
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::logout: returning not ok: 1"));
}

TEST_F(SessionTest, BusyLogoutOfADeviceThatStaysBusyGivesUp)
{
    initAndLogin("StatusOkTimeout:1");
    ASSERT_EQ(dvsim_inject_report("a0000000011"), DVSIM_OK); // working, and nothing after it
    settle();
    dvsim_clear_logs();
    ASSERT_EQ(dvsim_force_answer(DVSIM_ANSWER_BUSY, 1), DVSIM_OK);
    EXPECT_EQ(dv().logoutDV(msg), 1);
    EXPECT_STREQ(msg, "Dravik is busy");
    EXPECT_EQ(simCommands(), std::vector<std::string>{"b"}); // no second try
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::logout: Dravik is still busy"));
}

TEST_F(SessionTest, AnswerCodesBecomeStatuses)
{
    initAndLogin();
    const struct {
        int kind;
        short status;
        const char* text;
    } cases[] = {{DVSIM_ANSWER_ERROR, 2, "Error"}, {DVSIM_ANSWER_CLOSED, 5, "Closed"},
                 {DVSIM_ANSWER_GARBAGE, 7, "Send failed"}, {DVSIM_ANSWER_EMPTY, 7, "Send failed"}};
    for (const auto& c : cases) {
        ASSERT_EQ(dvsim_force_answer(c.kind, 1), DVSIM_OK);
        EXPECT_EQ(dv().enablePayinDV(msg), c.status);
        EXPECT_STREQ(msg, c.text);
    }
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::enablePayin: the enablePayin command failed"));
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::enablePayin: enablePayinDV failed, return code = 7, message = "
                                    "Send failed"));
}

TEST_F(SessionTest, IsOpenFollowsTheReports)
{
    ASSERT_EQ(init(), 0);
    int open = -1;
    EXPECT_EQ(dv().isOpenDV(&open, msg), 0);
    EXPECT_EQ(open, 0);
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0);
    EXPECT_EQ(dv().isOpenDV(&open, msg), 0);
    EXPECT_EQ(open, 1);
    ASSERT_EQ(dv().logoutDV(msg), 0);
    EXPECT_EQ(dv().isOpenDV(&open, msg), 0);
    EXPECT_EQ(open, 0);
}

// --- pay-in state table ----------------------------------------------------------

enum Start { LOGGED_OUT, ENABLED, DISABLED, DEPOSITED };

class PayinTableTest : public IntegrationTest {
protected:
    void reach(Start start)
    {
        ASSERT_EQ(init(), 0) << msg;
        if (start == LOGGED_OUT)
            return;
        ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
        ASSERT_EQ(dv().enablePayinDV(msg), 0) << msg;
        if (start == ENABLED)
            return;
        ASSERT_EQ(dvsim_insert(1000), DVSIM_OK);
        settle();
        ASSERT_EQ(dv().disablePayinDV(msg), 0) << msg;
        if (start == DISABLED)
            return;
        ASSERT_EQ(dv().depositDV(Text("T0"), msg), 0) << msg;
        settle();
    }
};

struct PayinCase {
    Start start;
    const char* op;
    short status;
};

TEST_F(PayinTableTest, EnableDisableDeposit)
{
    const PayinCase cases[] = {
        {LOGGED_OUT, "enable", 5}, {LOGGED_OUT, "disable", 5}, {LOGGED_OUT, "deposit", 5},
        {ENABLED, "enable", 0},    {ENABLED, "disable", 0},    {ENABLED, "deposit", 12},
        {DISABLED, "enable", 0},   {DISABLED, "disable", 0},   {DISABLED, "deposit", 0},
        {DEPOSITED, "enable", 12}, {DEPOSITED, "disable", 12}, {DEPOSITED, "deposit", 0},
    };
    for (const PayinCase& c : cases) {
        SCOPED_TRACE(std::string(c.op) + " from state " + std::to_string(c.start));
        reach(c.start);
        dvsim_clear_logs();
        const std::string op = c.op;
        const short status = op == "enable"    ? dv().enablePayinDV(msg)
                             : op == "disable" ? dv().disablePayinDV(msg)
                                               : dv().depositDV(Text("T9"), msg);
        EXPECT_EQ(status, c.status) << msg;
        EXPECT_EQ(simCommands().empty(), c.status != 0);
        settle();
        char exitMessage[DV_MESSAGE_SIZE];
        ASSERT_EQ(dv().exitDV(exitMessage), 0);
        dvsim_reset_model();
    }
}

TEST_F(PayinTableTest, DepositKeepsWhatWasPaidIn)
{
    reach(DISABLED);
    dvsim_clear_logs();
    ASSERT_EQ(dv().depositDV(Text("T7"), msg), 0);
    EXPECT_EQ(simCommands(), (std::vector<std::string>{"f|00000000|00001000|T7"}));
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::doPayOut: Transaction Id: T7"));
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::doPayOut: Amount Deposit: 1000"));
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::doPayOut: Amount Dispense: 0"));
    EXPECT_TRUE(hasLine(logicLog(), "== CLinkora::doPayOut: Amount Due: 1000"));
    settle();
    // A second deposit goes out again, with the amount paid in by then.
    // (The report is injected: the simulator's own count is 0, so it refuses.)
    ASSERT_EQ(dvsim_inject_report("a0000070031"), DVSIM_OK); // 7.00 paid in, pay-in disabled
    settle();
    dv().depositDV(nullptr, msg);
    EXPECT_EQ(simCommands().back(), "f|00000000|00000700");
}

// Enable, disable and deposit share this guard (15 s; one slow case).
TEST_F(PayinTableTest, DeviceThatStaysBusyMakesPayinGiveUp)
{
    reach(ENABLED);
    ASSERT_EQ(dvsim_inject_report("a0000000011"), DVSIM_OK); // working, and nothing after it
    settle();
    dvsim_clear_logs();
    EXPECT_EQ(dv().disablePayinDV(msg), 1);
    EXPECT_STREQ(msg, "Dravik is busy");
    EXPECT_TRUE(hasLine(logicLog(), "== CDVLogics::disablePayin: Dravik is Busy. Wait for Ok"));
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::disablePayin: Dravik is still busy, giving up."));
    EXPECT_TRUE(simCommands().empty());
}

TEST_F(PayinTableTest, DisableThatIsNeverConfirmedTimesOut)
{
    reach(ENABLED);
    ASSERT_EQ(dvsim_drop_reports(10), DVSIM_OK);
    EXPECT_EQ(dv().disablePayinDV(msg), 6);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::disablePayin: disablePayin timed out, return code = 6"));
    EXPECT_EQ(dv().depositDV(nullptr, msg), 12); // the state is still pay-in enabled
}

TEST_F(PayinTableTest, DeviceErrorRefusesPayin)
{
    reach(ENABLED);
    ASSERT_EQ(dvsim_jam(), DVSIM_OK);
    settle();
    EXPECT_EQ(dv().disablePayinDV(msg), 2);
    EXPECT_STREQ(msg, "Dravik has error(s)");
    EXPECT_TRUE(hasLine(logicLog(), "!! CDVLogics::disablePayin: Dravik has error(s)"));
    ASSERT_EQ(events("error").size(), 1u);
    EXPECT_EQ(events("error")[0].a, 7);
    EXPECT_EQ(dv().resetDV(msg), 0) << msg; // a reset is allowed in error
    settle();
    EXPECT_EQ(dv().disablePayinDV(msg), 0) << msg;
}

} // namespace
