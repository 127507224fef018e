// Device reports: the state they leave, the events they send and the log
// lines they write.
#include "reportfixture.h"

#include "events/dvevents.h"

using dvtest::Event;

namespace {

std::string pad16(const std::string& tail)
{
    return tail + std::string(tail.size() < 16 ? 16 - tail.size() : 0, ' ');
}

TEST_F(ReportTest, MalformedReportMeansErrorWithoutEvent)
{
    g_nLastCallbackStatus = 0;
    EXPECT_TRUE(feed("a00001000"));
    EXPECT_EQ(g_nLastCallbackStatus.load(), 2);
    EXPECT_TRUE(events().empty());
    EXPECT_TRUE(g_strPrevCallbackArg.equals("a00001000"));
    const std::vector<std::string> expected = {"!! formatCallbackArg: Callback string too short",
                                               "!! cdvlogics.callbackfunc: Error in format of received callback",
                                               "!! a00001000"};
    EXPECT_EQ(logic(), expected);
    EXPECT_EQ(errors(), expected);
}

TEST_F(ReportTest, ReportAfterLogoutOpensThePayinState)
{
    feed("a0000000001");
    EXPECT_TRUE(g_bDVOpened.load());
    EXPECT_EQ(g_DVState.load(), DVS_PAYIN_ENABLED);
    EXPECT_EQ(g_nAmountPayedIn.load(), 0);
    ASSERT_EQ(events().size(), 1u);
    EXPECT_EQ(events()[0].str(), "status 0 0 1");
    EXPECT_EQ(logic(), (std::vector<std::string>{"<- a0000000001", "<= sendStatusEvent: amount=0, status=0, mode=1"}));
    EXPECT_EQ(api(), (std::vector<std::string>{"<= StatusEvent: amount=0, status=0, mode=1"}));
}

TEST_F(ReportTest, StateMovesOnlyOutOfLoggedOutOrAFailedLogin)
{
    const struct {
        DVSTATES before;
        int lastStatus;
        char lastCmd;
        const char* report;
        DVSTATES after;
    } cases[] = {
        {DVS_LOGGED_OUT, 0, 0, "a0000000031", DVS_PAYIN_DISABLED},
        {DVS_LOGGED_OUT, 0, 0, "a0000000011", DVS_LOGGED_OUT},   // working: left
        {DVS_LOGGED_OUT, 0, 0, "a0000000000", DVS_LOGGED_OUT},   // not open
        {DVS_PAYIN_ENABLED, 0, 0, "a0000000031", DVS_PAYIN_ENABLED},
        {DVS_CASH_DEPOSITED, 2, 'A', "a0000000001", DVS_PAYIN_ENABLED}, // after a failed login
        {DVS_PAYIN_ENABLED, 2, 'A', "a0000000031", DVS_PAYIN_DISABLED},
        {DVS_PAYIN_ENABLED, 2, 'A', "a0000000030", DVS_PAYIN_ENABLED},  // not open
        {DVS_CASH_DEPOSITED, 2, 'H', "a0000000001", DVS_CASH_DEPOSITED},
    };
    for (const auto& c : cases) {
        g_DVState = c.before;
        g_nLastCallbackStatus = c.lastStatus;
        g_cLastCmd = c.lastCmd;
        g_strPrevCallbackArg.clear();
        feed(c.report);
        EXPECT_EQ(g_DVState.load(), c.after) << c.report << " from " << c.before;
    }
}

TEST_F(ReportTest, DuplicateIsForwardedOnlyWithoutChangeOnly)
{
    feed("a0000050001");
    feed("a0000050001");
    EXPECT_EQ(events("status").size(), 1u);
    EXPECT_EQ(dvtest::grep(logs.file("dvlogic_Mon.log"), "<- a0000050001").size(), 1u);

    g_nForwardCallbackChangeOnly = 0;
    g_nLoggEveryCallback = 1;
    feed("a0000050001");
    EXPECT_EQ(events("status").size(), 2u);
    EXPECT_EQ(dvtest::grep(logs.file("dvlogic_Mon.log"), "<- a0000050001").size(), 2u);
}

TEST_F(ReportTest, DisabledReportInPayinEnabledOnlySendsTheEvent)
{
    g_DVState = DVS_PAYIN_ENABLED;
    feed("a0000000031");
    EXPECT_EQ(g_DVState.load(), DVS_PAYIN_ENABLED);
    ASSERT_EQ(events().size(), 1u);
    EXPECT_EQ(events()[0].str(), "status 0 3 1");
}

TEST_F(ReportTest, DuplicateRuleUnderEverySetting)
{
    const struct {
        int changeOnly, logEvery;
        size_t events, rawLines;
    } cases[] = {{1, 0, 1, 1}, {1, 1, 1, 2}, {0, 0, 2, 1}, {0, 1, 2, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE("ForwardCallbackChangeOnly " + std::to_string(c.changeOnly) + ", LoggEveryCallback " +
                     std::to_string(c.logEvery));
        g_nForwardCallbackChangeOnly = c.changeOnly;
        g_nLoggEveryCallback = c.logEvery;
        g_strPrevCallbackArg.clear();
        dvtest::Recorder::instance().clear();
        const size_t before = dvtest::grep(logs.file("dvlogic_Mon.log"), "<- a0000050001").size();
        feed("a0000050001");
        feed("a0000050001");
        EXPECT_EQ(events("status").size(), c.events);
        EXPECT_EQ(dvtest::grep(logs.file("dvlogic_Mon.log"), "<- a0000050001").size() - before, c.rawLines);
    }
}

TEST_F(ReportTest, RepeatedLevelAndRestReportsAreNotForwardedWithChangeOnly)
{
    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    feed("b0000000001" + pad16("05 10 EUR"));
    feed("b0000000001" + pad16("05 10 EUR"));
    EXPECT_EQ(events("level").size(), 1u);
    feed("c0000050011");
    g_nAmountPayedIn = 0;
    feed("c0000050011");
    EXPECT_EQ(events("status").size(), 1u);
    EXPECT_EQ(g_nAmountPayedIn.load(), 0); // the repeat stops before the amount is taken
}

TEST_F(ReportTest, DuplicateStillUpdatesTheState)
{
    feed("a0000050001");
    g_nAmountPayedIn = 7;
    feed("a0000050001");
    EXPECT_EQ(g_nAmountPayedIn.load(), 500);
}

TEST_F(ReportTest, NoStatusEventWhileAPayoutIsBeingSent)
{
    isProcessingPayoutCommand = true;
    feed("a0000000011");
    isProcessingPayoutCommand = false;
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(g_nLastCallbackStatus.load(), 1);
}

TEST_F(ReportTest, PendingLowLevelWarningSettlesOnIdle)
{
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE_PENDING;
    feed("a0000000001");
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_FALSE);
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_TRUE_PENDING;
    feed("a0000000031"); // not idle: left pending
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_TRUE_PENDING);
    feed("a0000000001");
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_FALSE);
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_TRUE;
    feed("a0000000101");
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_TRUE);
}

