// The three log files: names, line formats, filters, directory choice, the
// date switch and the emptying of stale files.
#include "fakeclock.h"
#include "testutil.h"

#include "support/dvlogicslogger.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>
#include <regex>
#include <thread>

using dvtest::TempDir;

namespace {

class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvtest::setEnv("DVLOGS", dir.path().c_str());
        dvtest::setEnv("LOGFILE", nullptr);
        dvtest::useFakeClock(dvtest::kMon20261116_090507);
        DVLogicsLogger::ResetForTesting();
    }
    void TearDown() override { DVLogicsLogger::ResetForTesting(); }

    std::string api() const { return dir.file("dvapi_Mon.log"); }
    std::string logic() const { return dir.file("dvlogic_Mon.log"); }
    std::string error() const { return dir.file("dverror_Nov.log"); }

    TempDir dir;
};

TEST_F(LoggerTest, FirstLineCreatesAllThreeFilesNamedByWeekdayAndMonth)
{
    DVLogicsLogger::LogMessage("hello", CR2API, DVAPILOG);
    EXPECT_TRUE(dvtest::fileExists(api()));
    EXPECT_TRUE(dvtest::fileExists(logic()));
    EXPECT_TRUE(dvtest::fileExists(error()));
    EXPECT_EQ(dvtest::readFile(api()), "w46 09:05:07.042 => hello\n");
    EXPECT_EQ(dvtest::readFile(logic()), "");
}

TEST_F(LoggerTest, EachTypeHasItsMarkerAndTheErrorFileADatePrefix)
{
    const struct {
        LOGTYPES type;
        const char* marker;
    } cases[] = {{CR2API, "=>"}, {API2CR, "<="}, {API2DV, "->"}, {DV2API, "<-"},
                 {DVDEBUG, "=="}, {DVERROR, "!!"}, {DVERROR2, "!!"}, {DVCONFIG, "##"}};
    for (const auto& c : cases)
        DVLogicsLogger::LogMessage(std::string("text ") + c.marker, c.type, DVLOGICSLOG, DVERRORLOG);

    const auto logicLines = dvtest::readLines(logic());
    const auto errorLines = dvtest::readLines(error());
    ASSERT_EQ(logicLines.size(), 8u);
    ASSERT_EQ(errorLines.size(), 8u);
    for (size_t i = 0; i < 8; ++i) {
        const std::string marker = cases[i].marker;
        EXPECT_EQ(logicLines[i], "w46 09:05:07.042 " + marker + " text " + marker);
        EXPECT_EQ(errorLines[i], "2026-11-16 Mon w46 09:05:07.042 " + marker + " text " + marker);
    }
}

TEST_F(LoggerTest, MillisecondsAreTruncatedToThreeDigits)
{
    dvtest::fakeNow().usec = 7999;
    DVLogicsLogger::LogMessage("a", DVDEBUG, DVLOGICSLOG);
    dvtest::fakeNow().usec = 999999;
    DVLogicsLogger::LogMessage("b", DVDEBUG, DVLOGICSLOG);
    EXPECT_EQ(dvtest::readFile(logic()), "w46 09:05:07.007 == a\nw46 09:05:07.999 == b\n");
}

TEST_F(LoggerTest, FiltersSilenceTheirTypesButNeverErrorsOrConfiguration)
{
    std::atomic<bool>* flags[] = {&logCR2CAPI, &logCAPI2CR, &logCom2CAPI, &logCAPI2Com, &logDVDEBUG};
    for (auto* flag : flags)
        *flag = false;
    for (int type = CR2API; type <= DVCONFIG; ++type)
        DVLogicsLogger::LogMessage("t" + std::to_string(type), static_cast<LOGTYPES>(type), DVLOGICSLOG);
    for (auto* flag : flags)
        *flag = true;

    const auto lines = dvtest::readLines(logic());
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_NE(lines[0].find(" !! t5"), std::string::npos);
    EXPECT_NE(lines[1].find(" !! t6"), std::string::npos);
    EXPECT_NE(lines[2].find(" ## t7"), std::string::npos);
}

