// Faults and their clearing, legacy mode, and the disturbances a test can
// put on the line (forced answers, lost, late, garbled and injected reports).
#include "simtest.h"

#include <cctype>
#include <iterator>

using namespace simtest;

namespace {
const std::string kLogin = cmd({"a", "01", "02", "0905"});
const std::string kReset = cmd({"e", "3"});
std::string payout(const char* dispense) { return cmd({"f", dispense, "00000000"}); }
} // namespace

class SimFaults : public Sim {};

TEST_F(SimFaults, JamBlocksEverythingButReset)
{
    login();
    EXPECT_EQ((std::vector<std::string>{"b0000000021NOTE JAM      07"}), after([] { dvsim_jam(); }));
    EXPECT_EQ(2, status().status);
    EXPECT_EQ(7, status().fault_code);
    for (const std::string& req : {std::string("h"), std::string("g"), std::string("b"), kLogin, cmd({"d", "00000100"}),
                                   payout("00000100"), cmd({"e", "1"}), cmd({"x", "t"})}) {
        std::string a = send(req);
        EXPECT_EQ('2', code(a)) << req;
        EXPECT_EQ('F', a[1]) << req;
    }
    EXPECT_EQ(DVSIM_E_STATE, dvsim_insert(100));
    std::string answer;
    EXPECT_EQ((std::vector<std::string>{"a0000000001"}), converse(kReset, &answer));
    EXPECT_EQ("e00 reset", answer);
    EXPECT_EQ(0, status().status);
    EXPECT_EQ(0, status().fault_code);
    EXPECT_EQ('0', code(send("g")));
}

TEST_F(SimFaults, FaultTextAndCodeFillTheErrorTail)
{
    // logged out: status digit 2, mode 0; the code sits at positions 14-15 of the tail
    std::vector<std::string> got = after([] { dvsim_fault(42, "door open"); });
    ASSERT_EQ(1u, got.size());
    EXPECT_EQ("b0000000020DOOR OPEN     42", got[0]);
    EXPECT_EQ("42", got[0].substr(11 + 14, 2));
    got = after([] { dvsim_fault(6, nullptr); });
    EXPECT_EQ((std::vector<std::string>{"b0000000020COIN JAM      06"}), got);
}

TEST_F(SimFaults, ArmedInsertJamKeepsTheNoteOut)
{
    login();
    ASSERT_EQ(DVSIM_OK, dvsim_arm_fault(DVSIM_AT_INSERT, 2, 6, nullptr));
    pay({1000});
    EXPECT_EQ((std::vector<std::string>{"a0000100011", "b0000100021COIN JAM      06"}),
              after([] { dvsim_insert(500); }));
    EXPECT_EQ(1000, status().paid_in);
    EXPECT_EQ(20, countOf(500));
    EXPECT_EQ((std::vector<std::string>{"a0000100001"}), converse(kReset));
}

TEST_F(SimFaults, ArmedPayoutFaultPaysNothing)
{
    login();
    ASSERT_EQ(DVSIM_OK, dvsim_arm_fault(DVSIM_AT_PAYOUT, 1, 8, nullptr));
    EXPECT_EQ((std::vector<std::string>{"a0000000011", "b0000000021PAYOUT FAULT  08"}), converse(payout("00005000")));
    EXPECT_EQ(10, countOf(5000));
    converse(kReset);
    EXPECT_EQ((std::vector<std::string>{"a0000000011", "a0000000001"}), converse(payout("00005000")));
    EXPECT_EQ(9, countOf(5000));
}

TEST_F(SimFaults, ArmedCommandFaultAnswersErrorAtTheNthCommand)
{
    ASSERT_EQ(DVSIM_OK, dvsim_arm_fault(DVSIM_AT_COMMAND, 2, 9, "BOARD"));
    EXPECT_EQ('0', code(send(kLogin)));
    std::string answer;
    std::vector<std::string> got = converse("g", &answer);
    EXPECT_EQ('2', code(answer));
    EXPECT_EQ((std::vector<std::string>{"b0000000021BOARD         09"}), got);
}