TEST_F(ReportTest, LevelReportGoesToBothLevelCallbacks)
{
    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    feed("b0000000001" + pad16("05 10 EUR"));
    EXPECT_EQ(events("status").size(), 0u); // nothing changed
    ASSERT_EQ(events("level").size(), 1u);
    EXPECT_EQ(events("level")[0].str(), "level 1000 5 0 [05 10 EUR       ]");
    ASSERT_EQ(events("warning").size(), 1u);
    EXPECT_EQ(events("warning")[0].str(), "warning 2 1000 5 [Low] [10] [10 Low (5 Left)] [05 10 EUR       ]");
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_TRUE);
}

TEST_F(ReportTest, LevelTails)
{
    const struct {
        const char* tail;
        const char* warning;
    } cases[] = {
        {"05 10 EUR", "warning 2 1000 5 [Low] [10] [10 Low (5 Left)]"},
        {"00 10 EUR", "warning 1 1000 0 [Empty] [10] [10 Empty]"},
        {"12 0,50 EUR", "warning 2 50 12 [Low] [0,50] [0,50 Low (12 Left)]"},
        {"03 0,5 EUR", "warning 2 5 3 [Low] [0,5] [0,5 Low (3 Left)]"},
        {"100 EUR", "warning 3 10000 999 [High] [100] [100 High ( EUR)]"},
        {"0,50 EUR", "warning 3 50 999 [High] [0,50] [0,50 High ( EUR)]"},
    };
    for (const auto& c : cases) {
        dvtest::Recorder::instance().clear();
        sendCashLevelEvent(pad16(c.tail));
        ASSERT_EQ(events("warning").size(), 1u) << c.tail;
        const std::string got = events("warning")[0].str();
        EXPECT_EQ(got.substr(0, got.rfind(" [")), c.warning);
    }
}

