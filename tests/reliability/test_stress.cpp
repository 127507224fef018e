// Stress tests against the simulator: a long stream of mixed reports while
// the till calls the library, exits while callbacks run and from inside one,
// sessions opened and closed many times, and the library unloaded while the
// device still delivers. Each runs in its own process; the sanitizer builds
// run them too, so "no crash" also means no memory error, no leak and no
// data race.
#include "reliability.h"

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <random>
#include <set>
#include <thread>

using namespace dvtest;

namespace {

using Clock = std::chrono::steady_clock;

void sleepMs(int ms)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

// Entries of a /proc/self directory (open files, threads).
size_t countEntries(const char* dir)
{
    return listDir(dir).size();
}

// Till callbacks that check what they get against the sizes the header
// promises, and count.
struct Checks {
    std::atomic<int> events{0};
    std::atomic<int> violations{0};
    std::atomic<int> running{0};
};
Checks g_checks;

bool within(const char* text, size_t capacity)
{
    return text && memchr(text, '\0', capacity) != nullptr;
}

struct Running {
    Running() { ++g_checks.running; }
    ~Running() { --g_checks.running; }
};

void checkStatus(int amount, short status, short mode)
{
    Running r;
    ++g_checks.events;
    if (amount < 0 || status < 0 || status > 9 || mode < 0 || mode > 9)
        ++g_checks.violations;
}

void checkError(int code, char* text, char* ext)
{
    Running r;
    ++g_checks.events;
    if (code < 0 || !within(text, DV_ERROR_TEXT_SIZE) || strcmp(ext, "ErrorInfo Not set") != 0)
        ++g_checks.violations;
}

void checkLevel(long denomination, short numberOf, char* ext)
{
    Running r;
    ++g_checks.events;
    if (denomination < 0 || numberOf < 0 || !within(ext, DV_LEVEL_EXTINFO_SIZE))
        ++g_checks.violations;
}

void checkWarning(short type, long denomination, short numberOf, char* typeString, char* denominationString,
                  char* warningMessage, char* ext)
{
    Running r;
    ++g_checks.events;
    if (type < 1 || type > 3 || denomination < 0 || numberOf < 0 || !within(typeString, DV_LEVEL_TYPE_SIZE) ||
        !within(denominationString, DV_LEVEL_DENOMINATION_SIZE) || !within(warningMessage, DV_LEVEL_WARNING_SIZE) ||
        !within(ext, DV_LEVEL_EXTINFO_SIZE))
        ++g_checks.violations;
}

void checkSession(short type, int, char* ext)
{
    Running r;
    ++g_checks.events;
    if (type < 0 || type > 4 || !within(ext, DV_SESSION_EXTINFO_SIZE))
        ++g_checks.violations;
}

// Reports of every kind, drawn from a seeded source so that a failure
// replays the same way.
class ReportSource {
public:
    explicit ReportSource(unsigned seed) : m_random(seed) {}

    std::string next()
    {
        std::string report;
        switch (pick(10)) {
        case 0: case 1: case 2: report = statusReport(); break;
        case 3: report = levelReport(); break;
        case 4: report = errorReport(); break;
        case 5: report = m_previous.empty() ? statusReport() : m_previous; break; // a duplicate
        case 6: report = malformed(); break;
        case 7: report = unknown(); break;
        case 8: report = huge(); break;
        default: report = pick(2) ? changeReport() : capabilities(); break;
        }
        m_previous = report;
        return report;
    }

private:
    int pick(int n) { return std::uniform_int_distribution<int>(0, n - 1)(m_random); }
    std::string amount() { return num(pick(4) ? pick(5000) * 5 : pick(99999999), 8); }
    static std::string num(int v, int width)
    {
        std::string s = std::to_string(v);
        return std::string(static_cast<size_t>(width) - std::min(s.size(), size_t(width)), '0') + s;
    }
    static std::string pad16(std::string s) { return s + std::string(s.size() < 16 ? 16 - s.size() : 0, ' '); }

