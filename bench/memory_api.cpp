// Memory of the exported calls and of a sale, through the loaded
// libdvlogics.so against the simulator: resident memory and heap in use
// after 1,000 and after 100,000 non-waiting calls (isOpenDV and infoDV in
// turn) on an open session, and the peak resident memory while sales run.
//
//   memory_api [--calls=N] [--sales=N]   (defaults 100000 and 20)
#include "benchutil.h"
#include "sale.h"

#include "dvsim.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <malloc.h>

namespace {

double heapInUseKiB()
{
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1024.0;
}

void calls(dvbench::Till& till, long count)
{
    int open = 0, level = 0;
    char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], info[DV_INFO_INFO_SIZE];
    for (long i = 0; i < count; ++i) {
        if (i % 2 == 0)
            till.isOpenDV(&open, till.message);
        else
            till.infoDV(&level, commands, master, info, till.message);
    }
}

} // namespace

int main(int argc, char** argv)
{
    long total = 100000;
    int sales = 20;
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--calls=", 8) == 0)
            total = atol(argv[i] + 8);
        else if (strncmp(argv[i], "--sales=", 8) == 0)
            sales = atoi(argv[i] + 8);
    }
    const long first = 1000;
    if (total < first || sales < 1) {
        fprintf(stderr, "--calls must be at least %ld, --sales at least 1\n", first);
        return 2;
    }

    dvbench::prepareEnvironment();
    dvsim_reset_model();
    dvbench::Till till;
    till.load();
    if (till.open(dvbench::kSaleSettings) != 0) {
        fprintf(stderr, "initDV failed: %s\n", till.message);
        return 1;
    }

    // Sales first: the peak they reach over what the open session holds.
    const unsigned workingMin = 12, reportGap = 12;
    dvbench::setSaleTiming(workingMin, reportGap);
    const long rssBeforeSales = dvbench::residentKiB();
    const bool peakReset = dvbench::resetPeakResident();
    int failed = 0;
    for (int i = 0; i < sales; ++i)
        failed += dvbench::runSale(till, reportGap).ok ? 0 : 1;
    const long peakSales = dvbench::peakResidentKiB();
    dvbench::writeResult("memory/sale/rss_before_kib", static_cast<double>(rssBeforeSales), "KiB");
    dvbench::writeResult("memory/sale/peak_kib", static_cast<double>(peakSales), "KiB");
    if (peakReset)
        dvbench::writeResult("memory/sale/peak_over_before_kib", static_cast<double>(peakSales - rssBeforeSales),
                             "KiB");
    dvbench::writeResult("memory/sale/sales", sales, "count");
    dvbench::writeResult("memory/sale/failures", failed, "count");

    // Non-waiting calls on an open session.
    if (till.loginDV(1, 1, till.message) != 0) {
        fprintf(stderr, "loginDV failed: %s\n", till.message);
        return 1;
    }
    dvsim_wait_idle(5000);
    calls(till, first);
    const long rssFirst = dvbench::residentKiB();
    const double heapFirst = heapInUseKiB();
    calls(till, total - first);
    const long rssAll = dvbench::residentKiB();
    const double heapAll = heapInUseKiB();
    dvbench::writeResult("memory/calls/first", static_cast<double>(first), "count");
    dvbench::writeResult("memory/calls/all", static_cast<double>(total), "count");
    dvbench::writeResult("memory/calls/rss_first_kib", static_cast<double>(rssFirst), "KiB");
    dvbench::writeResult("memory/calls/rss_all_kib", static_cast<double>(rssAll), "KiB");
    dvbench::writeResult("memory/calls/rss_growth_kib", static_cast<double>(rssAll - rssFirst), "KiB");
    dvbench::writeResult("memory/calls/heap_growth_kib", heapAll - heapFirst, "KiB");

    till.logoutDV(till.message);
    till.exitDV(till.message);
    return failed == 0 ? 0 : 1;
}