TEST_F(ReportTest, EmptyTailGoesToTheCashLevelDelivery)
{
    // The level path reads nothing from an empty list: no callback, and the
    // unreadable level counts as a low one.
    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
    feed("b0000000001");
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_TRUE);
    EXPECT_EQ(errors(), (std::vector<std::string>{"!! getCashLevels: wrong message length: "}));
}

TEST_F(ReportTest, StatusChangeOnABReportIsSentFirst)
{
    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    feed("b0000010031" + pad16("05 10 EUR"));
    ASSERT_EQ(events().size(), 3u);
    EXPECT_EQ(events()[0].str(), "status 100 3 1");
    EXPECT_EQ(events()[1].kind, "level");
    EXPECT_EQ(g_nAmountPayedIn.load(), 100);
}

TEST_F(ReportTest, EnteringAnErrorSendsTheErrorEventStayingInItTheTail)
{
    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    g_nForwardCallbackChangeOnly = 0;
    const std::string report = "b0000000021NOTE JAM      07";
    feed(report);
    ASSERT_EQ(events("error").size(), 1u);
    EXPECT_EQ(events("error")[0].str(), "error 7 0 0 [Error Code 7] [ErrorInfo Not set]");
    EXPECT_EQ(events("status").size(), 1u);

    feed(report); // already in error: the tail is a session record (it starts with a letter)
    EXPECT_EQ(events("error").size(), 1u);
    EXPECT_EQ(events("session").size(), 0u); // "NOTE " is no session word
    EXPECT_FALSE(dvtest::grep(logs.file("dvlogic_Mon.log"), "!! getSessionInfo: Unknown infoType").empty());

    feed("b0000000021" + pad16("05 10 EUR")); // error with a level tail, while in error
    EXPECT_EQ(events("level").size(), 1u);
    feed("b0000000021BO/WD00012000"); // and a session record, while in error
    ASSERT_EQ(events("session").size(), 1u);
    EXPECT_EQ(events("session")[0].b, 12000);
    EXPECT_EQ(events("error").size(), 1u);
}

TEST_F(ReportTest, ErrorEventIsLoggedToTheErrorFileAlways)
{
    g_nLastCallbackStatus = 0;
    g_nLoggSendEvents = 0;
    feed("b0000000021COIN JAM      00");
    ASSERT_EQ(events("error").size(), 1u);
    EXPECT_EQ(events("error")[0].a, 0);
    EXPECT_EQ(events("error")[0].texts[0], "Error Code 0");
    EXPECT_FALSE(dvtest::grep(logs.file("dverror_Nov.log"),
                              "!! ErrorEvent: errorCode=0, errorText=Error Code 0, extInfo=ErrorInfo Not set")
                     .empty());
    EXPECT_TRUE(dvtest::grep(logs.file("dvapi_Mon.log"), "ErrorEvent").empty());
}

