// The sale benchmark's floor: with the simulator timing that bench/run.sh
// uses, a sale succeeds, and the fastest of a few sales goes through exactly
// kSaleWaits waits of the library (a wait sleeps 10 ms before its first
// test, so at the floor each wait sleeps once). The library's 10 ms sleeps
// on the till's thread are counted by interposing nanosleep (the program
// exports it, so the loaded library calls this one).
#include "benchutil.h"
#include "sale.h"

#include "dvsim.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <dlfcn.h>
#include <pthread.h>
#include <unistd.h>

namespace {

std::atomic<bool> g_counting{false};
std::atomic<int> g_tenMsSleeps{0};
pthread_t g_tillThread;

} // namespace

extern "C" int nanosleep(const struct timespec* request, struct timespec* remaining)
{
    using Real = int (*)(const struct timespec*, struct timespec*);
    static const Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "nanosleep"));
    if (g_counting.load() && request && request->tv_sec == 0 && request->tv_nsec == 10000000L &&
        pthread_equal(pthread_self(), g_tillThread))
        ++g_tenMsSleeps;
    if (!real) {
        errno = ENOSYS;
        return -1;
    }
    return real(request, remaining);
}

namespace {

class SaleTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        char directory[] = "/tmp/dvbench-test.XXXXXX";
        ASSERT_NE(mkdtemp(directory), nullptr);
        setenv("DVLOGS", directory, 1);
        logs = dvbench::prepareEnvironment();
        dvsim_reset_model();
        till.load();
        ASSERT_EQ(till.open(dvbench::kSaleSettings), 0) << till.message;
        g_tillThread = pthread_self();
    }
    void TearDown() override
    {
        till.exitDV(till.message);
        std::string command = "rm -rf '" + logs + "'";
        if (system(command.c_str()) != 0) {
        }
    }
    dvbench::Till till;
    std::string logs;
};

TEST_F(SaleTest, FastestSaleSleepsOncePerWait)
{
    const unsigned workingMin = 12, reportGap = 12;
    dvbench::setSaleTiming(workingMin, reportGap);
    int fewest = 1000;
    double fastest = 1e9;
    for (int i = 0; i < 5; ++i) {
        g_tenMsSleeps = 0;
        g_counting = true;
        const dvbench::SaleResult sale = dvbench::runSale(till, reportGap);
        g_counting = false;
        ASSERT_TRUE(sale.ok) << sale.failedCall << " " << sale.status << ": " << till.message;
        fewest = std::min(fewest, g_tenMsSleeps.load());
        fastest = std::min(fastest, sale.tillMs);
    }
    EXPECT_EQ(fewest, dvbench::kSaleWaits);
    EXPECT_GE(fastest, dvbench::kSaleFloorMs);
}

TEST_F(SaleTest, TooShortAWorkingPhaseIsMissedByThePayoutsWait)
{
    // Shorter than one 10 ms step: the device has finished before the
    // payout's first test, so the wait for the working status times out.
    // This is why the benchmark cannot run the device any faster.
    dvbench::setSaleTiming(1, 1);
    const dvbench::SaleResult sale = dvbench::runSale(till, 1);
    EXPECT_FALSE(sale.ok);
    ASSERT_NE(sale.failedCall, nullptr);
    EXPECT_STREQ(sale.failedCall, "payoutDV");
    EXPECT_EQ(sale.status, DV_STATUS_TIMEOUT);
}

} // namespace
