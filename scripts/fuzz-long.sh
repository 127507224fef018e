#!/usr/bin/env bash
# A long local fuzzing session: every target for the given time (default one
# hour each, as many at once as there are cores), keeping what the fuzzers
# find in build-fuzz/corpus/<target>/ so that the next session goes on from
# there.
#
#   scripts/fuzz-long.sh [seconds] [target...]
#
# Afterwards, to add the new interesting inputs to the seeds in the
# repository (minimised):
#   build-fuzz/fuzz/fuzz_<target> -merge=1 fuzz/corpus/<target> build-fuzz/corpus/<target>
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-3600}
[ $# -gt 0 ] && shift
FUZZ_SECONDS=$seconds FUZZ_CORPUS=build-fuzz/corpus exec scripts/test-fuzz.sh "$@"
