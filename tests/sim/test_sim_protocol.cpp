// Command-to-report conversations with the fast profile, and what the
// device answers to commands it cannot carry out.
#include "simtest.h"

#include <cstdlib>
#include <iterator>

using namespace simtest;

namespace {

// One exchange of a conversation: a command ("@..." is a control line
// instead), the expected answer code and the reports it causes.
struct Exchange {
    std::string command;
    char code;
    std::vector<std::string> reports;
};

void play(const std::vector<Exchange>& talk)
{
    for (size_t i = 0; i < talk.size(); ++i) {
        const Exchange& e = talk[i];
        std::string answer;
        std::vector<std::string> got;
        if (e.command[0] == '@') {
            got = after([&] {
                char reply[256];
                dvsim_control(e.command.c_str() + 1, reply, sizeof reply);
                answer = std::string("@@") + (std::strncmp(reply, "ok", 2) == 0 ? '0' : '2') + " " + reply;
            });
        } else {
            got = converse(e.command, &answer);
        }
        EXPECT_EQ(e.code, code(answer)) << "step " << i << " answer '" << answer << "'";
        EXPECT_EQ(e.reports, got) << "step " << i;
    }
}

const std::string kLogin = cmd({"a", "01", "02", "0905"});

std::string payout(const char* dispense, const char* deposit) { return cmd({"f", dispense, deposit}); }

// Reads a level tail the way the library does: high when position 2 is not
// blank (value from 0), else count, blank, value from 3; a value with a
// separator after one digit is in the smallest unit, else in whole units.
struct Level {
    int type; // 1 empty, 2 low, 3 high
    long count;
    long value;
};

Level readLevel(const std::string& tail, int decimals)
{
    auto value = [&](size_t pos) {
        if (tail[pos + 1] == ',' || tail[pos + 1] == '.')
            return std::atol(tail.c_str() + pos + 2);
        long v = std::atol(tail.c_str() + pos);
        for (int i = 0; i < decimals; ++i)
            v *= 10;
        return v;
    };
    if (tail[2] != ' ')
        return {3, 999, value(0)};
    long count = std::atol(tail.substr(0, 2).c_str());
    return {count == 0 ? 1 : 2, count, value(3)};
}

} // namespace

class SimProtocol : public Sim {};

TEST_F(SimProtocol, SessionCommands)
{
    play({
        {cmd({"x", "20261116090507"}), '0', {"xDRAVIK-SIM-0000010102ABCDEFGH1234X"}},
        {kLogin, '0', {"a0000000001"}},
        {"g", '0', {"a0000000031"}},
        {"h", '0', {"a0000000001"}},
        {"b", '0', {"a0000000030"}},
        {"b", '0', {"a0000000030"}}, // logging out twice is harmless
        {"h", '3', {}},
    });
}

TEST_F(SimProtocol, InsertThenPayoutEndsTheTransaction)
{
    login();
    EXPECT_EQ(DVSIM_E_NOTFOUND, dvsim_insert(7)); // no such coin
    play({
        {"@insert 1000", '0', {"a0000000011", "a0000100001"}},
        {"@insert 500", '0', {"a0000100011", "a0000150001"}},
        {payout("00000500", "00001500"), '0', {"a0000150011", "a0000000001"}},
    });
    EXPECT_EQ(21, countOf(1000));
    EXPECT_EQ(20, countOf(500)); // one came in, one went out
}

TEST_F(SimProtocol, NotesInsertedTogetherAreCountedOneAfterTheOther)
{
    login();
    std::vector<std::string> got = after([] {
        dvsim_insert(2000);
        dvsim_insert(200);
    });
    EXPECT_EQ((std::vector<std::string>{"a0000000011", "a0000200001", "a0000200011", "a0000220001"}), got);
}

TEST_F(SimProtocol, DepositAndDispenseWithPayinDisabled)
{
    login();
    pay({2000});
    play({
        {"g", '0', {"a0000200031"}},
        {payout("00000000", "00002000"), '0', {"a0000200011", "a0000000031"}},
        {cmd({"c", "00001250", "T1"}), '0', {"a0000000011", "a0000000031"}},
    });
    EXPECT_EQ(19, countOf(1000));
    EXPECT_EQ(29, countOf(200));
    EXPECT_EQ(29, countOf(50));
}

TEST_F(SimProtocol, AskPayoutAnswersWithTheRest)
{
    dvsim_inventory inv{};
    std::strcpy(inv.currency, "EUR");
    inv.decimals = 2;
    inv.count = 3;
    inv.denominations[0] = {1000, 1, 0, 0};
    inv.denominations[1] = {500, 0, 0, 0};
    inv.denominations[2] = {100, 2, 0, 0};
    ASSERT_EQ(DVSIM_OK, dvsim_set_inventory(&inv));
    login();
    play({
        {cmd({"d", "00001200"}), '0', {"c0000000001"}},
        // 1000 + 2 x 100 is the most it can pay; the 1 EUR coins run out
        {cmd({"d", "00001500"}), '0', {"c0000030001", "b000000000100 1 EUR        ", "a0000000001"}},
    });
    EXPECT_EQ(1, countOf(1000)); // asking pays nothing
}