TEST_F(LoggerTest, OutOfRangeTypeOrFileWritesNothing)
{
    DVLogicsLogger::LogMessage("bad type", static_cast<LOGTYPES>(8), DVLOGICSLOG);
    DVLogicsLogger::LogMessage("bad file", DVERROR, static_cast<LOGFILES>(3));
    DVLogicsLogger::LogMessage("bad file", DVERROR, static_cast<LOGFILES>(-1));
    EXPECT_EQ(dvtest::readFile(logic()), "");
    EXPECT_EQ(dvtest::readFile(api()), "");
    EXPECT_EQ(dvtest::readFile(error()), "");
}

TEST_F(LoggerTest, MessageIsWrittenVerbatimEvenWithPercentSigns)
{
    DVLogicsLogger::LogMessage("100%% %s %n %d", DVDEBUG, DVLOGICSLOG);
    DVLogicsLogger::LogMessage(static_cast<const char*>(nullptr), DVDEBUG, DVLOGICSLOG);
    EXPECT_EQ(dvtest::readFile(logic()), "w46 09:05:07.042 == 100%% %s %n %d\nw46 09:05:07.042 == \n");
}

TEST_F(LoggerTest, NewDateSwitchesToTheNewWeekdaysFiles)
{
    dvtest::fakeNow().sec = dvtest::kMon20261116_235959;
    DVLogicsLogger::LogMessage("monday", DVDEBUG, DVLOGICSLOG);
    dvtest::fakeNow().sec = dvtest::kTue20261117_000000;
    dvtest::fakeNow().usec = 1000;
    DVLogicsLogger::LogMessage("tuesday", DVDEBUG, DVLOGICSLOG, DVERRORLOG);

    EXPECT_EQ(dvtest::readFile(logic()), "w46 23:59:59.042 == monday\n");
    EXPECT_EQ(dvtest::readFile(dir.file("dvlogic_Tue.log")), "w46 00:00:00.001 == tuesday\n");
    EXPECT_EQ(dvtest::readFile(error()), "2026-11-17 Tue w46 00:00:00.001 == tuesday\n");
}

TEST_F(LoggerTest, WeekdayFileOfAnEarlierWeekIsEmptiedWhenFirstOpened)
{
    dvtest::writeFile(logic(), "w45 10:00:00.000 == last week\n");
    dvtest::writeFile(api(), "w46 08:00:00.000 => this week\n");
    DVLogicsLogger::LogMessage("new", DVDEBUG, DVLOGICSLOG, DVAPILOG);
    EXPECT_EQ(dvtest::readFile(logic()), "w46 09:05:07.042 == new\n");
    EXPECT_EQ(dvtest::readFile(api()), "w46 08:00:00.000 => this week\nw46 09:05:07.042 == new\n");
}

TEST_F(LoggerTest, EmptyExistingFileIsAppendedTo)
{
    dvtest::writeFile(logic(), "");
    DVLogicsLogger::LogMessage("new", DVDEBUG, DVLOGICSLOG);
    EXPECT_EQ(dvtest::readFile(logic()), "w46 09:05:07.042 == new\n");
}

size_t openDescriptors()
{
    return dvtest::listDir("/proc/self/fd").size();
}

TEST_F(LoggerTest, DateSwitchClosesTheOldFiles)
{
    DVLogicsLogger::LogMessage("first", DVDEBUG, DVLOGICSLOG);
    const size_t open = openDescriptors();
    for (int day = 1; day <= 10; ++day) {
        dvtest::fakeNow().sec = dvtest::kMon20261116_090507 + day * 86400;
        DVLogicsLogger::LogMessage("next", DVDEBUG, DVLOGICSLOG);
    }
    EXPECT_EQ(openDescriptors(), open);
}

TEST_F(LoggerTest, WeekdayFileWithAnUnreadableHeadIsEmptied)
{
    dvtest::writeFile(logic(), "garbage\n");
    dvtest::writeFile(api(), "wxyz\n");
    DVLogicsLogger::LogMessage("new", DVDEBUG, DVLOGICSLOG, DVAPILOG);
    EXPECT_EQ(dvtest::readFile(logic()), "w46 09:05:07.042 == new\n");
    EXPECT_EQ(dvtest::readFile(api()), "w46 09:05:07.042 == new\n");
}

