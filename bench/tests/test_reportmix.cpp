// The report benchmark's claims, checked against the library itself: every
// report of the mix is logged and forwarded, so the throughput is measured
// with the most work the default settings allow; and a line of the log is
// one write to its file, which is what the per-line cost consists of.
#include "benchutil.h"
#include "reportmix.h"

#include "support/dvlogicslogger.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> linesOf(const std::string& path)
{
    std::ifstream in(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

// Every file of the log directory, one line per entry.
std::vector<std::string> logLines(const std::string& directory, const char* prefix)
{
    std::vector<std::string> all;
    for (const char* day : {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"})
        for (const auto& line : linesOf(directory + "/" + prefix + "_" + day + ".log"))
            all.push_back(line);
    return all;
}

std::vector<std::string> errorLines(const std::string& directory)
{
    std::vector<std::string> all;
    for (const char* month : {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"})
        for (const auto& line : linesOf(directory + "/dverror_" + month + ".log"))
            all.push_back(line);
    return all;
}

// What follows the time stamp "wNN HH:MM:SS.mmm ".
std::string logged(const std::string& line)
{
    return line.size() > 17 ? line.substr(17) : std::string();
}

// Write system calls of this process so far (/proc/self/io, syscw).
long writeCalls()
{
    std::ifstream in("/proc/self/io");
    for (std::string line; std::getline(in, line);)
        if (line.compare(0, 7, "syscw: ") == 0)
            return atol(line.c_str() + 7);
    return -1;
}

class ReportMixTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        // A directory of this test's own: it is removed afterwards.
        char directory[] = "/tmp/dvbench-test.XXXXXX";
        ASSERT_NE(mkdtemp(directory), nullptr);
        setenv("DVLOGS", directory, 1);
        logs = dvbench::prepareEnvironment();
        dvbench::startReportSession();
    }
    void TearDown() override
    {
        DVLogicsLogger::ResetForTesting();
        std::string command = "rm -rf '" + logs + "'";
        if (system(command.c_str()) != 0) {
        }
    }
    std::string logs;
};

TEST_F(ReportMixTest, EveryReportIsLoggedOnceAndForwarded)
{
    ASSERT_EQ(dvbench::kReportMixSize, 8u);
    dvbench::ReportFeeder feeder;
    for (size_t i = 0; i < 2 * dvbench::kReportMixSize; ++i)
        feeder.next();

    std::vector<std::string> received;
    for (const auto& line : logLines(logs, "dvlogic"))
        if (logged(line).compare(0, 3, "<- ") == 0)
            received.push_back(logged(line).substr(3));
    ASSERT_EQ(received.size(), 2 * dvbench::kReportMixSize);
    for (size_t i = 0; i < received.size(); ++i)
        EXPECT_EQ(received[i], dvbench::kReportMix[i % dvbench::kReportMixSize]);

    // Per round: five status events ("a" four times, "c" while working),
    // the low level to both level callbacks, the session record.
    EXPECT_EQ(dvbench::CountingTill::status.load(), 10);
    EXPECT_EQ(dvbench::CountingTill::level.load(), 2);
    EXPECT_EQ(dvbench::CountingTill::warning.load(), 2);
    EXPECT_EQ(dvbench::CountingTill::session.load(), 2);
    EXPECT_EQ(dvbench::CountingTill::error.load(), 0);
    // Nothing in the mix is an error.
    EXPECT_TRUE(errorLines(logs).empty());
    for (const auto& line : logLines(logs, "dvlogic"))
        EXPECT_EQ(line.find(" !! "), std::string::npos) << line;
}

TEST_F(ReportMixTest, EachLogLineIsOneWriteAndALongLineIsWrittenWhole)
{
    // The first line opens the files (and reads their heads): not counted.
    DVLogicsLogger::LogMessage("start", DVDEBUG, DVLOGICSLOG);
    const std::string lengths[] = {std::string("short"), std::string(500, 'm'), std::string(4000, 'x')};
    const long before = writeCalls();
    ASSERT_GE(before, 0);
    for (const std::string& text : lengths) {
        DVLogicsLogger::LogMessage(text, API2CR, DVAPILOG);
        DVLogicsLogger::LogMessage(text, DVERROR, DVLOGICSLOG, DVERRORLOG);
    }
    EXPECT_EQ(writeCalls() - before, 9);

    // Longer than a stream buffer: still whole, in order, on one line.
    const std::string longText = std::string(3000, 'a') + std::string(3000, 'b') + std::string(3000, 'c');
    DVLogicsLogger::LogMessage(longText, DVERROR, DVERRORLOG);
    DVLogicsLogger::LogMessage("after", DVERROR, DVERRORLOG);
    const std::vector<std::string> errors = errorLines(logs);
    ASSERT_EQ(errors.size(), 5u);
    // "2026-11-16 Mon w46 09:05:07.042 !! " is 35 characters.
    EXPECT_EQ(errors[3].size(), 35 + longText.size());
    EXPECT_EQ(errors[3].substr(35), longText);
    EXPECT_EQ(errors[3].substr(31, 4), " !! ");
    EXPECT_EQ(errors[4].substr(35), "after");
}

} // namespace