TEST_F(ReportTest, ErrorTextsComeFromTheLanguageFile)
{
    dvtest::writeFile(config.file("dvlang.ini"), "[Lang]\nError Code 7 = Notenstau %s%n\n");
    g_nLastCallbackStatus = 0;
    feed("b0000000021NOTE JAM      07");
    ASSERT_EQ(events("error").size(), 1u);
    EXPECT_EQ(events("error")[0].texts[0], "Notenstau %s%n");
}

TEST_F(ReportTest, SessionRecords)
{
    const struct {
        const char* tail;
        long type;
        long amount;
    } cases[] = {{"BO/WD00012000", 0, 12000}, {"BO/RF00000050", 1, 50}, {"CR/WD00000001", 2, 1},
                 {"CR/RF99999999", 3, 99999999}, {"Dravik 1.2 SN 4711", 4, 0}};
    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    for (const auto& c : cases)
        feed(std::string("b0000000001") + c.tail);
    const auto got = events("session");
    ASSERT_EQ(got.size(), 5u);
    for (size_t i = 0; i < 5; ++i) {
        EXPECT_EQ(got[i].a, cases[i].type);
        EXPECT_EQ(got[i].b, cases[i].amount);
    }
    EXPECT_EQ(got[4].texts[0], "Dravik 1.2 SN 4711");
}

TEST_F(ReportTest, RestReports)
{
    feed("c0000050001");
    EXPECT_EQ(g_nLastCmessageRest.load(), 500);
    EXPECT_EQ(g_nAmountPayedIn.load(), 0);
    EXPECT_TRUE(events().empty());
    feed("c0000050011");
    EXPECT_EQ(g_nLastCmessageRest.load(), 500);
    EXPECT_EQ(g_nAmountPayedIn.load(), 500);
    ASSERT_EQ(events().size(), 1u);
    EXPECT_EQ(events()[0].str(), "status 500 1 1");
    EXPECT_TRUE(g_strLastCallbackCmd.equals("c"));
}

TEST_F(ReportTest, CapabilityAnswer)
{
    const std::string field(17, 'F');
    feed("x" + field + "010"); // 21 characters in all: nothing taken
    EXPECT_TRUE(g_masterVersion.equals(""));
    feed("x" + field + "0102");
    EXPECT_TRUE(g_masterVersion.equals("01.02"));
    EXPECT_TRUE(g_supportedCommands.equals(""));
    feed("x" + field + "0304ABCDEFGH1234X");
    EXPECT_TRUE(g_masterVersion.equals("03.04"));
    EXPECT_TRUE(g_supportedCommands.equals("ABCDEFGH1234X"));
    EXPECT_TRUE(events().empty());
    EXPECT_TRUE(g_strLastCallbackCmd.equals("x"));
}

TEST_F(ReportTest, UnknownTypeIsAnErrorThatLogsTheRawReport)
{
    g_nLastCallbackStatus = 0;
    feed("z123");
    EXPECT_EQ(g_nLastCallbackStatus.load(), 2);
    EXPECT_EQ(g_nLastCallbackMode.load(), 0);
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(errors(), (std::vector<std::string>{"!! z123"}));
}