TEST_F(SimProtocol, ChangeAndRegret)
{
    login();
    pay({2000});
    play({
        {cmd({"e", "1"}), '0', {"a0000200011", "a0000000001"}},
        {cmd({"e", "1"}), '0', {"a0000000001"}}, // nothing paid in: nothing to change
        {"@insert 1000", '0', {"a0000000011", "a0000100001"}},
        {"@insert 500", '0', {"a0000100011", "a0000150001"}},
        {cmd({"e", "2"}), '0', {"a0000150011", "a0000100001"}},
        {"@insert 200", '0', {"a0000100011", "a0000120001"}},
        {cmd({"e", "4"}), '0', {"a0000120011", "a0000000001"}},
        {cmd({"e", "4"}), '0', {"a0000000001"}},
        {"@insert 50", '0', {"a0000000011", "a0000005001"}},
        {cmd({"f", "00000000", "00000000", "regretAll"}), '0', {"a0000005011", "a0000000001"}},
        {cmd({"e", "3"}), '0', {"a0000000001"}},
    });
    // the 20 EUR note was changed into smaller notes, everything else went back
    EXPECT_EQ(21, countOf(2000));
    EXPECT_EQ(18, countOf(1000));
    EXPECT_EQ(20, countOf(500));
    EXPECT_EQ(30, countOf(200));
    EXPECT_EQ(30, countOf(50));
}

TEST_F(SimProtocol, PayoutThatCannotBeMadeReportsTheRest)
{
    ASSERT_EQ(DVSIM_OK, dvsim_load_scenario_text("denomination 1000 count 1\ndenomination 200 count 1\n", nullptr, 0));
    login();
    play({{payout("00001500", "00000000"), '0',
           {"a0000000011", "c0000030011", "b000000001100 10 EUR       ", "b000000001100 2 EUR        ",
            "a0000000001"}}});
}

TEST_F(SimProtocol, ThresholdCrossingsReportLowEmptyAndHigh)
{
    ASSERT_EQ(DVSIM_OK, dvsim_load_scenario_text("denomination 1000 count 3 low 2\n"
                                                 "denomination 500 count 59 low 5 high 60\n"
                                                 "denomination 50 count 6 low 5 high 99\n",
                                                 nullptr, 0));
    login();
    play({
        {payout("00001000", "00000000"), '0', {"a0000000011", "b000000001102 10 EUR       ", "a0000000001"}},
        {payout("00001050", "00000000"), '0',
         {"a0000000011", "b000000001105 0,50 EUR     ", "a0000000001"}}, // 10 EUR stays low: no report
        {payout("00001000", "00000000"), '0', {"a0000000011", "b000000001100 10 EUR       ", "a0000000001"}},
        {"@insert 500", '0', {"a0000000011", "b0000000011005 EUR         ", "a0000050001"}},
        {"@insert 500", '0', {"a0000050011", "a0000100001"}}, // still high: reported once
    });
}

TEST_F(SimProtocol, LevelTailsReadBackAsTheirDenomination)
{
    // Every default denomination empties, goes low and goes high once; the
    // value read back from each tail must be the denomination itself.
    dvsim_inventory inv{};
    ASSERT_EQ(DVSIM_OK, dvsim_get_inventory(&inv));
    long total = 0;
    for (size_t i = 0; i < inv.count; ++i) {
        inv.denominations[i].count = 2;
        inv.denominations[i].low = 1;
        inv.denominations[i].high = 3;
        total += inv.denominations[i].value;
    }
    ASSERT_EQ(DVSIM_OK, dvsim_set_inventory(&inv));
    login();
    char amount[16];
    std::snprintf(amount, sizeof amount, "%08ld", total);
    std::vector<std::string> lowTails = converse(payout(amount, "00000000"));
    std::vector<std::string> emptyTails = converse(payout(amount, "00000000"));
    std::vector<std::string> highTails;
    for (size_t i = 0; i < inv.count; ++i)
        dvsim_set_count(inv.denominations[i].value, 2);
    for (size_t i = 0; i < inv.count; ++i) {
        std::vector<std::string> got = after([&] { dvsim_insert(inv.denominations[i].value); });
        highTails.insert(highTails.end(), got.begin(), got.end());
    }
    struct Case {
        std::vector<std::string>* reports;
        int type;
        long count;
    } cases[] = {{&lowTails, 2, 1}, {&emptyTails, 1, 0}, {&highTails, 3, 999}};
    for (const Case& c : cases) {
        std::vector<long> seen;
        for (const std::string& r : *c.reports) {
            if (r[0] != 'b')
                continue;
            std::string tail = r.substr(11);
            ASSERT_GE(tail.size(), 16u) << r;
            Level l = readLevel(tail, 2);
            EXPECT_EQ(c.type, l.type) << r;
            EXPECT_EQ(c.count, l.count) << r;
            seen.push_back(l.value);
        }
        ASSERT_EQ(inv.count, seen.size());
        for (size_t i = 0; i < inv.count; ++i)
            EXPECT_EQ(inv.denominations[i].value, seen[i]);
    }
}