TEST_F(LoggerTest, ErrorFileOfTheSameMonthLastYearIsEmptied)
{
    dvtest::writeFile(error(), "2025-11-16 Sun w45 10:00:00.000 !! old\n");
    DVLogicsLogger::LogMessage("new", DVERROR, DVERRORLOG);
    EXPECT_EQ(dvtest::readFile(error()), "2026-11-16 Mon w46 09:05:07.042 !! new\n");
}

TEST_F(LoggerTest, ErrorFileOfThisYearIsAppendedTo)
{
    dvtest::writeFile(error(), "2026-11-02 Mon w44 10:00:00.000 !! earlier\n");
    DVLogicsLogger::LogMessage("new", DVERROR, DVERRORLOG);
    EXPECT_EQ(dvtest::readLines(error()).size(), 2u);
}

TEST_F(LoggerTest, TerminateDropsLinesUntilTheNextDate)
{
    DVLogicsLogger::LogMessage("before", DVDEBUG, DVLOGICSLOG);
    DVLogicsLogger::TerminateDVLogicsLogger();
    DVLogicsLogger::LogMessage("dropped", DVDEBUG, DVLOGICSLOG);
    dvtest::fakeNow().sec = dvtest::kTue20261117_000000;
    DVLogicsLogger::LogMessage("next day", DVDEBUG, DVLOGICSLOG);
    EXPECT_EQ(dvtest::readFile(logic()), "w46 09:05:07.042 == before\n");
    EXPECT_EQ(dvtest::readFile(dir.file("dvlogic_Tue.log")), "w46 00:00:00.042 == next day\n");
}

TEST_F(LoggerTest, ConcurrentLinesNeverInterleave)
{
    const std::string a(300, 'a'), b(300, 'b');
    auto writer = [](const std::string& text) {
        for (int i = 0; i < 500; ++i)
            DVLogicsLogger::LogMessage(text, DVDEBUG, DVLOGICSLOG);
    };
    dvtest::fakeNow().sec = dvtest::kMon20261116_235959;
    std::thread t1(writer, a), t2(writer, b);
    // Flip the date back and forth while both write, so that the instance is
    // replaced under them again and again.
    for (int i = 0; i < 50; ++i) {
        dvtest::fakeNow().sec = (i % 2) ? dvtest::kTue20261117_000000 : dvtest::kMon20261116_235959;
        std::this_thread::yield();
    }
    t1.join();
    t2.join();
    std::vector<std::string> lines = dvtest::readLines(logic());
    for (const auto& line : dvtest::readLines(dir.file("dvlogic_Tue.log")))
        lines.push_back(line);
    // Both dates are in week 46, so reopening a file keeps its lines.
    EXPECT_EQ(lines.size(), 1000u);
    const std::regex whole("w46 (23:59:59|00:00:00)\\.042 == (a{300}|b{300})");
    for (const auto& line : lines)
        EXPECT_TRUE(std::regex_match(line, whole)) << line;
}

// Directory choice. Each case builds its own environment.
class LoggerDirectoryTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvtest::useFakeClock(dvtest::kMon20261116_090507);
        dvtest::setEnv("DVLOGS", nullptr);
        dvtest::setEnv("LOGFILE", nullptr);
        DVLogicsLogger::ResetForTesting();
    }
    void TearDown() override
    {
        DVLogicsLogger::ResetForTesting();
        dvtest::setEnv("HOME", home.empty() ? nullptr : home.c_str());
        ASSERT_EQ(chdir("/tmp"), 0);
    }
    TempDir dir;
    const std::string home = dvtest::getEnv("HOME");
};