    std::string statusReport() { return "a" + amount() + std::to_string(pick(4)) + std::to_string(pick(2)); }
    std::string changeReport() { return "c" + amount() + std::to_string(pick(4)) + "1"; }
    std::string capabilities() { return "xDRAVIK-SIM-000001" + num(pick(10000), 4) + "ABCDEFGH1234X"; }
    std::string levelReport()
    {
        static const char* const tails[] = {"05 10 EUR", "00 0,50 EUR", "100 EUR", "010 EUR", "02 2000 SEK",
                                            "CR/RF00012000", "BO/WD00000500", "Dravik SIM 0102", "9x 10 EUR"};
        return "b" + amount() + (pick(2) ? "1" : "0") + "1" + pad16(tails[pick(9)]);
    }
    std::string errorReport()
    {
        static const char* const tails[] = {"NOTE JAM      07", "DOOR OPEN     01", "X", "%n%s%x%%      99"};
        return "b" + amount() + "2" + std::to_string(pick(2)) + tails[pick(4)];
    }
    std::string malformed()
    {
        static const char* const reports[] = {"a00001000", "a0000000x01", "a       001", "a-000000101", "b0000000",
                                              "c000000001", "x12345", "a00000000\00101", "aaaaaaaaaaa"};
        return reports[pick(9)];
    }
    std::string unknown()
    {
        std::string r(1 + static_cast<size_t>(pick(30)), ' ');
        for (char& c : r)
            c = static_cast<char>(1 + pick(255));
        for (char& c : r)
            if (c == '\n' || c == '\r')
                c = '?'; // one report, one log line
        if (r[0] == 'a' || r[0] == 'b' || r[0] == 'c' || r[0] == 'x')
            r[0] = 'z';
        return r;
    }
    std::string huge()
    {
        const char type = "abcxz"[pick(5)];
        std::string r = std::string(1, type) + (type == 'x' ? "" : "0000100001");
        while (r.size() < 255)
            r += static_cast<char>('A' + pick(26));
        return r;
    }

    std::mt19937 m_random;
    std::string m_previous;
};

// What each call the till makes in the loop may answer.
const std::set<short> kAnyDeviceAnswer = {0, 1, 2, 5, 6, 7, 12};

class StressTest : public ReliabilityTest {
protected:
    void SetUp() override
    {
        ReliabilityTest::SetUp();
        g_checks.events = 0;
        g_checks.violations = 0;
    }

    void registerChecks()
    {
        char m[DV_MESSAGE_SIZE];
        ASSERT_EQ(dv().registerEvents23DV(&checkStatus, &checkError, &checkLevel, &checkWarning, &checkSession, m), 0);
    }

