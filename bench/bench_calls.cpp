// The overhead of an exported call that does not wait for the device, with
// the default logging, on a session that is initiated and logged in on the
// simulator: isOpenDV and infoDV through the loaded libdvlogics.so.
#include "benchutil.h"
#include "till.h"

#include "dvsim.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

dvbench::Till g_till;

void BM_IsOpenDV(benchmark::State& state)
{
    int open = 0;
    char message[DV_MESSAGE_SIZE];
    for (auto _ : state) {
        benchmark::DoNotOptimize(g_till.isOpenDV(&open, message));
        benchmark::DoNotOptimize(open);
    }
    if (open != 1)
        state.SkipWithError("the device is not open");
}
BENCHMARK(BM_IsOpenDV)->Repetitions(15)->ReportAggregatesOnly(true)->UseRealTime();

void BM_InfoDV(benchmark::State& state)
{
    int level = 0;
    char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], info[DV_INFO_INFO_SIZE];
    char message[DV_MESSAGE_SIZE];
    for (auto _ : state) {
        benchmark::DoNotOptimize(g_till.infoDV(&level, commands, master, info, message));
        benchmark::DoNotOptimize(level);
    }
    if (level != 1)
        state.SkipWithError("the device did not answer the capability query");
}
BENCHMARK(BM_InfoDV)->Repetitions(15)->ReportAggregatesOnly(true)->UseRealTime();

double nowNs()
{
    struct timespec t;
    clock_gettime(CLOCK_MONOTONIC, &t);
    return static_cast<double>(t.tv_sec) * 1e9 + static_cast<double>(t.tv_nsec);
}

// Every call timed on its own: the median and the tail of single calls (a
// write may now and then wait for the file system, or the thread for the
// processor).
void BM_SingleCalls(benchmark::State& state)
{
    const bool info = state.range(0) != 0;
    int open = 0, level = 0;
    char commands[DV_INFO_COMMANDS_SIZE], master[DV_INFO_MASTER_SIZE], text[DV_INFO_INFO_SIZE];
    char message[DV_MESSAGE_SIZE];
    std::vector<double> samples;
    samples.reserve(1 << 20);
    for (auto _ : state) {
        const double start = nowNs();
        if (info)
            g_till.infoDV(&level, commands, master, text, message);
        else
            g_till.isOpenDV(&open, message);
        const double took = nowNs() - start;
        if (samples.size() < samples.capacity())
            samples.push_back(took);
    }
    std::sort(samples.begin(), samples.end());
    auto at = [&](double q) { return samples[static_cast<size_t>(q * static_cast<double>(samples.size() - 1))]; };
    state.SetLabel(info ? "infoDV" : "isOpenDV");
    state.counters["p50_us"] = at(0.50) / 1000.0;
    state.counters["p90_us"] = at(0.90) / 1000.0;
    state.counters["p99_us"] = at(0.99) / 1000.0;
    state.counters["p999_us"] = at(0.999) / 1000.0;
    state.counters["max_us"] = samples.back() / 1000.0;
}
BENCHMARK(BM_SingleCalls)->ArgName("info")->Arg(0)->Arg(1)->MinTime(2.0)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    dvbench::prepareEnvironment();
    dvsim_reset_model();
    g_till.load();
    if (g_till.open("") != 0 || g_till.loginDV(1, 1, g_till.message) != 0) {
        fprintf(stderr, "cannot open the session: %s\n", g_till.message);
        return 1;
    }
    dvsim_wait_idle(5000);
    const int result = dvbench::runBenchmarks(argc, argv);
    g_till.logoutDV(g_till.message);
    g_till.exitDV(g_till.message);
    return result;
}