TEST_F(LoggerDirectoryTest, DvlogsWinsOverLogfile)
{
    dvtest::setEnv("DVLOGS", dir.file("a").c_str());
    dvtest::setEnv("LOGFILE", dir.file("b").c_str());
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_TRUE(dvtest::fileExists(dir.file("a/dvlogic_Mon.log"))); // made with mkdir
    EXPECT_FALSE(dvtest::fileExists(dir.file("b")));
}

TEST_F(LoggerDirectoryTest, LogfileNamesADirectory)
{
    dvtest::setEnv("LOGFILE", dir.path().c_str());
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_TRUE(dvtest::fileExists(dir.file("dvlogic_Mon.log")));
}

TEST_F(LoggerDirectoryTest, DefaultIsTempBelowHome)
{
    dvtest::setEnv("HOME", dir.path().c_str());
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_TRUE(dvtest::fileExists(dir.file("temp/dverror_Nov.log")));
}

TEST_F(LoggerDirectoryTest, HomeTooLongForThePathOpensNothingAndMakesNoDirectory)
{
    const std::string longHome = dir.file(std::string(252, 'h'));
    ASSERT_EQ(mkdir(longHome.c_str(), 0775), 0);
    dvtest::setEnv("HOME", longHome.c_str());
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_EQ(dvtest::listDir(longHome).size(), 0u);
    EXPECT_EQ(dvtest::listDir(dir.path()).size(), 1u); // no cut-off copy of the name beside it
}

TEST_F(LoggerDirectoryTest, WithoutHomeTheDefaultIsTempBelowTheCurrentDirectory)
{
    dvtest::setEnv("HOME", nullptr);
    ASSERT_EQ(chdir(dir.path().c_str()), 0);
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_TRUE(dvtest::fileExists(dir.file("temp/dvlogic_Mon.log")));
}

TEST_F(LoggerDirectoryTest, DoubledPercentInTheDirectoryNameComesOutAsOne)
{
    ASSERT_EQ(mkdir(dir.file("a%b").c_str(), 0775), 0);
    dvtest::setEnv("DVLOGS", dir.file("a%b").c_str());
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_TRUE(dvtest::fileExists(dir.file("a%b/dvlogic_Mon.log")));
    DVLogicsLogger::ResetForTesting();

    ASSERT_EQ(mkdir(dir.file("c%%d").c_str(), 0775), 0);
    ASSERT_EQ(mkdir(dir.file("c%d").c_str(), 0775), 0);
    dvtest::setEnv("DVLOGS", dir.file("c%%d").c_str());
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_TRUE(dvtest::fileExists(dir.file("c%d/dvlogic_Mon.log")));
}

TEST_F(LoggerDirectoryTest, MkdirFailureIsReportedOnStderrAndRetriedAtEveryLine)
{
    dvtest::setEnv("DVLOGS", dir.file("missing/parent").c_str());
    testing::internal::CaptureStderr();
    DVLogicsLogger::LogMessage("one", DVERROR, DVLOGICSLOG);
    DVLogicsLogger::LogMessage("two", DVERROR, DVLOGICSLOG);
    const std::string err = testing::internal::GetCapturedStderr();
    // The first line builds the logger and, finding no date, builds it again.
    const std::string once = "InitLogFile: mkdir failed: No such file or directory\n";
    EXPECT_EQ(err, once + once + once);

    // Once the parent exists the next line succeeds.
    ASSERT_EQ(mkdir(dir.file("missing").c_str(), 0775), 0);
    DVLogicsLogger::LogMessage("three", DVERROR, DVLOGICSLOG);
    EXPECT_EQ(dvtest::readLines(dir.file("missing/parent/dvlogic_Mon.log")).size(), 1u);
}

TEST_F(LoggerDirectoryTest, TooLongDirectoryOpensNoFileAndDoesNotCrash)
{
    const std::string longName = dir.file(std::string(250, 'x'));
    dvtest::setEnv("DVLOGS", longName.c_str());
    DVLogicsLogger::LogMessage("x", DVERROR, DVLOGICSLOG);
    EXPECT_TRUE(dvtest::fileExists(longName));
    EXPECT_FALSE(dvtest::fileExists(longName + "/dvlogic_Mon.log"));
}

} // namespace