    short openSession()
    {
        registerChecks();
        Text port("Type:RS232;Name:sim");
        Text settings("LoggEveryCallback:1");
        return dv().initDV(port, settings, msg);
    }
};

TEST_F(StressTest, MixedReportStreamWhileTheTillCallsTheLibrary)
{
    ASSERT_EQ(openSession(), 0) << msg;
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    settle();

    const int kReports = 4000;
    std::atomic<bool> streaming{true};
    std::atomic<int> injected{0};
    std::string longest;
    std::thread device([&] {
        ReportSource source(20261116);
        for (int i = 0; i < kReports; ++i) {
            const std::string report = source.next();
            if (report.size() == 255 && report[0] == 'a')
                longest = report;
            // Keep the queue short, so that the stream and the calls overlap.
            dvsim_status s;
            while (dvsim_get_status(&s) == DVSIM_OK && s.pending_reports > 100)
                sleepMs(1);
            if (dvsim_inject_report(report.c_str()) == DVSIM_OK)
                ++injected;
        }
        // Last a plain report, so that no call is left waiting for the
        // device to become idle.
        dvsim_inject_report("a0000000001");
        streaming = false;
    });

    // The till's side: calls that do not wait for a particular report, over
    // and over, each answer checked against what the function may answer.
    struct Call {
        const char* name;
        std::set<short> allowed;
        std::function<short(char*)> call;
        bool sends = false; // makes the device report; only while it keeps up
    };
    int open = -1, level = -1;
    ExactBuffer commands(DV_INFO_COMMANDS_SIZE), master(DV_INFO_MASTER_SIZE), info(DV_INFO_INFO_SIZE);
    Text changeOnly("ForwardCallbackChangeOnly:1;LoggSendEvents:1"), everyReport("ForwardCallbackChangeOnly:0");
    const std::vector<Call> loop = {
        {"isOpenDV", {0}, [&](char* m) { return dv().isOpenDV(&open, m); }},
        {"infoDV", {0, 5}, [&](char* m) { return dv().infoDV(&level, commands, master, info, m); }},
        {"changeSettingsDV", {0}, [&](char* m) { return dv().changeSettingsDV(changeOnly, 0, m); }},
        {"askPayoutDV(0)", {0, 1, 2, 5, 12}, [&](char* m) { return dv().askPayoutDV(0, m); }},
        {"enablePayinDV", kAnyDeviceAnswer, [&](char* m) { return dv().enablePayinDV(m); }, true},
        {"changeSettingsDV", {0}, [&](char* m) { return dv().changeSettingsDV(everyReport, 1, m); }},
        {"resetDV", kAnyDeviceAnswer, [&](char* m) { return dv().resetDV(m); }, true},
    };
    int calls = 0;
    std::vector<std::string> wrong;
    while (streaming.load()) {
        dvsim_status sim;
        dvsim_get_status(&sim);
        for (const Call& c : loop) {
            if (c.sends && sim.pending_reports > 10)
                continue;
            ExactBuffer m(DV_MESSAGE_SIZE);
            const short status = c.call(m);
            if (!c.allowed.count(status) || m.text() == "<unterminated>" || m.text().empty())
                wrong.push_back(std::string(c.name) + " -> " + std::to_string(status) + " " + m.text());
            ++calls;
        }
        if (open != 0 && open != 1)
            wrong.push_back("open=" + std::to_string(open));
    }
    device.join();
    settle();

    EXPECT_TRUE(wrong.empty()) << wrong.size() << " wrong answers, first: " << wrong.front();
    EXPECT_GT(calls, 10);
    EXPECT_EQ(injected.load(), kReports);
    EXPECT_GE(dvsim_report_count(), kReports + 1);
    EXPECT_GT(g_checks.events.load(), 0);
    EXPECT_EQ(g_checks.violations.load(), 0);

    // The session is still usable and the last report counts.
    open = -1;
    EXPECT_EQ(dv().isOpenDV(&open, msg), 0);
    EXPECT_EQ(open, 1);
    // Every report was logged as it came (LoggEveryCallback), errors and
    // unknown reports in the error log too, and every line is whole.
    EXPECT_FALSE(longest.empty());
    EXPECT_TRUE(hasLine(logicLog(), "<- " + longest));
    EXPECT_FALSE(grep(errorLog(), "!! cdvlogics.callbackfunc: Error in format of received callback").empty());
    EXPECT_FALSE(grep(errorLog(), "!! formatCallbackArg: Callback string too short").empty());
    expectWellFormedLogs();
}

TEST_F(StressTest, ExitFromTheTillWhileCallbacksRun)
{
    // Callbacks that take a moment, so that exitDV meets one running.
    static std::atomic<int> slowEvents{0};
    auto slow = [](int, short, short) {
        Running r;
        ++slowEvents;
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    };
    const int kCycles = 20;
    std::mt19937 random(7);
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        ASSERT_EQ(dv().registerEvents23DV(slow, &checkError, &checkLevel, &checkWarning, &checkSession, msg), 0);
        Text port("Type:RS232;Name:sim"), settings("ForwardCallbackChangeOnly:0");
        ASSERT_EQ(dv().initDV(port, settings, msg), 0) << msg;
        for (int i = 0; i < 100; ++i)
            dvsim_inject_report(i % 2 ? "a0000010001" : "a0000020001");
        sleepMs(std::uniform_int_distribution<int>(0, 20)(random));
        ASSERT_EQ(dv().exitDV(msg), 0) << msg;
        EXPECT_STREQ(msg, "Done");
        // Nothing runs or starts once exitDV has returned.
        EXPECT_EQ(g_checks.running.load(), 0) << "cycle " << cycle;
        const int seen = slowEvents.load();
        sleepMs(30);
        EXPECT_EQ(slowEvents.load(), seen) << "cycle " << cycle;
    }
    EXPECT_GT(slowEvents.load(), 0);
    EXPECT_EQ(grep(logicLog(), "== CLinkora::exit: Calling freeTheComLibrary").size(), size_t(kCycles));
    EXPECT_EQ(grep(apiLog(), "== exitDV: Ok! Returning 0 (DV_STATUS_OK): Done").size(), size_t(kCycles));
}

// exitDV from inside a status callback, cycle after cycle, while the till's
// thread keeps calling: the link closes, the communication library stays
// loaded under the running callback, the till sees "Not initiated", and a
// new session opens.
const DvApi* g_api = nullptr;
std::atomic<int> g_exitResult{-1};
std::atomic<int> g_eventsAfterExit{0};

void exitingStatus(int, short, short)
{
    if (g_exitResult.load() != -1) {
        ++g_eventsAfterExit;
        return;
    }
    char m[DV_MESSAGE_SIZE];
    g_exitResult = g_api->exitDV(m);
}

