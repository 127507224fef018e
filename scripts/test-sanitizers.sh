#!/usr/bin/env bash
# Builds the library, the simulator and every test with AddressSanitizer and
# UndefinedBehaviorSanitizer (LeakSanitizer on), and again with
# ThreadSanitizer, and runs the whole test suite under each (CMake presets
# "asan" and "tsan", clang). The benchmarks are left out: their tests count
# system calls and time targets, which the sanitizer runtimes change. Each sanitizer halts the test at its first
# report; the output of every test, passed ones included, is searched for
# reports as well, so that nothing a test happens to ignore slips through.
#
#   scripts/test-sanitizers.sh             both builds
#   scripts/test-sanitizers.sh tsan        one of them
#
# Build directories: build-asan/, build-tsan/.
set -euo pipefail
cd "$(dirname "$0")/.."

JOBS=${JOBS:-$(nproc 2>/dev/null || echo 2)}
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(asan tsan)

for preset in "${presets[@]}"; do
  dir=build-$preset
  echo "test-sanitizers: $preset: building in $dir"
  # A new build directory uses Ninja when it is installed, unless
  # CMAKE_GENERATOR says otherwise.
  if [ -z "${CMAKE_GENERATOR:-}" ] && [ ! -f "$dir/CMakeCache.txt" ] && command -v ninja >/dev/null 2>&1; then
    export CMAKE_GENERATOR=Ninja
  fi
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j"$JOBS"

  for testPreset in "$preset"; do
    echo "test-sanitizers: $testPreset: running the test suite"
    status=0
    ctest --preset "$testPreset" -j"$JOBS" || status=$?
    log=$dir/Testing/Temporary/LastTest.log
    if [ -f "$log" ] && grep -nE \
        "ERROR: (Address|Leak)Sanitizer|WARNING: ThreadSanitizer|runtime error:|SUMMARY: [A-Za-z]+Sanitizer" \
        "$log" >&2; then
      echo "test-sanitizers: $testPreset: sanitizer reports above (whole output in $log)" >&2
      status=1
    fi
    if [ $status -ne 0 ]; then
      echo "test-sanitizers: $testPreset: FAILED" >&2
      exit $status
    fi
  done
  echo "test-sanitizers: $preset: clean"
done
