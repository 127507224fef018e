#!/usr/bin/env bash
# Builds the benchmarks and the memory harness, runs them all and writes the
# results table (Markdown, with the machine it ran on) to bench/RESULTS.md.
#
#   bench/run.sh [--build-dir DIR] [--out FILE] [--logs DIR] [--no-sweep] [--quick]
#
#   --build-dir DIR  build directory (default build-bench)
#   --out FILE       where the table goes (default bench/RESULTS.md)
#   --logs DIR       parent of the log directory; it must be on local disk
#                    (default /tmp)
#   --no-sweep       skip the search for the smallest reliable simulator timing
#   --quick          shorter runs (for a check that everything works; the
#                    numbers are rougher)
#
# The log files the library writes while benchmarked are removed afterwards
# (a million reports write about 350 MB).
set -euo pipefail
cd "$(dirname "$0")/.."

BUILD_DIR=build-bench
OUT=bench/RESULTS.md
LOG_PARENT=/tmp
SWEEP=1
QUICK=0
while [ $# -gt 0 ]; do
  case "$1" in
    --build-dir) BUILD_DIR=$2; shift 2 ;;
    --out) OUT=$2; shift 2 ;;
    --logs) LOG_PARENT=$2; shift 2 ;;
    --no-sweep) SWEEP=0; shift ;;
    --quick) QUICK=1; shift ;;
    -h|--help) sed -n '2,17p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "run.sh: unknown option $1" >&2; exit 2 ;;
  esac
done

JOBS=${JOBS:-$(nproc 2>/dev/null || echo 2)}
BUILD_TYPE=RelWithDebInfo

# GCC 12 at -O2 cannot bound one snprintf argument in the simulator and warns
# (-Wformat-truncation); keep that one a warning so that an optimised build
# goes through.
cmake -S . -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=$BUILD_TYPE -DDVLOGICS_BUILD_BENCH=ON \
  -DCMAKE_CXX_FLAGS="-Wno-error=format-truncation" >/dev/null
cmake --build "$BUILD_DIR" -j"$JOBS" --target bench_reports bench_calls bench_sale memory_reports memory_api \
  >/dev/null
BENCH="$BUILD_DIR/bench"

# The machine may be shared: its load goes into the table with the numbers.
load_start=$(cut -d' ' -f1-3 /proc/loadavg)

WORK=$(mktemp -d "${TMPDIR:-/tmp}/dvbench.XXXXXX")
LOGS=$(mktemp -d "$LOG_PARENT/dvbench-logs.XXXXXX")
trap 'rm -rf "$WORK" "$LOGS"' EXIT
export DVBENCH_RESULTS="$WORK/results.tsv"
: >"$DVBENCH_RESULTS"

# The library logs into $DVLOGS; each program starts with empty files.
run() {
  echo "== $*" >&2
  rm -f "$LOGS"/*
  DVLOGS="$LOGS" "$@" >"$WORK/last.out" 2>&1 || { cat "$WORK/last.out" >&2; echo "run.sh: $1 failed" >&2; exit 1; }
  grep -v '^\s*$' "$WORK/last.out" | sed 's/\x1b\[[0-9;]*m//g' >&2
}

SALES=200 SWEEP_SALES=100 MIN_TIME=() CALLS=100000 REPORTS=1000000
if [ "$QUICK" = 1 ]; then
  SALES=30 SWEEP_SALES=20 MIN_TIME=(--benchmark_min_time=0.2) CALLS=10000 REPORTS=100000
fi

# Simulator timing for the sale: with a working phase or report gap of 10 ms a
# poll can miss the working phase (the payout then times out); 11 and 12 ms
# never failed and keep a sale at its floor; from 13 ms the reports come too
# late for the next poll and whole 10 ms steps are added (see the sweep).
SALE_WORKING_MIN=12
SALE_REPORT_GAP=12

run "$BENCH/bench_reports" "${MIN_TIME[@]}"
run "$BENCH/bench_calls" "${MIN_TIME[@]}"
run "$BENCH/bench_sale" --working-min=$SALE_WORKING_MIN --report-gap=$SALE_REPORT_GAP --sales=$SALES
if [ "$SWEEP" = 1 ]; then
  run "$BENCH/bench_sale" --sweep=10:10,11:11,12:12,13:13,15:15,20:20 --sales=$SWEEP_SALES
fi
run "$BENCH/memory_reports" --reports=$REPORTS
run "$BENCH/memory_api" --calls=$CALLS

# --- the machine -------------------------------------------------------------------
cpu=$(sed -n 's/^model name[[:space:]]*: //p' /proc/cpuinfo | head -1)
family=$(sed -n 's/^cpu family[[:space:]]*: //p' /proc/cpuinfo | head -1)
model=$(sed -n 's/^model[[:space:]]*: //p' /proc/cpuinfo | head -1)
cores=$(nproc)
memory=$(awk '/^MemTotal/ { printf "%.1f GiB", $2 / 1048576 }' /proc/meminfo)
virt=$(systemd-detect-virt 2>/dev/null || true)
compiler=$(sed -n 's/^CMAKE_CXX_COMPILER:[A-Z]*=//p' "$BUILD_DIR/CMakeCache.txt")
compiler_version=$("${compiler:-c++}" --version | head -1)
fs=$(findmnt -no FSTYPE,SOURCE -T "$LOGS" 2>/dev/null | tr -s ' ' || df -T "$LOGS" | awk 'NR == 2 { print $2, $1 }')
commit=$(git rev-parse --short HEAD 2>/dev/null || echo unknown)
# Only the library, the simulator and the benchmarks make the numbers.
if ! git diff --quiet HEAD -- api config events include link session sim support bench CMakeLists.txt 2>/dev/null; then
  commit="$commit (with local changes)"
fi
load_end=$(cut -d' ' -f1-3 /proc/loadavg)

{
  echo "# Benchmark results"
  echo
  echo "Written by \`bench/run.sh\` on $(date -u '+%Y-%m-%d %H:%M UTC'), commit $commit."
  echo
  echo "| Machine | |"
  echo "|---|---|"
  echo "| CPU | $cpu (family $family, model $model)${virt:+, virtual machine ($virt)} |"
  echo "| Cores | $cores |"
  echo "| Memory | $memory |"
  echo "| Kernel | $(uname -sr) |"
  echo "| Compiler | $compiler_version |"
  echo "| Build type | $BUILD_TYPE |"
  echo "| Log directory | \`$LOG_PARENT\` on $fs (local disk) |"
  echo "| Load average (1, 5, 15 min) | $load_start at the start, $load_end at the end |"
  echo
  awk -F'\t' -v quick="$QUICK" -v sweep="$SWEEP" -f bench/table.awk "$DVBENCH_RESULTS"
} >"$OUT"

cat "$OUT"
echo "run.sh: table written to $OUT" >&2
