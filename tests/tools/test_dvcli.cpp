// dvcli as a till developer runs it: the demo, scripts (passing and failing
// as their expectations say), and the console with bad input and on a
// terminal. Each case runs dvcli against the simulator built beside it.
#include "process.h"
#include "testutil.h"

#include <gtest/gtest.h>

#include <regex>

using namespace dvtest;

namespace {

const std::string kDvcli = DVCLI_PATH;
const std::string kScripts = DVCLI_SCRIPTS;

class Dvcli : public ::testing::Test {
protected:
    RunResult dvcli(std::vector<std::string> args, const std::string& input = "",
                    std::vector<std::pair<std::string, std::string>> env = {})
    {
        args.insert(args.begin(), kDvcli);
        RunOptions options;
        options.input = input;
        options.env = {{"DVLOGS", logs.path()}, {"DVCONFIG", work.path()}};
        options.env.insert(options.env.end(), env.begin(), env.end());
        options.cwd = work.path();
        return runProgram(args, options);
    }
    std::string script(const std::string& text)
    {
        const std::string path = work.file("t.dvs");
        writeFile(path, text);
        return path;
    }
    // Position of the first line from `from` on that matches `regex`; npos if none.
    static size_t findLine(const std::vector<std::string>& lines, const std::string& regex, size_t from = 0)
    {
        const std::regex re(regex);
        for (size_t i = from; i < lines.size(); ++i)
            if (std::regex_search(lines[i], re))
                return i;
        return std::string::npos;
    }
    static size_t countLines(const std::string& text, const std::string& regex)
    {
        const std::regex re(regex);
        size_t n = 0;
        for (const std::string& line : linesOf(text))
            n += std::regex_search(line, re) ? 1 : 0;
        return n;
    }

    TempDir logs, work;
};

const char kSaleStart[] = "register\ninit\nlogin 1 7\nenable\nwait-idle\n";

} // namespace

// ---- The demo ---------------------------------------------------------------

TEST_F(Dvcli, DemoSellsRefundsAndExitsZero)
{
    const RunResult r = dvcli({"demo"});
    ASSERT_EQ(r.status, 0) << r.all();
    EXPECT_EQ(r.out.find('\x1b'), std::string::npos) << "colour on a pipe";
    const std::vector<std::string> lines = linesOf(r.out);

    // Every call, in the library's order, and each answered 0 "Done".
    size_t at = 0;
    for (const char* call : {"registerEvents23DV\\(", "initDV\\(\"Type:RS232;Name:sim\"", "loginDV\\(1, 7\\)",
                             "enablePayinDV\\(\\)", "payoutDV\\(750, 1250, \"T-1001\"\\)", "regretDV\\(1\\)",
                             "disablePayinDV\\(\\)", "logoutDV\\(\\)", "exitDV\\(\\)"}) {
        at = findLine(lines, std::string("^  ") + call, at);
        ASSERT_NE(at, std::string::npos) << call << "\n" << r.out;
    }
    EXPECT_EQ(countLines(r.out, "  0 DV_STATUS_OK +Done$"), 9u) << r.out;
    EXPECT_EQ(countLines(r.out, "DV_STATUS_(?!OK)"), 0u);

    // The events, each on its own line, where they belong.
    const size_t payout = findLine(lines, "^  payoutDV\\(");
    const size_t regret = findLine(lines, "^  regretDV\\(");
    const size_t logout = findLine(lines, "^  logoutDV\\(");
    EXPECT_LT(findLine(lines, "^  \\[event\\] status +amount 1000 +status 0 enabled +mode 1 open$"), payout);
    EXPECT_LT(findLine(lines, "^  \\[event\\] status +amount 2000 +status 0 enabled +mode 1 open$"), payout);
    const size_t level = findLine(lines, "^  \\[event\\] level +denomination 50 +left 5 ", payout);
    const size_t warning =
        findLine(lines, "^  \\[event\\] warning +type 2 \"Low\" +denomination 50 \"0,50\" +left 5 ", payout);
    EXPECT_LT(level, regret);
    EXPECT_LT(warning, regret);
    EXPECT_NE(findLine(lines, "^  \\[event\\] status +amount 700 +status 0 enabled", payout), std::string::npos);
    EXPECT_NE(findLine(lines, "^  \\[event\\] status +amount 0 +status 3 disabled +mode 0 closed$", logout),
              std::string::npos);
    EXPECT_EQ(countLines(r.out, "\\[event\\] error"), 0u);

    // The summary.
    EXPECT_EQ(countLines(r.out, "^  paid in +20\\.00 EUR$"), 1u) << r.out;
    EXPECT_EQ(countLines(r.out, "^  change given +7\\.50 EUR$"), 1u);
    EXPECT_EQ(countLines(r.out, "^  refunded +7\\.00 EUR"), 1u);
    EXPECT_EQ(countLines(r.out, "^ +0\\.50 +6 +5 +-1$"), 1u);
    EXPECT_EQ(countLines(r.out, "^ +value +1303\\.50 +1316\\.00 +\\+12\\.50$"), 1u);
    EXPECT_EQ(countLines(r.out, "result +all \\d+ steps answered as expected$"), 1u);
}