TEST_F(StressTest, ExitFromInsideACallbackAgainAndAgain)
{
    g_api = &dv();
    const int kCycles = 20;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        g_exitResult = -1;
        ASSERT_EQ(dv().registerEvents23DV(&exitingStatus, &checkError, &checkLevel, &checkWarning, &checkSession,
                                          msg),
                  0);
        Text port("Type:RS232;Name:sim"), settings("ForwardCallbackChangeOnly:0");
        ASSERT_EQ(dv().initDV(port, settings, msg), 0) << msg;
        for (int i = 0; i < 50; ++i)
            dvsim_inject_report("a0000000001");
        // The till goes on calling until it learns of the exit.
        int open = 0;
        short status = 0;
        const Clock::time_point deadline = Clock::now() + std::chrono::seconds(10);
        while ((status = dv().isOpenDV(&open, msg)) == 0 && Clock::now() < deadline) {
        }
        EXPECT_EQ(status, 2) << "cycle " << cycle;
        EXPECT_STREQ(msg, "Not initiated");
        EXPECT_EQ(open, 0);
        while (g_exitResult.load() == -1 && Clock::now() < deadline)
            sleepMs(1);
        EXPECT_EQ(g_exitResult.load(), 0) << "cycle " << cycle;
        settle();
    }
    EXPECT_EQ(g_eventsAfterExit.load(), 0);
    EXPECT_EQ(grep(logicLog(), "== CLinkora::exit: NOT calling freeTheComLibrary since we're currently processing (1) "
                               "callback function(s) in that library.")
                  .size(),
              size_t(kCycles));
}

TEST_F(StressTest, SessionsOpenedAndClosedManyTimes)
{
    // Counted after the first cycle: a sanitizer runtime starts its own
    // thread on first use.
    size_t files = 0, threads = 0;
    const int kCycles = 300;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        if (cycle == 1) {
            files = countEntries("/proc/self/fd");
            threads = countEntries("/proc/self/task");
        }
        ASSERT_EQ(openSession(), 0) << "cycle " << cycle << ": " << msg;
        for (int i = 0; i < 5; ++i)
            dvsim_inject_report(i % 2 ? "a0000000001" : "b0000000001" "05 10 EUR       ");
        if (cycle % 30 == 0) {
            ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
            ASSERT_EQ(dv().logoutDV(msg), 0) << msg;
        }
        ASSERT_EQ(dv().exitDV(msg), 0) << "cycle " << cycle << ": " << msg;
    }
    EXPECT_EQ(countEntries("/proc/self/fd"), files);
    EXPECT_EQ(countEntries("/proc/self/task"), threads);
    EXPECT_EQ(grep(apiLog(), "== initDV: Ok! Returning 0 (DV_STATUS_OK): Done").size(), size_t(kCycles));
    EXPECT_EQ(g_checks.violations.load(), 0);
}

TEST_F(StressTest, LibraryUnloadedWhileTheDeviceDelivers)
{
    lib.unload();
    const size_t files = countEntries("/proc/self/fd");
    for (int cycle = 0; cycle < 30; ++cycle) {
        ASSERT_TRUE(lib.load(libraryPath()));
        dvsim_reset_model();
        ASSERT_EQ(openSession(), 0) << msg;
        ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
        ASSERT_EQ(dvsim_insert(1000), DVSIM_OK); // the device reports on its own for a while
        for (int i = 0; i < 100; ++i)
            dvsim_inject_report(i % 3 ? "a0000010001" : "b0000010011" "05 10 EUR       ");
        lib.unload(); // no exitDV: unloading closes the link
        dvsim_status s;
        ASSERT_EQ(dvsim_get_status(&s), DVSIM_OK);
        EXPECT_EQ(s.link_open, 0) << "cycle " << cycle;
    }
    EXPECT_EQ(countEntries("/proc/self/fd"), files);
    EXPECT_EQ(grep(logicLog(), "== CDVLogics::~CDVLogics: exitCom ans=Done").size(), 30u); // and the first unload
    EXPECT_EQ(g_checks.violations.load(), 0);
}

// After exitDV from inside a callback the link is closed but the device
// thread is still running that callback: unloading the library must wait for
// it rather than unmap the code it returns into.
std::atomic<int> g_lingerState{0};

void exitThenLinger(int, short, short)
{
    if (g_lingerState.exchange(1) != 0)
        return;
    char m[DV_MESSAGE_SIZE];
    g_api->exitDV(m);
    g_lingerState = 2;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}

TEST_F(StressTest, UnloadRightAfterExitFromInsideACallback)
{
    g_api = &dv();
    ASSERT_EQ(dv().registerEventsDV(&exitThenLinger, &checkError, &checkLevel, msg), 0);
    Text port("Type:RS232;Name:sim");
    ASSERT_EQ(dv().initDV(port, nullptr, msg), 0) << msg;
    ASSERT_EQ(dvsim_inject_report("a0000000001"), DVSIM_OK);
    while (g_lingerState.load() != 2)
        sleepMs(1);
    lib.unload(); // the callback is still running on the device thread
    sleepMs(400);
    EXPECT_EQ(g_lingerState.load(), 2);
}

} // namespace
