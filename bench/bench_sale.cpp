// A whole sale through the loaded library against the simulator with no
// device latency, compared with the floor that the 10 ms wait steps set.
//
//   bench_sale [--working-min=MS] [--report-gap=MS] [--sales=N] [benchmark flags]
//   bench_sale --sweep[=W1:G1,W2:G2,...] [--sales=N]
//
// The first form runs the sale benchmark with the given simulator timing.
// --sweep runs N sales for each pair of working phase and report gap (in
// ms) and reports how many failed and how long they took: the smallest pair
// without failures is the one to use.
#include "benchutil.h"
#include "sale.h"

#include "dvsim.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

dvbench::Till g_till;
unsigned g_workingMin = 12;
unsigned g_reportGap = 12;
int g_sales = 200;

struct Summary {
    int failures = 0;
    std::vector<double> till, total;
    std::string firstFailure;

    double median(std::vector<double> v) const
    {
        if (v.empty())
            return 0;
        std::sort(v.begin(), v.end());
        return v[v.size() / 2];
    }
    double quantile(std::vector<double> v, double q) const
    {
        if (v.empty())
            return 0;
        std::sort(v.begin(), v.end());
        return v[static_cast<size_t>(q * static_cast<double>(v.size() - 1))];
    }
    double mean(const std::vector<double>& v) const
    {
        double sum = 0;
        for (double x : v)
            sum += x;
        return v.empty() ? 0 : sum / static_cast<double>(v.size());
    }
};

// A failed sale may leave the device open or working: wait for it and close.
void recover()
{
    dvsim_wait_idle(5000);
    g_till.logoutDV(g_till.message);
    dvsim_wait_idle(5000);
}

void record(Summary& summary, const dvbench::SaleResult& sale)
{
    if (sale.ok) {
        summary.till.push_back(sale.tillMs);
        summary.total.push_back(sale.totalMs);
        return;
    }
    if (summary.failures++ == 0)
        summary.firstFailure = std::string(sale.failedCall) + " " + std::to_string(sale.status) + ": " +
                               g_till.message;
    recover();
}

void BM_Sale(benchmark::State& state)
{
    dvbench::setSaleTiming(g_workingMin, g_reportGap);
    Summary summary;
    for (auto _ : state) {
        const dvbench::SaleResult sale = dvbench::runSale(g_till, g_reportGap);
        record(summary, sale);
        state.SetIterationTime(sale.ok ? sale.tillMs / 1000.0 : 0.0);
    }
    const double median = summary.median(summary.till);
    state.SetLabel("working_min " + std::to_string(g_workingMin) + " ms, report_gap " +
                   std::to_string(g_reportGap) + " ms");
    state.counters["floor_ms"] = dvbench::kSaleFloorMs;
    state.counters["till_median_ms"] = median;
    state.counters["till_mean_ms"] = summary.mean(summary.till);
    state.counters["till_p90_ms"] = summary.quantile(summary.till, 0.9);
    state.counters["over_floor_pct"] = (median / dvbench::kSaleFloorMs - 1.0) * 100.0;
    state.counters["with_customer_ms"] = summary.median(summary.total);
    state.counters["failures"] = summary.failures;
    state.counters["working_min_ms"] = g_workingMin;
    state.counters["report_gap_ms"] = g_reportGap;
    if (summary.failures > 0)
        fprintf(stderr, "%d failed sales, first: %s\n", summary.failures, summary.firstFailure.c_str());
}

void sweep(const std::string& pairs)
{
    printf("%-12s %-11s %8s %12s %12s %10s  %s\n", "working_min", "report_gap", "failed", "median ms", "p90 ms",
           "vs floor", "first failure");
    size_t at = 0;
    while (at < pairs.size()) {
        size_t comma = pairs.find(',', at);
        if (comma == std::string::npos)
            comma = pairs.size();
        const std::string pair = pairs.substr(at, comma - at);
        at = comma + 1;
        unsigned working = 0, gap = 0;
        if (sscanf(pair.c_str(), "%u:%u", &working, &gap) != 2) {
            fprintf(stderr, "bad pair '%s' (want WORKING:GAP)\n", pair.c_str());
            continue;
        }
        dvbench::setSaleTiming(working, gap);
        Summary summary;
        for (int i = 0; i < g_sales; ++i)
            record(summary, dvbench::runSale(g_till, gap));
        const double median = summary.median(summary.till);
        printf("%-12u %-11u %8d %12.2f %12.2f %+9.1f%%  %s\n", working, gap, summary.failures, median,
               summary.quantile(summary.till, 0.9), (median / dvbench::kSaleFloorMs - 1.0) * 100.0,
               summary.firstFailure.c_str());
        const std::string name = "sweep/" + std::to_string(working) + ":" + std::to_string(gap);
        dvbench::writeResult(name + "/failures", summary.failures, "count", false);
        dvbench::writeResult(name + "/sales", g_sales, "count", false);
        dvbench::writeResult(name + "/till_median_ms", median, "ms", false);
        fflush(stdout);
    }
}

bool option(const char* arg, const char* name, std::string& value)
{
    const size_t length = strlen(name);
    if (strncmp(arg, name, length) != 0)
        return false;
    if (arg[length] == '=')
        value = arg + length + 1;
    else if (arg[length] == '\0')
        value.clear();
    else
        return false;
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    std::string sweepPairs;
    bool doSweep = false;
    std::vector<char*> rest{argv[0]};
    for (int i = 1; i < argc; ++i) {
        std::string value;
        if (option(argv[i], "--working-min", value))
            g_workingMin = static_cast<unsigned>(atoi(value.c_str()));
        else if (option(argv[i], "--report-gap", value))
            g_reportGap = static_cast<unsigned>(atoi(value.c_str()));
        else if (option(argv[i], "--sales", value))
            g_sales = std::max(1, atoi(value.c_str()));
        else if (option(argv[i], "--sweep", value)) {
            doSweep = true;
            sweepPairs = value.empty() ? "10:10,11:11,12:12,13:13,14:14,15:15,20:20,30:30" : value;
        } else
            rest.push_back(argv[i]);
    }

    dvbench::prepareEnvironment();
    dvsim_reset_model();
    g_till.load();
    if (g_till.open(dvbench::kSaleSettings) != 0) {
        fprintf(stderr, "initDV failed: %s\n", g_till.message);
        return 1;
    }
    int result = 0;
    if (doSweep) {
        sweep(sweepPairs);
    } else {
        benchmark::RegisterBenchmark("BM_Sale", BM_Sale)->Iterations(g_sales)->UseManualTime()->Unit(
            benchmark::kMillisecond);
        int count = static_cast<int>(rest.size());
        result = dvbench::runBenchmarks(count, rest.data());
    }
    g_till.exitDV(g_till.message);
    return result;
}
