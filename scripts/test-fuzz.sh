#!/usr/bin/env bash
# Builds the libFuzzer targets (CMake preset "fuzz": clang, AddressSanitizer
# and UndefinedBehaviorSanitizer) and runs each for a bounded time, as many
# at once as there are cores. A target that finds a crash, a leak, a
# sanitizer report or a broken property fails the run; the input that did it
# is left in build-fuzz/artifacts/.
#
#   scripts/test-fuzz.sh [target...]       report settings ini answer (all)
#   FUZZ_SECONDS=60                         time per target
#   FUZZ_CORPUS=build-fuzz/corpus           keep what the fuzzers find there
#                                           (default: a fresh directory per run)
#
# The seeds in fuzz/corpus/<target>/ are read, never written. To keep an
# input that once failed: copy it to fuzz/corpus/<target>/regression_<what>;
# the normal test run replays every file there (FuzzCorpus.<target>).
set -euo pipefail
cd "$(dirname "$0")/.."

JOBS=${JOBS:-$(nproc 2>/dev/null || echo 2)}
SECONDS_PER_TARGET=${FUZZ_SECONDS:-60}
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(report settings ini answer)

# Absolute paths: the targets change their working directory. A new build
# directory uses Ninja when it is installed, unless CMAKE_GENERATOR says
# otherwise.
root=$(pwd)
dir=$root/build-fuzz
if [ -z "${CMAKE_GENERATOR:-}" ] && [ ! -f "$dir/CMakeCache.txt" ] && command -v ninja >/dev/null 2>&1; then
  export CMAKE_GENERATOR=Ninja
fi
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j"$JOBS" --target "${targets[@]/#/fuzz_}"

run=$dir/run
rm -rf "$run"
mkdir -p "$run" "$dir/artifacts"
corpusRoot=$(realpath -m "${FUZZ_CORPUS:-$run/corpus}")

# Longest input per target.
max_len() {
  case $1 in
    ini) echo 16384 ;;
    answer) echo 512 ;;
    *) echo 4096 ;;
  esac
}

fuzz_one() {
  local target=$1
  local corpus=$corpusRoot/$target
  mkdir -p "$corpus" "$run/$target"
  # The logs go to a scratch directory (the targets point their own at
  # /dev/null; this catches anything logged before they do).
  DVLOGS=$run/$target ASAN_OPTIONS=detect_leaks=1:halt_on_error=1 UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    "$dir/fuzz/fuzz_$target" \
    -max_total_time="$SECONDS_PER_TARGET" -max_len="$(max_len "$target")" -timeout=10 -rss_limit_mb=2048 \
    -print_final_stats=1 -dict="$root/fuzz/$target.dict" -artifact_prefix="$dir/artifacts/$target-" \
    "$corpus" "$root/fuzz/corpus/$target" >"$run/$target.log" 2>&1
}

echo "test-fuzz: ${targets[*]}, ${SECONDS_PER_TARGET}s each, $JOBS at a time"
declare -A pids
failed=()
for target in "${targets[@]}"; do
  while [ "$(jobs -rp | wc -l)" -ge "$JOBS" ]; do
    wait -n || true
  done
  fuzz_one "$target" &
  pids[$target]=$!
done
for target in "${targets[@]}"; do
  if wait "${pids[$target]}"; then
    echo "test-fuzz: $target: $(grep -E '^#[0-9]+[[:space:]]+DONE' "$run/$target.log" | tail -n 2 | tr '\n' ' ')"
  else
    failed+=("$target")
    echo "test-fuzz: $target: FAILED; the end of $run/$target.log:" >&2
    tail -n 60 "$run/$target.log" >&2
  fi
done
if [ ${#failed[@]} -gt 0 ]; then
  echo "test-fuzz: failing inputs are in $dir/artifacts/; keep each as fuzz/corpus/<target>/regression_<what>" >&2
  exit 1
fi
echo "test-fuzz: no finding"