TEST_F(SimProtocol, CommandsDuringWorkAreAnsweredBusy)
{
    login();
    ASSERT_EQ('0', code(send(payout("00000100", "00000000"))));
    std::string a = send("g");
    EXPECT_EQ("gB1 busy", a);
    EXPECT_EQ(DVSIM_E_BUSY, dvsim_insert(100));
    ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    EXPECT_EQ('0', code(send("g")));
}

TEST_F(SimProtocol, AnswerLayout)
{
    EXPECT_EQ("hC3 session closed", send("h"));
    EXPECT_EQ("a00 login", send(kLogin));
    ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    EXPECT_EQ("d00 ask payout, possible", send(cmd({"d", "00000100"})));
    EXPECT_EQ("zU2 unknown command", send("z"));
    EXPECT_EQ("eM2 malformed command", send("e"));
}

class SimBadInput : public Sim {};

TEST_F(SimBadInput, MalformedAndUnknownCommandsGetAnErrorAndChangeNothing)
{
    login();
    const std::string bad[] = {
        "",                                    // empty
        "z",                                   // unknown letter
        "ab",                                  // letter field too long
        std::string("\x01\x02"),               // control bytes
        cmd({"a", "1", "02", "0905"}),         // one-digit register
        cmd({"a", "01", "02", "2460"}),        // no such time
        cmd({"a", "01", "02"}),                // field missing
        cmd({"b", "x"}),                       // extra field
        cmd({"c", "1000"}),                    // short amount
        cmd({"c", "100000000"}),               // above the largest amount
        cmd({"d", "0000150"}),                 // 7 digits
        cmd({"d", "000015000"}),               // ask-payout takes exactly 8
        cmd({"d", "0000I500"}),                // not a digit
        cmd({"e", "5"}),                       // no such sub-command
        cmd({"e", "12"}),
        "e",
        cmd({"f", "00000100"}),                // deposit missing
        cmd({"f", "00000100", "-0000001"}),
        cmd({"g", ""}),
        cmd({"x", "1", "2"}),
        std::string(300, 'f'),                 // long garbage
    };
    for (const std::string& req : bad) {
        std::string a = send(req);
        EXPECT_EQ('2', code(a)) << "'" << req << "' -> '" << a << "'";
    }
    EXPECT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    EXPECT_EQ(1, status().session_open);
    EXPECT_EQ(0, status().status);
    EXPECT_EQ(static_cast<long>(std::size(bad)) + 1, dvsim_command_count());
}

TEST_F(SimBadInput, DepositAboveThePaidInAmountIsRefused)
{
    login();
    pay({500});
    std::string a = send(payout("00000000", "00000600"));
    EXPECT_EQ("fS2 deposit exceeds paid in", a);
    EXPECT_EQ(0, status().status);
}

TEST_F(SimBadInput, SessionCommandsAreClosedWhileLoggedOut)
{
    for (const std::string& req : {std::string("h"), std::string("g"), cmd({"c", "00000100"}), cmd({"d", "00000100"}),
                                   cmd({"e", "1"}), cmd({"e", "2"}), cmd({"e", "4"}), payout("00000100", "00000000")})
        EXPECT_EQ('3', code(send(req))) << req;
    EXPECT_EQ('0', code(send(cmd({"e", "3"}))));
    EXPECT_EQ('0', code(send(cmd({"x", "t"}))));
}

TEST_F(SimBadInput, NullPointersAndNoLink)
{
    char ans[64];
    dv_002(nullptr, ans);
    EXPECT_STREQ("?M2 no command", ans);
    char req[] = "h";
    dv_002(req, nullptr); // nowhere to answer: nothing happens
    dv_dini();
    dv_002(req, ans);
    EXPECT_STREQ("?L2 link not open", ans);
    dv_dini(); // twice is harmless
    short result = -1;
    dv_initiate2(nullptr, nullptr, ans, &result);
    EXPECT_EQ(2, result);
    dv_initiate2(recordReport, nullptr, nullptr, nullptr); // null port, answer and result
    EXPECT_EQ(1, status().link_open);
}
