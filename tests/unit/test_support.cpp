// Text copy, number and time helpers.
#include "fakeclock.h"

#include "support/dvtext.h"
#include "support/dvtime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>

namespace {

TEST(CopyText, DoubledPercentBecomesOneAndEveryOtherPercentStays)
{
    char out[64];
    dvCopyText(out, sizeof out, "100%% done %s %n %d %");
    EXPECT_STREQ(out, "100% done %s %n %d %");
    dvCopyText(out, sizeof out, "%%%%%");
    EXPECT_STREQ(out, "%%%");
}

TEST(CopyText, StopsAtTheCapacityAndAlwaysTerminates)
{
    char out[8];
    memset(out, 'z', sizeof out);
    EXPECT_EQ(dvCopyText(out, sizeof out, std::string(10000, 'x')), 7u);
    EXPECT_STREQ(out, "xxxxxxx");

    char guard[4] = {'a', 'b', 'c', 'd'};
    EXPECT_EQ(dvCopyText(guard, 1, "text"), 0u);
    EXPECT_EQ(guard[0], '\0');
    EXPECT_EQ(guard[1], 'b');
}

TEST(CopyText, NullSourceIsEmptyAndNullDestinationIsLeftAlone)
{
    char out[4] = "abc";
    EXPECT_EQ(dvCopyText(out, sizeof out, static_cast<const char*>(nullptr)), 0u);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(dvCopyText(nullptr, 10, "abc"), 0u);
    EXPECT_EQ(dvUnescapePercent("a%%b%c%%"), "a%b%c%");
}

TEST(CopyText, PlainCopyKeepsEveryPercentAndStopsAtTheCapacity)
{
    char out[6];
    EXPECT_EQ(dvCopyPlain(out, sizeof out, "a%%b%sXYZ"), 5u);
    EXPECT_STREQ(out, "a%%b%");
    EXPECT_EQ(dvCopyPlain(out, sizeof out, nullptr), 0u);
    EXPECT_STREQ(out, "");
}

TEST(NumberTexts, Num2strPadsButNeverCuts)
{
    EXPECT_EQ(num2str(3, 7), "007");
    EXPECT_EQ(num2str(2, 123), "123");
    EXPECT_EQ(num2str(8, 1250), "00001250");
    EXPECT_EQ(num2str(8, 123456789), "123456789");
    EXPECT_EQ(num2str(4, -7), "00-7");
    EXPECT_EQ(num2str(0, 5), "5");
}

TEST(NumberTexts, LtostrWritesNineAsAtSignAndPadsWithBlanks)
{
    EXPECT_EQ(ltostr(19), " 1@");
    EXPECT_EQ(ltostr(0), " 0");
    EXPECT_EQ(ltostr(-19), " -1@");
    EXPECT_EQ(ltostr(1234567890L), " 12345678@0");

    char buffer[12];
    const char* text = ltostr(10, buffer, sizeof buffer, 16);
    EXPECT_STREQ(text, " A");
    EXPECT_EQ(std::string(buffer), std::string(10, ' ') + "A"); // blanks before the digits
    EXPECT_EQ(ltostr(5, buffer, sizeof buffer, 1), nullptr);
    EXPECT_EQ(ltostr(5, buffer, sizeof buffer, 37), nullptr);
}

TEST(NumberTexts, LtostrNeverWritesOutsideTheBuffer)
{
    char buffer[6] = {};
    const char* text = ltostr(LONG_MIN, buffer, 5, 10);
    ASSERT_NE(text, nullptr);
    EXPECT_EQ(text, buffer);
    EXPECT_EQ(buffer[4], '\0');
    EXPECT_EQ(buffer[5], '\0');
}

TEST(NumberTexts, ItoaIgnoresTheBase)
{
    char buffer[12];
    EXPECT_STREQ(itoa(255, buffer, 16), "255");
    EXPECT_EQ(itoa(1, nullptr, 10), nullptr);
    EXPECT_EQ(itostr(-42), "-42");
}

TEST(TimeTexts, GetTimeGivesHourMinuteAndSecondRunTogether)
{
    dvtest::useFakeClock(dvtest::kMon20261116_090507);
    EXPECT_EQ(getTime(hh), "09");
    EXPECT_EQ(getTime(hhmm), "0905");
    EXPECT_EQ(getTime(hhmmss), "090507");
    EXPECT_EQ(getTime(static_cast<ETimeType>(3)), "");
}

TEST(TimeTexts, VersionAndRuntimePaths)
{
    EXPECT_EQ(getDVLogicsLibraryVersion("anything"), "Version: 2.4.2.5");
    EXPECT_EQ(getRuntimePath(), "");
    EXPECT_EQ(extractRuntimePath("/usr/lib/x"), "");
    EXPECT_EQ(getRuntimeFullPathnFname("x"), "");
}

TEST(Stopwatch, ReportsNotStartedUntilStartedAndAfterStop)
{
    dvtest::useFakeClock(dvtest::kMon20261116_090507, 0);
    DVTime timer;
    EXPECT_EQ(timer.readTimer(), "Timer not started");
    EXPECT_EQ(timer.stopTimer(), "Timer not started");

    timer.startTimer();
    dvtest::fakeNow().usec = 250000;
    EXPECT_EQ(timer.readTimer(), "250");
    dvtest::fakeNow().sec = dvtest::kMon20261116_090507 + 2;
    EXPECT_EQ(timer.stopTimer(), "2250");
    EXPECT_EQ(timer.stopTimer(), "Timer not started");
}

} // namespace