TEST_F(SimFaults, FaultAbandonsNotesWaitingToBeCounted)
{
    login();
    std::vector<std::string> got = after([] {
        dvsim_insert(1000);
        dvsim_insert(500);
        dvsim_jam();
    });
    EXPECT_EQ((std::vector<std::string>{"a0000000011", "b0000000021NOTE JAM      07"}), got);
    EXPECT_EQ(0, status().paid_in);
    EXPECT_EQ(20, countOf(1000));
}

TEST_F(SimFaults, ServiceClearsAFaultWithoutReset)
{
    login();
    EXPECT_EQ(DVSIM_E_STATE, dvsim_clear_fault());
    after([] { dvsim_jam(); });
    EXPECT_EQ((std::vector<std::string>{"a0000000001"}), after([] { dvsim_clear_fault(); }));
    EXPECT_EQ(0, status().status);
}

class SimLegacy : public Sim {};

TEST_F(SimLegacy, CapabilityQueryIsAcceptedButNeverAnswered)
{
    ASSERT_EQ(DVSIM_OK, dvsim_set_legacy(1));
    EXPECT_EQ(1, status().legacy);
    std::string answer;
    EXPECT_TRUE(converse(cmd({"x", "20261116090507"}), &answer).empty());
    EXPECT_EQ('0', code(answer));
    // everything else works as before
    EXPECT_EQ((std::vector<std::string>{"a0000000001"}), converse(kLogin));
    ASSERT_EQ(DVSIM_OK, dvsim_set_legacy(0));
    EXPECT_EQ(1u, converse(cmd({"x", "t"})).size());
}

TEST_F(SimLegacy, ScenarioSwitchesLegacyOn)
{
    ASSERT_EQ(DVSIM_OK, dvsim_load_scenario_text("legacy on\n", nullptr, 0));
    EXPECT_TRUE(converse(cmd({"x", "t"})).empty());
}

class SimInjection : public Sim {};

TEST_F(SimInjection, ForcedAnswersLoseTheCommand)
{
    struct Case {
        int kind;
        std::string answer;
    } cases[] = {
        {DVSIM_ANSWER_BUSY, "aX1 forced busy"},      {DVSIM_ANSWER_ERROR, "aX2 forced error"},
        {DVSIM_ANSWER_CLOSED, "aX3 forced closed"},  {DVSIM_ANSWER_GARBAGE, "aX9 forced garbage"},
        {DVSIM_ANSWER_EMPTY, ""},
    };
    for (const Case& c : cases) {
        ASSERT_EQ(DVSIM_OK, dvsim_force_answer(c.kind, 1));
        std::string answer;
        EXPECT_TRUE(converse(kLogin, &answer).empty()) << c.answer;
        EXPECT_EQ(c.answer, answer);
        EXPECT_EQ(0, status().session_open);
    }
    ASSERT_EQ(DVSIM_OK, dvsim_force_answer(DVSIM_ANSWER_BUSY, 2));
    EXPECT_EQ('1', code(send(kLogin)));
    EXPECT_EQ('1', code(send(kLogin)));
    EXPECT_EQ('0', code(send(kLogin)));
    ASSERT_EQ(DVSIM_OK, dvsim_force_answer(DVSIM_ANSWER_ERROR, 5));
    ASSERT_EQ(DVSIM_OK, dvsim_force_answer(DVSIM_ANSWER_NORMAL, 0));
    EXPECT_EQ('0', code(send("g")));
    EXPECT_EQ(DVSIM_E_ARG, dvsim_force_answer(DVSIM_ANSWER_BUSY, 0));
    EXPECT_EQ(DVSIM_E_ARG, dvsim_force_answer(9, 1));
    EXPECT_EQ(static_cast<long>(std::size(cases)) + 4, dvsim_command_count()); // lost commands are logged
}

