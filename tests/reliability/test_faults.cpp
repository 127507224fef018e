// Fault tests: a device that answers busy, closed, garbage or nothing; a log
// directory that is missing, read-only or full; configuration and language
// files that are absent, empty, binary or huge. The till must get the
// status codes and texts the library documents, never a crash or a hang.
#include "reliability.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <functional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace dvtest;

namespace {

using Clock = std::chrono::steady_clock;

long elapsedMs(Clock::time_point since)
{
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

// --- the device's answers ----------------------------------------------------

struct ForcedAnswer {
    const char* name;
    int kind;
    short status;
    const char* text;
};

void PrintTo(const ForcedAnswer& a, std::ostream* os)
{
    *os << a.name;
}

const ForcedAnswer kAnswers[] = {
    {"Busy", DVSIM_ANSWER_BUSY, 1, "Busy"},
    {"Error", DVSIM_ANSWER_ERROR, 2, "Error"},
    {"Closed", DVSIM_ANSWER_CLOSED, 5, "Closed"},
    {"Garbage", DVSIM_ANSWER_GARBAGE, 7, "Send failed"},
    {"Empty", DVSIM_ANSWER_EMPTY, 7, "Send failed"},
};

class DeviceAnswerTest : public ReliabilityTest, public ::testing::WithParamInterface<ForcedAnswer> {
protected:
    // Every operation that sends a command; when the device answers every
    // command with the same refusal, the till gets that refusal's code.
    struct Operation {
        const char* name;
        bool payinDisabled; // needs pay-in disabled first
        std::function<short(char*)> call;
    };
    std::vector<Operation> operations()
    {
        return {
            {"enablePayinDV", false, [this](char* m) { return dv().enablePayinDV(m); }},
            {"disablePayinDV", false, [this](char* m) { return dv().disablePayinDV(m); }},
            {"askPayoutDV", false, [this](char* m) { return dv().askPayoutDV(500, m); }},
            {"payoutDV", false, [this](char* m) { return dv().payoutDV(500, 0, nullptr, m); }},
            {"amountDueDV", false, [this](char* m) {
                 int rest = 0;
                 return dv().amountDueDV(0, nullptr, &rest, m);
             }},
            {"changeDV", false, [this](char* m) { return dv().changeDV(m); }},
            {"regretDV", false, [this](char* m) { return dv().regretDV(0, m); }},
            {"regretDV", false, [this](char* m) { return dv().regretDV(1, m); }},
            {"resetDV", false, [this](char* m) { return dv().resetDV(m); }},
            {"depositDV", true, [this](char* m) { return dv().depositDV(nullptr, m); }},
            {"dispenseDV", true, [this](char* m) {
                 int rest = 0;
                 return dv().dispenseDV(500, nullptr, &rest, m);
             }},
            {"logoutDV", false, [this](char* m) { return dv().logoutDV(m); }},
            // The capability query's refusal is only logged; the login's is returned.
            {"loginDV", false, [this](char* m) { return dv().loginDV(1, 1, m); }},
        };
    }
};

TEST_P(DeviceAnswerTest, EveryCommandRefusedTheSameWay)
{
    const ForcedAnswer& answer = GetParam();
    initAndLogin("AskPayOutAmountLimit:0");
    for (const Operation& op : operations()) {
        char m[DV_MESSAGE_SIZE];
        ASSERT_EQ(dv().enablePayinDV(m), 0) << m;
        if (op.payinDisabled) {
            ASSERT_EQ(dv().disablePayinDV(m), 0) << m;
        }
        settle();
        const long before = commandCount();
        ASSERT_EQ(dvsim_force_answer(answer.kind, 100), DVSIM_OK);
        ExactBuffer message(DV_MESSAGE_SIZE);
        const short status = op.call(message);
        ASSERT_EQ(dvsim_force_answer(DVSIM_ANSWER_NORMAL, 0), DVSIM_OK);
        EXPECT_EQ(status, answer.status) << op.name;
        EXPECT_EQ(message.text(), answer.text) << op.name;
        EXPECT_GT(commandCount(), before) << op.name;
        // The frame's failure line ("amountRest=0: " before the text where
        // the function has that output).
        const std::string head = "!! " + std::string(op.name) + ": Failed! Returning " +
                                 std::to_string(answer.status) + ": ";
        bool logged = false;
        for (const std::string& line : dvtest::logged(apiLog()))
            logged = logged || (line.compare(0, head.size(), head) == 0 &&
                                line.size() >= strlen(answer.text) &&
                                line.compare(line.size() - strlen(answer.text), std::string::npos, answer.text) == 0);
        EXPECT_TRUE(logged) << op.name;
        // A refused command leaves the session as it was.
        int open = 0;
        EXPECT_EQ(dv().isOpenDV(&open, m), 0);
        EXPECT_EQ(open, 1) << "after " << op.name;
    }
    expectWellFormedLogs();
}

INSTANTIATE_TEST_SUITE_P(Forced, DeviceAnswerTest, ::testing::ValuesIn(kAnswers),
                         [](const ::testing::TestParamInfo<ForcedAnswer>& param) { return param.param.name; });

// A device that accepts a command but never reports back: the wait gives up
// after its fixed time-out, no sooner and not much later.
using SilentDeviceTest = ReliabilityTest;

TEST_F(SilentDeviceTest, AskPayoutTimesOutAfterFiveSeconds)
{
    initAndLogin();
    ASSERT_EQ(dvsim_drop_reports(1000), DVSIM_OK);
    const Clock::time_point start = Clock::now();
    int rest = -1;
    EXPECT_EQ(dv().askPayout2DV(500, &rest, msg), 6);
    const long ms = elapsedMs(start);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_EQ(rest, 0);
    EXPECT_GE(ms, 5000);
    EXPECT_LT(ms, 10000);
    EXPECT_TRUE(hasLine(errorLog(), "!! CDVLogics::askPayout: askPayout timed out"));
    EXPECT_TRUE(hasLine(apiLog(), "!! askPayout2DV: Failed! Returning 6: amountRest=0: Timed out"));
}

TEST_F(SilentDeviceTest, LogoutTimesOutAfterFiveSeconds)
{
    initAndLogin();
    ASSERT_EQ(dvsim_drop_reports(1000), DVSIM_OK);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(dv().logoutDV(msg), 6);
    const long ms = elapsedMs(start);
    EXPECT_STREQ(msg, "Timed out");
    EXPECT_GE(ms, 5000);
    EXPECT_LT(ms, 10000);
    EXPECT_TRUE(hasLine(errorLog(), "!! CDVLogics::logout: Closing timed out, returning DV_STATUS_TIMEOUT"));
}

// --- the log directory -------------------------------------------------------

// Occurrences of needle in text.
size_t grepCount(const std::string& text, const std::string& needle)
{
    size_t n = 0;
    for (size_t at = text.find(needle); at != std::string::npos; at = text.find(needle, at + 1))
        ++n;
    return n;
}

class LogDirectoryTest : public ReliabilityTest {
protected:
    void TearDown() override
    {
        lib.unload();
        if (!m_mounted.empty())
            umount2(m_mounted.c_str(), MNT_DETACH);
        ReliabilityTest::TearDown();
    }

    // A small tmpfs at dir, in a mount namespace of this process only (it
    // goes away with the process). False when this process may not mount.
    bool mountTmpfs(const std::string& dir, const char* options, unsigned long flags = 0)
    {
        if (unshare(CLONE_NEWNS) != 0)
            return false;
        if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
            return false;
        if (mount("tmpfs", dir.c_str(), "tmpfs", flags, options) != 0)
            return false;
        m_mounted = dir;
        return true;
    }

    // A whole session as a till runs it; every answer must be the same as
    // with a log directory that works.
    void runSession()
    {
        Recorder::instance().clear();
        ASSERT_EQ(init(), 0) << msg;
        ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
        ASSERT_EQ(dvsim_insert(1000), DVSIM_OK);
        settle();
        int rest = -1;
        EXPECT_EQ(dv().payout2DV(500, 1000, nullptr, &rest, msg), 0) << msg;
        settle();
        ASSERT_EQ(dvsim_jam(), DVSIM_OK);
        settle();
        EXPECT_EQ(dv().enablePayinDV(msg), 2);
        EXPECT_STREQ(msg, "Dravik has error(s)");
        EXPECT_EQ(dv().resetDV(msg), 0) << msg;
        settle();
        int open = -1;
        EXPECT_EQ(dv().isOpenDV(&open, msg), 0);
        EXPECT_EQ(open, 1);
        EXPECT_EQ(dv().logoutDV(msg), 0) << msg;
        EXPECT_EQ(dv().exitDV(msg), 0) << msg;
        EXPECT_FALSE(events("status").empty());
        EXPECT_EQ(events("error").size(), 1u);
    }

    // Loads the library, runs the session with standard error captured, and
    // returns what was printed there.
    std::string sessionOutput(bool unload = true)
    {
        testing::internal::CaptureStderr();
        reload();
        runSession();
        if (unload)
            lib.unload();
        return testing::internal::GetCapturedStderr();
    }

    TempDir area;
    std::string m_mounted;
};

TEST_F(LogDirectoryTest, MissingDirectory)
{
    const std::string dir = area.file("no/such/dir");
    setEnv("DVLOGS", dir.c_str());
    const std::string err = sessionOutput();
    // Tried again at every line, and said so on standard error.
    EXPECT_NE(err.find("InitLogFile: mkdir failed: No such file or directory"), std::string::npos) << err;
    EXPECT_GT(grepCount(err, "InitLogFile: mkdir failed"), 20u);
    EXPECT_FALSE(fileExists(dir));
}

TEST_F(LogDirectoryTest, ReadOnlyDirectory)
{
    const std::string dir = area.file("ro");
    ASSERT_EQ(mkdir(dir.c_str(), 0755), 0);
    if (getuid() == 0) {
        if (!mountTmpfs(dir, "size=64k", MS_RDONLY))
            GTEST_SKIP() << "running as root without permission to mount: a directory cannot be made read-only";
    } else {
        ASSERT_EQ(chmod(dir.c_str(), 0555), 0);
    }
    setEnv("DVLOGS", dir.c_str());
    // The directory exists, its files cannot be opened: lines are dropped
    // without a word.
    EXPECT_EQ(grepCount(sessionOutput(), "InitLogFile"), 0u);
    EXPECT_FALSE(fileExists(dir + "/" + apiLog().substr(apiLog().rfind('/') + 1)));

    // Below it a directory cannot be made: said on standard error.
    setEnv("DVLOGS", (dir + "/logs").c_str());
    const std::string err = sessionOutput();
    EXPECT_TRUE(err.find("InitLogFile: mkdir failed: Read-only file system") != std::string::npos ||
                err.find("InitLogFile: mkdir failed: Permission denied") != std::string::npos)
        << err;
}

TEST_F(LogDirectoryTest, FullFileSystem)
{
    const std::string dir = area.file("full");
    ASSERT_EQ(mkdir(dir.c_str(), 0755), 0);
    std::string filler;
    if (mountTmpfs(dir, "size=64k")) {
        // Fill it up; the log files can still be created, not written.
        filler = dir + "/filler";
        FILE* f = fopen(filler.c_str(), "w");
        ASSERT_NE(f, nullptr);
        const std::string block(4096, 'f');
        while (fwrite(block.data(), 1, block.size(), f) == block.size() && fflush(f) == 0) {
        }
        fclose(f);
    } else {
        // No tmpfs: every log file is /dev/full, which takes no byte either.
        for (const std::string& path : {apiLog(), logicLog(), errorLog()}) {
            const std::string name = path.substr(path.rfind('/') + 1);
            ASSERT_EQ(symlink("/dev/full", (dir + "/" + name).c_str()), 0);
        }
    }
    setEnv("DVLOGS", dir.c_str());
    EXPECT_EQ(grepCount(sessionOutput(false), "InitLogFile"), 0u);

    if (!filler.empty()) {
        const std::string api = dir + "/" + apiLog().substr(apiLog().rfind('/') + 1);
        EXPECT_TRUE(fileExists(api));
        EXPECT_EQ(readFile(api), "");
        // Room again: the files still open take lines again.
        ASSERT_EQ(unlink(filler.c_str()), 0);
        char m[DV_MESSAGE_SIZE];
        EXPECT_EQ(dv().loginDV(1, 1, m), 2);
        EXPECT_TRUE(hasLine(api, "=> loginDV(1, 1, message)")) << readFile(api).substr(0, 2000);
    }
}

// --- configuration and language files ----------------------------------------

struct FileCase {
    const char* name;
    enum { Absent, Content, Directory } kind;
    std::function<std::string()> content;
};

void PrintTo(const FileCase& c, std::ostream* os)
{
    *os << c.name;
}

std::string binary()
{
    std::string s;
    for (int i = 0; i < 4096; ++i)
        s += static_cast<char>((i * 7 + 3) % 256);
    return s;
}

// 1.5 MiB of comment lines.
std::string padding()
{
    std::string s;
    while (s.size() < 3 * 512 * 1024)
        s += "; " + std::string(78, '.') + "\n";
    return s;
}

const FileCase kFiles[] = {
    {"Absent", FileCase::Absent, nullptr},
    {"Empty", FileCase::Content, [] { return std::string(); }},
    {"Binary", FileCase::Content, binary},
    {"BinaryAroundAValue", FileCase::Content,
     [] { return binary() + "\n[Operation]\nAskPayOutAmountLimit=1234\n[Lang]\nNot initiated=Nicht bereit\n" +
                 binary(); }},
    {"Huge", FileCase::Content,
     [] { return "[Operation]\nAskPayOutAmountLimit=1234\n[Lang]\nNot initiated=Nicht bereit\n" + padding() +
                 "[Logging]\nLogDebug=0\n[Lang]\nDone=Fertig\n"; }},
    {"HugeSingleLine", FileCase::Content, [] { return std::string(2 * 1024 * 1024, 'x'); }},
    {"Directory", FileCase::Directory, nullptr},
};

class ConfigFileTest : public ReliabilityTest, public ::testing::WithParamInterface<FileCase> {
protected:
    // Puts the case in place as `name` in the configuration directory.
    void place(const char* name)
    {
        const FileCase& c = GetParam();
        const std::string path = config.file(name);
        if (c.kind == FileCase::Content)
            writeFile(path, c.content());
        if (c.kind == FileCase::Directory) {
            ASSERT_EQ(mkdir(path.c_str(), 0755), 0);
        }
    }
    bool hasValue() const
    {
        const std::string name = GetParam().name;
        return name == "BinaryAroundAValue" || name == "Huge";
    }
};

TEST_P(ConfigFileTest, ConfigurationFile)
{
    if (GetParam().kind == FileCase::Absent && fileExists("/etc/dravik/dvlogics.ini"))
        GTEST_SKIP() << "/etc/dravik/dvlogics.ini exists on this machine";
    place("dvlogics.ini");
    ASSERT_EQ(init(), 0) << msg;
    EXPECT_STREQ(msg, "Done");
    const std::string prefix = "## CDVLogics::getIniFileSettings: ";
    const std::string found = GetParam().kind == FileCase::Absent
                                  ? "About to assign default settings since no configuration file was found."
                                  : "About to read settings from configuration file: " + config.file("dvlogics.ini");
    EXPECT_TRUE(hasLine(logicLog(), prefix + found));
    // Only what stands, readable, in the first MiB counts.
    EXPECT_TRUE(hasLine(logicLog(), prefix + (hasValue() ? "AskPayOutAmountLimit: 1234 (from ini file)"
                                                         : "AskPayOutAmountLimit: 4900 (default value)")));
    EXPECT_TRUE(hasLine(logicLog(), prefix + "LogDebug: 1 (default value)"));
    EXPECT_EQ(grep(logicLog(), "(default value)").size(), hasValue() ? 18u : 19u);
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    EXPECT_EQ(dv().exitDV(msg), 0) << msg;
}

TEST_P(ConfigFileTest, LanguageFile)
{
    if (GetParam().kind == FileCase::Absent && fileExists("/etc/dravik/dvlang.ini"))
        GTEST_SKIP() << "/etc/dravik/dvlang.ini exists on this machine";
    place("dvlang.ini");
    EXPECT_EQ(dv().loginDV(1, 1, msg), 2);
    EXPECT_STREQ(msg, hasValue() ? "Nicht bereit" : "Not initiated");
    ASSERT_EQ(init(), 0) << msg;
    EXPECT_STREQ(msg, "Done"); // a translation past the first MiB is not read
    const std::string path = GetParam().kind == FileCase::Absent ? "" : config.file("dvlang.ini");
    EXPECT_TRUE(hasLine(logicLog(), "## dvlang.ini Path: " + path));
    ASSERT_EQ(dv().loginDV(1, 1, msg), 0) << msg;
    EXPECT_EQ(dv().exitDV(msg), 0) << msg;
}

INSTANTIATE_TEST_SUITE_P(Every, ConfigFileTest, ::testing::ValuesIn(kFiles),
                         [](const ::testing::TestParamInfo<FileCase>& param) { return param.param.name; });

} // namespace