TEST_F(Dvcli, DemoFailsWhenTheDeviceDoesNotAnswerAsExpected)
{
    // The second note jams: the demo cannot go on, closes, and says why.
    writeFile(work.file("jam.dvsim"), "fault 7 at insert 2 NOTE JAM\n");
    const RunResult r = dvcli({"demo"}, "", {{"DVSIM_CONFIG", work.file("jam.dvsim")}});
    EXPECT_EQ(r.status, 1) << r.all();
    EXPECT_EQ(countLines(r.out, "\\[event\\] error +code 7 "), 1u) << r.out;
    EXPECT_EQ(countLines(r.out, "did not answer as expected"), 1u);
    EXPECT_EQ(countLines(r.out, "^  payoutDV"), 0u);
    EXPECT_EQ(countLines(r.out, "^  exitDV\\(\\) +0 DV_STATUS_OK"), 1u); // it still closes
}

TEST_F(Dvcli, DemoNeedsTheSimulator)
{
    const RunResult r = dvcli({"demo", "--device", "system"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("the demo needs the simulator"), std::string::npos) << r.all();
}

// ---- Scripts -----------------------------------------------------------------

class ShippedScript : public Dvcli, public ::testing::WithParamInterface<const char*> {};

TEST_P(ShippedScript, Passes)
{
    const RunResult r = dvcli({"run", kScripts + "/" + GetParam() + ".dvs"});
    EXPECT_EQ(r.status, 0) << r.all();
    EXPECT_EQ(countLines(r.out, "passed, [1-9][0-9]* expectation\\(s\\) met$"), 1u) << r.all();
    EXPECT_EQ(r.err, "");
}

INSTANTIATE_TEST_SUITE_P(Examples, ShippedScript, ::testing::Values("sale", "jam-reset", "refund", "refusals"));

TEST_F(Dvcli, ScriptStopsAtTheFirstUnexpectedStatus)
{
    const RunResult r = dvcli({"run", script("register\ninit\n\nlogin 1 7\nexpect 3 DV_STATUS_BUSY\nlogout\n")});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, work.file("t.dvs") + ":5: FAILED: expected 3 DV_STATUS_WARNING or 1 DV_STATUS_BUSY from "
                                          "loginDV, got 0 DV_STATUS_OK \"Done\"\n");
    EXPECT_EQ(r.out.find("logoutDV"), std::string::npos) << "ran past the failure";
}

TEST_F(Dvcli, ScriptFailsOnANonZeroStatusThatNoExpectAccepts)
{
    // Reported at the command's own line, when the next command comes...
    RunResult r = dvcli({"run", script("login 1 1\n# not initiated yet\nregister\n")});
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, work.file("t.dvs") + ":1: FAILED: loginDV answered 2 DV_STATUS_ERROR \"Not initiated\" and no "
                                          "'expect' accepts it\n");
    EXPECT_EQ(r.out.find("registerEvents"), std::string::npos);

    // ... or at the end of the script; checks in between do not count.
    r = dvcli({"run", script("register\ninit\nenable\nexpect-message Closed\n")});
    EXPECT_EQ(r.status, 1) << r.all();
    EXPECT_NE(r.err.find("t.dvs:3: FAILED: enablePayinDV answered 5 DV_STATUS_CLOSED"), std::string::npos) << r.err;

    // A simulator command that fails counts as well.
    r = dvcli({"run", script("sim insert 300\nregister\n")});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("t.dvs:1: FAILED: sim insert answered -2 error \"insert 300: not possible in this state\""),
              std::string::npos)
        << r.err;
}

