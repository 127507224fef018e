// Helpers shared by the benchmark programs: where the logs go, a till that
// only counts its events, resident memory, and the results file that
// bench/run.sh turns into the table (one tab-separated line per result).
#ifndef DV_BENCH_BENCHUTIL_H
#define DV_BENCH_BENCHUTIL_H

#include "dvlogics.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <string>

namespace dvbench {

// Points DVLOGS and DVCONFIG at directories of this run, before the library
// logs anything. DVLOGS is kept when it is set (bench/run.sh sets it to a
// directory on local disk); otherwise a fresh directory under /tmp is made.
// DVCONFIG always gets an empty directory, so that every setting is the
// built-in default and no translation file is read. Returns the log
// directory.
std::string prepareEnvironment();

// A till whose callbacks count events and touch the texts as a real till
// would when it copies them, and do nothing else.
struct CountingTill {
    static std::atomic<long> status, error, level, warning, session;
    static void onStatus(int amount, short status, short mode);
    static void onError(int code, char* text, char* ext);
    static void onLevel(long denomination, short numberOf, char* ext);
    static void onWarning(short type, long denomination, short numberOf, char* typeString,
                          char* denominationString, char* warningMessage, char* ext);
    static void onSession(short type, int amount, char* ext);
    static long total();
    static void clear();
};

// Resident set size and its peak, in KiB, from /proc/self/status (VmRSS,
// VmHWM); -1 when unreadable.
long residentKiB();
long peakResidentKiB();
// Sets the peak back to the present size (writes 5 to /proc/self/clear_refs);
// false when the kernel refuses.
bool resetPeakResident();

// Appends "name<TAB>value<TAB>unit" to the results file named by the
// environment variable DVBENCH_RESULTS (nothing when it is unset), and
// prints the same line to standard output when echo is set.
void writeResult(const std::string& name, double value, const std::string& unit, bool echo = true);

// The console display, which also hands every result to writeResult: per
// benchmark (per aggregate, when repetitions are used) "name<TAB>seconds per
// iteration<TAB>s" (wall time), "name/cpu<TAB>seconds<TAB>s" (the benchmark
// thread's processor time), then "name/counter<TAB>value<TAB>counter" for
// each user counter.
class ResultsReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override;
};

// Initialises Google Benchmark with argv and runs the registered benchmarks
// with the ResultsReporter. Returns the process exit code.
int runBenchmarks(int argc, char** argv);

} // namespace dvbench

#endif
