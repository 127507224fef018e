// A report's fields must be in place by the time its type can be seen.
//
// The waits of the session poll the type of the last report
// (waitForCallback) and then read what the report carried: askPayout the
// rest of a "c" report, the capability query the version and commands of an
// "x" report. Here one thread hands reports to the report callback, as the
// device thread does, and another waits for each report's type the way the
// session does and then reads its fields; they must never be those of the
// report before. On a busy till the device thread can be preempted at any
// instruction, so any window between the two shows up sooner or later.
#include "testutil.h"

#include "events/callbackfunc.h"
#include "session/dvstate.h"
#include "support/dvlogicslogger.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <functional>
#include <thread>

namespace {

// Waits for pred: busily for a few microseconds (where the race would be
// seen), then giving up the processor between tries.
template <typename Pred>
void spinUntil(Pred pred)
{
    for (int n = 0; !pred(); ++n)
        if (n > 200)
            std::this_thread::yield();
}

class ReportOrderTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dvtest::setEnv("DVLOGS", logs.path().c_str());
        DVLogicsLogger::ResetForTesting();
        g_nForwardCallbackChangeOnly = 1;
        g_DVState = DVS_PAYIN_ENABLED;
    }
    void TearDown() override { DVLogicsLogger::ResetForTesting(); }

    // Delivers `rounds` reports made by `report(i)`; for each, a waiter spins
    // until the type is `type` and then calls `stale(i)`, which says whether
    // it read the fields of an earlier report. Returns how often it did.
    int staleReads(int rounds, const char* type, std::function<std::string(int)> report,
                   std::function<bool(int)> stale)
    {
        std::atomic<int> round{0}, checked{0};
        int stales = 0;
        std::thread waiter([&] {
            for (int i = 1; i <= rounds; ++i) {
                spinUntil([&] { return round.load() == i; });
                spinUntil([&] { return g_strLastCallbackCmd.equals(type); });
                stales += stale(i) ? 1 : 0;
                checked = i;
            }
        });
        for (int i = 1; i <= rounds; ++i) {
            g_strLastCallbackCmd.clear(); // as each wait leaves it
            std::string text = report(i);
            round = i;
            callbackfunc(reinterpret_cast<unsigned char*>(&text[0]));
            spinUntil([&] { return checked.load() == i; });
        }
        waiter.join();
        return stales;
    }

    dvtest::TempDir logs;
};

const int kRounds = 10000;

TEST_F(ReportOrderTest, RestOfAChangeReportIsInPlaceWithItsType)
{
    char text[32];
    const int stales = staleReads(
        kRounds, "c",
        [&](int i) {
            snprintf(text, sizeof text, "c%08d01", i);
            return std::string(text);
        },
        [](int i) { return g_nLastCmessageRest.load() != i; });
    EXPECT_EQ(stales, 0) << "of " << kRounds << " waits read the rest of the report before";
}

TEST_F(ReportOrderTest, CapabilitiesAreInPlaceWithTheirType)
{
    char text[64];
    const int stales = staleReads(
        kRounds, "x",
        [&](int i) {
            snprintf(text, sizeof text, "xDRAVIK-SIM-000001%04dCMD%d", i % 10000, i);
            return std::string(text);
        },
        [](int i) { return g_supportedCommands.get() != "CMD" + std::to_string(i); });
    EXPECT_EQ(stales, 0) << "of " << kRounds << " waits read the capabilities of the report before";
}

} // namespace