TEST_F(Dvcli, ScriptChecksMessagesOutputsAndEvents)
{
    RunResult r = dvcli({"run", script(std::string(kSaleStart) + "sim insert 500\nexpect-message inserted\n"
                                                                 "expect-event status 500 0 1\n"
                                                                 "ask2 3\nexpect 8\nexpect-output rest 4\n")});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("t.dvs:11: FAILED: expected rest \"4\" from askPayout2DV, got \"3\""), std::string::npos)
        << r.all();

    r = dvcli({"run", script(std::string(kSaleStart) + "timeout 300\nsim insert 500\n"
                                                       "expect-event status 600\n")});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("t.dvs:8: FAILED: expected event status amount 600 within 300 ms, got 2 other event(s), "
                         "the last: status   amount 500"),
              std::string::npos)
        << r.all();

    r = dvcli({"run", script(std::string(kSaleStart) + "sim jam\nwait-idle\nexpect-no-event error\n")});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("t.dvs:8: FAILED: expected no event error, got: error    code 7"), std::string::npos)
        << r.all();

    r = dvcli({"run", script("register\nexpect-message Closed\n")});
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("t.dvs:2: FAILED: expected message \"Closed\" from registerEvents23DV, got \"Done\""),
              std::string::npos)
        << r.all();
}

TEST_F(Dvcli, ExpectEventTakesEachEventOnceAndInOrder)
{
    // Two status events 0 0 1 (login, enable) satisfy two expectations; a
    // third one has to wait for a third event that never comes.
    const std::string base = "register\ninit\nlogin 1 1\nexpect-event status 0 0 1\nenable\n"
                             "expect-event status 0 0 1\ntimeout 300\n";
    RunResult r = dvcli({"run", script(base + "wait-idle\n")});
    EXPECT_EQ(r.status, 0) << r.all();
    r = dvcli({"run", script(base + "expect-event status 0 0 1\n")});
    EXPECT_EQ(r.status, 1) << r.all();
    EXPECT_NE(r.err.find("t.dvs:8: FAILED: expected event status amount 0 status 0 mode 1"), std::string::npos);
}

TEST_F(Dvcli, BadScriptLinesStopWithStatusTwo)
{
    const struct {
        std::string text;
        std::string error;
    } cases[] = {
        {"register\nlogin one 7\n", ":2: error: login: REG must be a whole number from -32768 to 32767, not 'one'"},
        {"registr\n", ":1: error: unknown command 'registr' (try 'help')"},
        {"expect 0\n", ":1: error: expect: nothing to check yet (no command has run)"},
        {"register\nexpect OKAY\n", ":2: error: expect: 'OKAY' is not a status code"},
        {"register\nexpect-event status 1 2 3 4\n", ":2: error: usage: expect-event KIND [FIELD...]"},
        {"register\nexpect-output rest 0\n", ":2: error: registerEvents23DV has no output 'rest' (it has none)"},
        {"deposit \"T-1\n", ":1: error: unterminated quote"},
    };
    for (const auto& c : cases) {
        const RunResult r = dvcli({"run", script(c.text)});
        EXPECT_EQ(r.status, 2) << c.text;
        EXPECT_NE(r.err.find(work.file("t.dvs") + c.error), std::string::npos) << c.text << "\n" << r.err;
    }
    const RunResult missing = dvcli({"run", work.file("none.dvs")});
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find("cannot read"), std::string::npos);
}

TEST_F(Dvcli, ScriptFromStandardInputEndsAtQuit)
{
    const RunResult r = dvcli({"run", "-"}, "register\nexpect 0\nquit\nlogin x y\n");
    EXPECT_EQ(r.status, 0) << r.all();
    EXPECT_NE(r.out.find("<stdin>: passed, 1 expectation(s) met"), std::string::npos);
}

// ---- The console ---------------------------------------------------------------

