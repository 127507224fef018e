// In-process fixture for report handling: the till's callbacks are the
// recorder, the logs go to a temporary directory, and reports are fed to
// callbackfunc directly, as the device thread would.
#ifndef DV_TESTS_REPORTFIXTURE_H
#define DV_TESTS_REPORTFIXTURE_H

#include "fakeclock.h"
#include "recorder.h"
#include "testutil.h"

#include "events/callbackfunc.h"
#include "session/dvstate.h"
#include "support/dvlangsupport.h"
#include "support/dvlogicslogger.h"

#include <gtest/gtest.h>

#include <unistd.h>

class ReportTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvtest::setEnv("DVLOGS", logs.path().c_str());
        dvtest::setEnv("DVCONFIG", config.path().c_str());
        ASSERT_EQ(chdir(logs.path().c_str()), 0);
        dvtest::useFakeClock(dvtest::kMon20261116_090507);
        DVLogicsLogger::ResetForTesting();
        DVLangSupport::ResetForTesting();
        dvtest::Recorder::instance().clear();
        dvResetStateForTesting();
        // The settings as a session with default configuration has them.
        g_nForwardCallbackChangeOnly = 1;
        g_nLoggSendEvents = 1;
        g_nLoggEveryCallback = 0;
        g_nCurrencyDecimals = 2;
        g_fStatusCallback = &dvtest::Recorder::status;
        g_fErrorCallback = &dvtest::Recorder::error;
        g_fCashLevelCallback = &dvtest::Recorder::level;
        g_fLevelWarningCallback = &dvtest::Recorder::warning;
        g_fCashSessionCallback = &dvtest::Recorder::session;
        g_DVState = DVS_LOGGED_OUT;
    }
    void TearDown() override
    {
        DVLogicsLogger::ResetForTesting();
        DVLangSupport::ResetForTesting();
        ASSERT_EQ(chdir("/tmp"), 0);
    }

    bool feed(const std::string& report)
    {
        std::string copy = report;
        return callbackfunc(reinterpret_cast<unsigned char*>(&copy[0]));
    }

    std::vector<dvtest::Event> events() const { return dvtest::Recorder::instance().events(); }
    std::vector<dvtest::Event> events(const char* kind) const { return dvtest::Recorder::instance().of(kind); }

    // Log lines without their time stamps ("=> text", "!! text").
    std::vector<std::string> lines(const char* file) const
    {
        std::vector<std::string> out;
        for (const auto& line : dvtest::readLines(logs.file(file))) {
            const size_t at = line.find(" w46 ") != std::string::npos ? line.find(" w46 ") + 1 : 0;
            out.push_back(line.substr(at + 17));
        }
        return out;
    }
    std::vector<std::string> logic() const { return lines("dvlogic_Mon.log"); }
    std::vector<std::string> api() const { return lines("dvapi_Mon.log"); }
    std::vector<std::string> errors() const { return lines("dverror_Nov.log"); }

    dvtest::TempDir logs, config;
};

#endif
