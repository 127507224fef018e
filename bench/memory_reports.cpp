// Memory of report handling: resident memory and heap in use after 1,000
// and after 1,000,000 reports of the benchmark's mix, handled in process
// with the default logging. Whatever grows between the two is kept per
// report and would grow without bound on a till that runs for months.
//
//   memory_reports [--reports=N]   (default 1000000)
#include "benchutil.h"
#include "reportmix.h"

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

} // namespace

int main(int argc, char** argv)
{
    long reports = 1000000;
    for (int i = 1; i < argc; ++i)
        if (strncmp(argv[i], "--reports=", 10) == 0)
            reports = atol(argv[i] + 10);
    const long first = 1000;
    if (reports < first) {
        fprintf(stderr, "--reports must be at least %ld\n", first);
        return 2;
    }

    dvbench::prepareEnvironment();
    dvbench::startReportSession();
    dvbench::ReportFeeder feeder;
    for (long i = 0; i < first; ++i)
        feeder.next();
    const long rssFirst = dvbench::residentKiB();
    const double heapFirst = heapInUseKiB();
    for (long i = first; i < reports; ++i)
        feeder.next();
    const long rssAll = dvbench::residentKiB();
    const double heapAll = heapInUseKiB();

    dvbench::writeResult("memory/reports/first", static_cast<double>(first), "count");
    dvbench::writeResult("memory/reports/all", static_cast<double>(reports), "count");
    dvbench::writeResult("memory/reports/rss_first_kib", static_cast<double>(rssFirst), "KiB");
    dvbench::writeResult("memory/reports/rss_all_kib", static_cast<double>(rssAll), "KiB");
    dvbench::writeResult("memory/reports/rss_growth_kib", static_cast<double>(rssAll - rssFirst), "KiB");
    dvbench::writeResult("memory/reports/heap_first_kib", heapFirst, "KiB");
    dvbench::writeResult("memory/reports/heap_growth_kib", heapAll - heapFirst, "KiB");
    dvbench::writeResult("memory/reports/events", static_cast<double>(dvbench::CountingTill::total()), "count");
    return 0;
}