TEST_F(Dvcli, ConsoleSurvivesBadInput)
{
    const std::vector<std::string> bad = {
        "foo",           "login",         "login x 1",        "login 1 2 3",       "payout 1",
        "regret",        "regret zero",   "dispense 99999999999", "\"unterminated", "expect 0",
        "expect-event",  "expect-event nothing", "register 7",  "settings",          "help nothing",
        "sim",           "sleep -1",      "wait-idle x",      "login 70000 1",     std::string("\x01\x1b[A\x7f", 5),
    };
    std::string input;
    for (const std::string& line : bad)
        input += line + "\n";
    input += "\n# a comment\nopen\nsim insert abc\nregister\ninit\nlogin 1 1\nsim status\n";
    const RunResult r = dvcli({}, input);
    EXPECT_EQ(r.status, 0) << r.all();
    // One error line per bad line, and nothing else went wrong.
    EXPECT_EQ(countLines(r.out, "^error: "), bad.size()) << r.out;
    // 5 calls, 1 event, and 2 or 3 calls split over two lines: the login's
    // status event may be printed just before or just after its result.
    const size_t lines = linesOf(r.out).size();
    EXPECT_TRUE(lines == bad.size() + 8 || lines == bad.size() + 9) << r.out;
    EXPECT_EQ(countLines(r.out, "^  \\[event\\] status "), 1u) << r.out;
    EXPECT_EQ(countLines(r.out, "^  isOpenDV\\(&open\\) +2 DV_STATUS_ERROR +Not initiated  \\(open 0\\)$"), 1u);
    EXPECT_EQ(countLines(r.out, "^  sim insert abc +-1 error +bad value 'abc'$"), 1u);
    EXPECT_EQ(countLines(r.out, "^  sim status +0 ok +link open session open status 0"), 1u);
    EXPECT_EQ(r.err, "");
}

TEST_F(Dvcli, ConsoleWithoutTheSimulatorRefusesSimCommands)
{
    const RunResult r = dvcli({"--device", "system"}, "sim status\nwait-idle\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "error: the simulator is not loaded (dvcli runs with --device system)\n"
                     "error: wait-idle: the simulator is not loaded\n");
}

TEST_F(Dvcli, ColourOnlyWhenAsked)
{
    const RunResult r = dvcli({"--color"}, "open\n");
    EXPECT_NE(r.out.find("\x1b[1;31m2 DV_STATUS_ERROR\x1b[0m"), std::string::npos) << r.out;
}

TEST_F(Dvcli, UnknownOptionsAndDevicesAreUsageErrors)
{
    EXPECT_EQ(dvcli({"--devise", "sim"}).status, 2);
    EXPECT_EQ(dvcli({"run"}).status, 2);
    const RunResult r = dvcli({"--device", work.file("liblinkora.so.1")});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("cannot load " + work.file("liblinkora.so.1")), std::string::npos) << r.err;
}

TEST_F(Dvcli, TerminalKeepsTheTypedTextWhenEventsArriveAndHasHistory)
{
    Terminal t;
    ASSERT_TRUE(t.start({kDvcli, "--no-color", "--realistic"}, {{"DVLOGS", logs.path()}, {"TERM", "xterm"}}));
    ASSERT_TRUE(t.waitFor("dv> ", 10000)) << t.screen();
    t.type("register\rinit\rlogin 1 1\renable\r");
    ASSERT_TRUE(t.waitFor("enablePayinDV()", 10000)) << t.screen();
    t.type("sim insert 1000\r");
    ASSERT_TRUE(t.waitFor("inserted", 10000)) << t.screen();
    // Counting the note takes 700 ms: "ope" is typed long before its
    // event, which is printed above the prompt, and the text is redrawn.
    t.type("ope");
    ASSERT_TRUE(t.waitFor("amount 1000     status 0 enabled", 10000)) << t.screen();
    ASSERT_TRUE(t.waitFor("\rdv> ope", 5000)) << t.screen();
    t.type("n\r");
    ASSERT_TRUE(t.waitFor("isOpenDV(&open)", 5000)) << t.screen();
    ASSERT_TRUE(t.waitFor("(open 1)", 5000)) << t.screen();
    t.type("\x1b[A\r"); // the same again, from the history
    ASSERT_TRUE(t.waitFor("isOpenDV(&open)", 5000)) << t.screen();
    t.type("\x04"); // Ctrl-D on an empty line leaves
    EXPECT_EQ(t.finish(10000), 0);
}
