#include "benchutil.h"

#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace dvbench {

namespace {

std::string makeTempDir(const char* pattern)
{
    std::string path = pattern;
    if (!mkdtemp(&path[0])) {
        perror("mkdtemp");
        exit(1);
    }
    return path;
}

long statusFieldKiB(const char* field)
{
    FILE* file = fopen("/proc/self/status", "r");
    if (!file)
        return -1;
    char line[256];
    long value = -1;
    const size_t length = strlen(field);
    while (fgets(line, sizeof line, file)) {
        if (strncmp(line, field, length) == 0 && line[length] == ':') {
            value = strtol(line + length + 1, nullptr, 10);
            break;
        }
    }
    fclose(file);
    return value;
}

// The text arguments are read as a till copying them would read them.
size_t touch(const char* text)
{
    return text ? strlen(text) : 0;
}

} // namespace

std::string prepareEnvironment()
{
    const char* logs = getenv("DVLOGS");
    std::string directory = logs && *logs ? std::string(logs) : makeTempDir("/tmp/dvbench-logs.XXXXXX");
    if (!logs || !*logs)
        fprintf(stderr, "logs go to %s\n", directory.c_str());
    setenv("DVLOGS", directory.c_str(), 1);
    static const std::string config = makeTempDir("/tmp/dvbench-config.XXXXXX");
    static const int removeConfig = atexit([] { rmdir(config.c_str()); });
    (void)removeConfig;
    setenv("DVCONFIG", config.c_str(), 1);
    unsetenv("DVSIM_CONFIG");
    unsetenv("DVSIM_SOCKET");
    return directory;
}

std::atomic<long> CountingTill::status{0};
std::atomic<long> CountingTill::error{0};
std::atomic<long> CountingTill::level{0};
std::atomic<long> CountingTill::warning{0};
std::atomic<long> CountingTill::session{0};

void CountingTill::onStatus(int, short, short)
{
    status.fetch_add(1, std::memory_order_relaxed);
}

void CountingTill::onError(int, char* text, char* ext)
{
    benchmark::DoNotOptimize(touch(text) + touch(ext));
    error.fetch_add(1, std::memory_order_relaxed);
}

void CountingTill::onLevel(long, short, char* ext)
{
    benchmark::DoNotOptimize(touch(ext));
    level.fetch_add(1, std::memory_order_relaxed);
}

void CountingTill::onWarning(short, long, short, char* typeString, char* denominationString, char* warningMessage,
                             char* ext)
{
    benchmark::DoNotOptimize(touch(typeString) + touch(denominationString) + touch(warningMessage) + touch(ext));
    warning.fetch_add(1, std::memory_order_relaxed);
}

void CountingTill::onSession(short, int, char* ext)
{
    benchmark::DoNotOptimize(touch(ext));
    session.fetch_add(1, std::memory_order_relaxed);
}

long CountingTill::total()
{
    return status.load() + error.load() + level.load() + warning.load() + session.load();
}

void CountingTill::clear()
{
    for (std::atomic<long>* counter : {&status, &error, &level, &warning, &session})
        counter->store(0);
}

long residentKiB()
{
    return statusFieldKiB("VmRSS");
}

long peakResidentKiB()
{
    return statusFieldKiB("VmHWM");
}

bool resetPeakResident()
{
    const int fd = open("/proc/self/clear_refs", O_WRONLY);
    if (fd < 0)
        return false;
    const bool done = write(fd, "5", 1) == 1;
    close(fd);
    return done;
}

void writeResult(const std::string& name, double value, const std::string& unit, bool echo)
{
    if (echo) {
        printf("%s\t%.9g\t%s\n", name.c_str(), value, unit.c_str());
        fflush(stdout);
    }
    const char* path = getenv("DVBENCH_RESULTS");
    if (!path || !*path)
        return;
    if (FILE* file = fopen(path, "a")) {
        fprintf(file, "%s\t%.9g\t%s\n", name.c_str(), value, unit.c_str());
        fclose(file);
    }
}

void ResultsReporter::ReportRuns(const std::vector<Run>& runs)
{
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
        if (run.error_occurred)
            continue;
        // With repetitions only the aggregates count.
        if (run.repetitions > 1 && run.run_type != Run::RT_Aggregate)
            continue;
        const std::string name = run.benchmark_name();
        if (run.run_type == Run::RT_Aggregate && run.aggregate_unit != benchmark::kTime)
            continue; // the coefficient of variation
        const double seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
        writeResult(name, seconds, "s", false);
        writeResult(name + "/cpu", run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit), "s",
                    false);
        for (const auto& counter : run.counters)
            writeResult(name + "/" + counter.first, counter.second.value, "counter", false);
    }
}

int runBenchmarks(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    ResultsReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}

} // namespace dvbench