TEST_F(ReportTest, StatusEventLogIsNotRepeatedUntilSomethingElseHappens)
{
    g_nForwardCallbackChangeOnly = 0;
    feed("a0000000001");
    feed("a0000000001");
    EXPECT_EQ(events("status").size(), 2u);
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "StatusEvent:").size(), 1u);

    g_nLastCallbackStatus = 0;
    g_nLastCallbackMode = 1;
    feed("b0000000001" + pad16("05 10 EUR")); // a level event resets the memory
    feed("a0000000001");
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "StatusEvent:").size(), 2u);

    g_bMessageSentSinceLastLoggedStatusEvent = true; // a command went out
    feed("a0000000001");
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "StatusEvent:").size(), 3u);

    sendErrorEvent("NOTE JAM      07"); // so does an error event
    sendStatusEvent(0, 0, 1);
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "StatusEvent:").size(), 4u);
    sendCashSessionEvent("CR/RF00000100"); // and a session event
    sendStatusEvent(0, 0, 1);
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "StatusEvent:").size(), 5u);

    g_nLoggEveryCallback = 1; // every event, repeated or not
    sendStatusEvent(0, 0, 1);
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "StatusEvent:").size(), 6u);

    g_nLoggSendEvents = 0; // no event lines at all
    sendStatusEvent(5, 0, 1);
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "StatusEvent:").size(), 6u);
    EXPECT_EQ(dvtest::grep(logs.file("dvlogic_Mon.log"), "sendStatusEvent:").size(), 6u);
}

// The till may call exitDV from any callback: the link must know that one runs.
int g_insideSeen[5];
void statusSeen(int, short, short) { g_insideSeen[0] = g_nInsideCallbackFunctions.load(); }
void errorSeen(int, char*, char*) { g_insideSeen[1] = g_nInsideCallbackFunctions.load(); }
void levelSeen(long, short, char*) { g_insideSeen[2] = g_nInsideCallbackFunctions.load(); }
void warningSeen(short, long, short, char*, char*, char*, char*) { g_insideSeen[3] = g_nInsideCallbackFunctions.load(); }
void sessionSeen(short, int, char*) { g_insideSeen[4] = g_nInsideCallbackFunctions.load(); }

TEST_F(ReportTest, EveryCallIntoTheTillIsCounted)
{
    g_fStatusCallback = &statusSeen;
    g_fErrorCallback = &errorSeen;
    g_fCashLevelCallback = &levelSeen;
    g_fLevelWarningCallback = &warningSeen;
    g_fCashSessionCallback = &sessionSeen;
    sendStatusEvent(0, 0, 1);
    sendErrorEvent("NOTE JAM      07");
    sendCashLevelEvent(pad16("05 10 EUR"));
    sendCashSessionEvent("CR/RF00000100");
    for (int seen : g_insideSeen)
        EXPECT_EQ(seen, 1);
    EXPECT_EQ(g_nInsideCallbackFunctions.load(), 0);
}

TEST_F(ReportTest, HostileReportsNeverCrashOrCorrupt)
{
    std::string binary;
    for (int i = 1; i < 256; ++i)
        binary += static_cast<char>(i);
    const std::string reports[] = {"", "a", "b", "x", std::string(10000, 'a'), "a%n%s%n%s%n%s%n%s",
                                   "b0000000001%n%s%n%s%n%s%n%s", "b0000000021%n%s%n%s%n%s07", binary,
                                   "c-0000001", "x" + std::string(10000, '%')};
    for (const auto& r : reports)
        EXPECT_TRUE(feed(r));
    EXPECT_TRUE(callbackfunc(nullptr));
    for (const auto& e : events())
        for (const auto& t : e.texts)
            EXPECT_LT(t.size(), 128u);
}

TEST_F(ReportTest, TextsHandedToTheTillAreCutToTheirCapacities)
{
    const std::string tail = std::string(30, '1') + " " + std::string(200, 'E'); // a high level
    sendCashLevelEvent(tail);
    ASSERT_EQ(events("warning").size(), 1u);
    const dvtest::Event w = events("warning")[0];
    EXPECT_EQ(w.texts[1], std::string(DV_LEVEL_DENOMINATION_SIZE - 1, '1'));
    EXPECT_EQ(w.texts[2].size(), static_cast<size_t>(DV_LEVEL_WARNING_SIZE - 1));
    EXPECT_EQ(w.texts[3].size(), static_cast<size_t>(DV_LEVEL_EXTINFO_SIZE - 1));
    EXPECT_EQ(events("level")[0].texts[0], tail.substr(0, DV_LEVEL_EXTINFO_SIZE - 1));
}