TEST_F(SimInjection, DroppedReportsNeverArrive)
{
    ASSERT_EQ(DVSIM_OK, dvsim_drop_reports(1));
    EXPECT_TRUE(converse(kLogin).empty());
    EXPECT_EQ(1, status().session_open); // the device did log in
    EXPECT_EQ((std::vector<std::string>{"a0000000031"}), converse("g"));
    EXPECT_EQ((std::vector<std::string>{"a0000000031"}), reportLog());
}

TEST_F(SimInjection, DelayedReportHoldsBackThoseBehindIt)
{
    ASSERT_EQ(DVSIM_OK, dvsim_clock_manual(1));
    ASSERT_EQ(DVSIM_OK, dvsim_delay_next_report(100));
    send(kLogin);
    ASSERT_EQ(DVSIM_OK, dvsim_inject_report("zafter"));
    ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(50));
    EXPECT_EQ(2u, status().pending_reports);
    ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(51));
    ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    EXPECT_EQ((std::vector<std::string>{"a0000000001", "zafter"}), reports());
    EXPECT_EQ(DVSIM_E_ARG, dvsim_delay_next_report(600001));
}

TEST_F(SimInjection, GarbledReportsNeverParse)
{
    // Whatever the seed, a garbled a/b/c report has a non-digit in the
    // amount head, the status or the mode; an "x" report is cut short.
    for (unsigned long seed = 1; seed <= 24; ++seed) {
        dvsim_seed(seed);
        dvsim_garble_next_report();
        std::vector<std::string> got = converse(seed % 2 ? kLogin : "b");
        ASSERT_EQ(1u, got.size());
        const std::string& r = got[0];
        ASSERT_EQ(11u, r.size()) << r;
        bool broken = !std::isdigit(static_cast<unsigned char>(r[1])) || !std::isdigit(static_cast<unsigned char>(r[9])) ||
                      !std::isdigit(static_cast<unsigned char>(r[10]));
        EXPECT_TRUE(broken) << r;
    }
    dvsim_garble_next_report();
    std::vector<std::string> x = converse(cmd({"x", "t"}));
    ASSERT_EQ(1u, x.size());
    EXPECT_LT(x[0].size(), 21u);
}

TEST_F(SimInjection, RawReportsAreDeliveredVerbatimInOrder)
{
    std::vector<std::string> got = after([] {
        dvsim_inject_report("a00001000");
        dvsim_inject_report("z");
        dvsim_inject_report("b0000000000 tail with % and %s");
    });
    EXPECT_EQ((std::vector<std::string>{"a00001000", "z", "b0000000000 tail with % and %s"}), got);
    EXPECT_EQ(DVSIM_E_ARG, dvsim_inject_report(""));
    EXPECT_EQ(DVSIM_E_ARG, dvsim_inject_report(nullptr));
    EXPECT_EQ(DVSIM_E_ARG, dvsim_inject_report(std::string(256, 'a').c_str()));
    dv_dini();
    EXPECT_EQ(DVSIM_E_STATE, dvsim_inject_report("a"));
}

TEST_F(SimInjection, CashSessionRecords)
{
    login();
    EXPECT_EQ((std::vector<std::string>{"b0000000001CR/RF00012000"}),
              after([] { dvsim_cash_session(DVSIM_SESSION_CR_RF, 12000); }));
    EXPECT_EQ((std::vector<std::string>{"b0000000001BO/WD00000005"}),
              after([] { dvsim_cash_session(DVSIM_SESSION_BO_WD, 5); }));
    EXPECT_EQ((std::vector<std::string>{"b0000000001Dravik SIM 0102 "}),
              after([] { dvsim_cash_session(DVSIM_SESSION_INFO, 0); }));
    EXPECT_EQ(DVSIM_E_ARG, dvsim_cash_session(5, 0));
    EXPECT_EQ(DVSIM_E_ARG, dvsim_cash_session(DVSIM_SESSION_CR_WD, 100000000));
}
