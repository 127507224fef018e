// Report handling, field parsers and the logger, in process (the static
// core): reports go straight into callbackfunc as the device thread would
// hand them over, with a till's callbacks registered and the logs written to
// DVLOGS.
#include "benchutil.h"
#include "reportmix.h"

#include "events/callbackfunc.h"
#include "events/dvparsers.h"
#include "session/dvstate.h"
#include "support/dvlogicslogger.h"

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

void setLogging(bool on)
{
    for (std::atomic<bool>* flag : {&logCR2CAPI, &logCAPI2CR, &logCom2CAPI, &logCAPI2Com, &logDVDEBUG})
        flag->store(on);
}

// Reports of every kind, each different from the one before (also across the
// wrap), so that every one is logged and forwarded: the most work the
// default settings allow.
void BM_Reports(benchmark::State& state)
{
    const bool logging = state.range(0) != 0;
    dvbench::startReportSession();
    setLogging(logging);
    dvbench::CountingTill::clear();
    dvbench::ReportFeeder feeder;
    for (auto _ : state)
        feeder.next();
    setLogging(true);
    state.SetLabel(logging ? "default logging" : "logging off");
    state.counters["reports_per_s"] = benchmark::Counter(static_cast<double>(state.iterations()),
                                                         benchmark::Counter::kIsRate);
    state.counters["events_per_report"] =
        static_cast<double>(dvbench::CountingTill::total()) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_Reports)->ArgName("logging")->Arg(1)->Arg(0)->MinTime(2.0)->UseRealTime();

// --- parsers ----------------------------------------------------------------------

void BM_ParseReport(benchmark::State& state)
{
    const std::string report = "a0000250001";
    std::string cmd, rest;
    int amount = 0, status = 0, mode = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formatCallbackArg(report, cmd, amount, status, mode, rest));
        benchmark::DoNotOptimize(amount);
    }
    state.counters["per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ParseReport);

void BM_ParseLevelReport(benchmark::State& state)
{
    const std::string report = "b0000050011" + std::string("02 10 EUR       ");
    std::string cmd, rest;
    int amount = 0, status = 0, mode = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(formatCallbackArg(report, cmd, amount, status, mode, rest));
        benchmark::DoNotOptimize(rest.data());
    }
    state.counters["per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ParseLevelReport);

void BM_CashLevels(benchmark::State& state)
{
    static const char* const kTails[] = {"02 10 EUR       ", "00 0,50 EUR     ", "010 EUR         "};
    const std::string tail = kTails[state.range(0)];
    int numberOf = 0, levelType = 0;
    long denomination = 0;
    std::string typeString, denominationString, warningMessage;
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            getCashLevels(tail, numberOf, denomination, levelType, typeString, denominationString, warningMessage));
        benchmark::DoNotOptimize(warningMessage.data());
    }
    state.SetLabel(state.range(0) == 0 ? "low" : state.range(0) == 1 ? "empty" : "high");
    state.counters["per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_CashLevels)->ArgName("level")->DenseRange(0, 2);

void BM_ErrorCode(benchmark::State& state)
{
    const std::string tail = "NOTE JAM      07";
    int code = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(getErrorCode(tail, code));
        benchmark::DoNotOptimize(code);
    }
    state.counters["per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_ErrorCode);

void BM_SessionInfo(benchmark::State& state)
{
    const std::string tail = "CR/RF00012000   ";
    short type = 0;
    int amount = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(getSessionInfo(tail, type, amount));
        benchmark::DoNotOptimize(amount);
    }
    state.counters["per_s"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_SessionInfo);

// --- logger --------------------------------------------------------------------------

// One line of a typical length to one file (arg 0), an error line to the
// logic and error logs (arg 1), and a line whose filter is off (arg 2).
void BM_LoggerLines(benchmark::State& state)
{
    dvbench::startReportSession();
    const char* const line = "sendStatusEvent: amount=2500, status=0, mode=1";
    const int kind = static_cast<int>(state.range(0));
    if (kind == 2)
        logDVDEBUG = false;
    for (auto _ : state) {
        if (kind == 0)
            DVLogicsLogger::LogMessage(line, API2CR, DVLOGICSLOG);
        else if (kind == 1)
            DVLogicsLogger::LogMessage(line, DVERROR, DVLOGICSLOG, DVERRORLOG);
        else
            DVLogicsLogger::LogMessage(line, DVDEBUG, DVLOGICSLOG);
    }
    logDVDEBUG = true;
    const double lines = kind == 1 ? 2.0 : kind == 0 ? 1.0 : 0.0;
    state.SetLabel(kind == 0 ? "one file" : kind == 1 ? "error, two files" : "filtered out");
    state.counters["lines_per_s"] =
        benchmark::Counter(lines * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["calls_per_s"] =
        benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_LoggerLines)->ArgName("kind")->DenseRange(0, 2)->MinTime(1.0)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    dvbench::prepareEnvironment();
    return dvbench::runBenchmarks(argc, argv);
}