TEST_F(ReportTest, WithoutCallbacksEverythingButTheCallHappens)
{
    g_fStatusCallback = nullptr;
    g_fErrorCallback = nullptr;
    g_fCashLevelCallback = nullptr;
    g_fLevelWarningCallback = nullptr;
    g_fCashSessionCallback = nullptr;
    EXPECT_EQ(sendStatusEvent(1, 0, 1), 0);
    EXPECT_EQ(sendErrorEvent("NOTE JAM      07"), 0);
    EXPECT_EQ(sendCashLevelEvent(pad16("05 10 EUR")), 0);
    EXPECT_EQ(sendCashSessionEvent("CR/RF00000100"), 0);
    EXPECT_EQ(dvtest::grep(logs.file("dvapi_Mon.log"), "Event:").size(), 3u); // status, error, session
    EXPECT_EQ(g_nInsideCallbackFunctions.load(), 0);
}

TEST_F(ReportTest, NegativeValuesAreRefused)
{
    EXPECT_EQ(sendStatusEvent(-1, 0, 0), 2);
    EXPECT_EQ(sendStatusEvent(0, -1, 0), 2);
    EXPECT_EQ(sendStatusEvent(0, 0, -1), 2);
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(errors(), (std::vector<std::string>{"!! sendStatusEvent: Failed, neg param amountOrRest: -1",
                                                  "!! sendStatusEvent: Failed, neg param nStatus: -1",
                                                  "!! sendStatusEvent: Failed, neg param nMode: -1"}));
}

TEST_F(ReportTest, UnreadableLevelCountsAsALowLevel)
{
    g_nCurrentLowLevelWarningState = LOW_LEVEL_WARNING_FALSE;
    EXPECT_EQ(sendCashLevelEvent("short"), 2);
    EXPECT_EQ(g_nCurrentLowLevelWarningState.load(), LOW_LEVEL_WARNING_TRUE);
    EXPECT_TRUE(events().empty());
    EXPECT_FALSE(dvtest::grep(logs.file("dvlogic_Mon.log"),
                              "== sendCashLevelEvent: Updating g_nCurrentLowLevelWarningState: 0 - > 3 "
                              "(LOW_LEVEL_WARNING_TRUE)")
                     .empty());
}

// --- the level warning filter ---------------------------------------------------

TEST_F(ReportTest, FilterSilencesADenominationFromItsDateOn)
{
    // Today is 2026-11-16.
    g_strLevelWarningFilter.set("20251231:1000,20271231:500,20261116:200,2026111:100");
    for (const char* tail : {"05 10 EUR", "05 5 EUR", "05 2 EUR", "05 1 EUR"})
        sendCashLevelEvent(pad16(tail));
    std::vector<long> delivered;
    for (const auto& e : events("level"))
        delivered.push_back(e.a);
    EXPECT_EQ(delivered, (std::vector<long>{500, 100})); // 1000: past, 200: today
}

TEST(LevelWarningFilter, EntriesAndMalformedOnes)
{
    EXPECT_TRUE(levelWarningFiltered("20261116:1000", 1000, "20261116"));
    EXPECT_FALSE(levelWarningFiltered("20261117:1000", 1000, "20261116"));
    EXPECT_FALSE(levelWarningFiltered("20261116:1000", 500, "20261116"));
    EXPECT_FALSE(levelWarningFiltered("2026:1000", 1000, "20261116"));      // date not 8 characters
    EXPECT_TRUE(levelWarningFiltered("x:1,20200101:50", 50, "20261116"));   // later entries still count
    EXPECT_FALSE(levelWarningFiltered("20200101:abc", 0, "20261116"));      // unreadable denomination
    EXPECT_FALSE(levelWarningFiltered("no colon at all", 1000, "20261116"));
    EXPECT_FALSE(levelWarningFiltered("", 1000, "20261116"));
}

} // namespace
