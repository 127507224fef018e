#!/usr/bin/env bash
# The results table: the targets are judged at their limits, and a missing
# result does not pass for a met target.
#   test_table.sh path/to/table.awk
set -euo pipefail
awk_file=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
checks=0

# results NAME=VALUE... : a results file with everything at a passing value,
# changed by the arguments.
results() {
  declare -A v=(
    ["BM_Reports/logging:1/min_time:2.000/real_time"]=4e-06
    ["BM_Reports/logging:1/min_time:2.000/real_time/reports_per_s"]=250000
    ["BM_Reports/logging:0/min_time:2.000/real_time"]=1e-06
    ["BM_Reports/logging:0/min_time:2.000/real_time/reports_per_s"]=1000000
    ["BM_IsOpenDV/repeats:15/real_time_median"]=4e-06
    ["BM_InfoDV/repeats:15/real_time_median"]=4e-06
    ["BM_SingleCalls/info:0/min_time:2.000/real_time/p50_us"]=3.5
    ["BM_SingleCalls/info:1/min_time:2.000/real_time/p50_us"]=3.5
    ["BM_LoggerLines/kind:0/min_time:1.000/real_time/lines_per_s"]=1000000
    ["BM_LoggerLines/kind:1/min_time:1.000/real_time/lines_per_s"]=1000000
    ["BM_LoggerLines/kind:2/min_time:1.000/real_time/calls_per_s"]=5000000
    ["BM_Sale/iterations:200/manual_time/floor_ms"]=60
    ["BM_Sale/iterations:200/manual_time/till_median_ms"]=62
    ["BM_Sale/iterations:200/manual_time/over_floor_pct"]=3.3
    ["BM_Sale/iterations:200/manual_time/failures"]=0
    ["memory/reports/first"]=1000
    ["memory/reports/all"]=1000000
    ["memory/reports/rss_growth_kib"]=0
    ["memory/calls/rss_growth_kib"]=0
  )
  for change in "$@"; do v[${change%%=*}]=${change#*=}; done
  for name in "${!v[@]}"; do printf '%s\t%s\tx\n' "$name" "${v[$name]}"; done
}

# check LABEL EXPECTED ROW_PATTERN [CHANGES...]: the row matching the pattern
# ends in "| EXPECTED |".
check() {
  local label=$1 expected=$2 pattern=$3
  shift 3
  results "$@" >"$work/results.tsv"
  local row
  checks=$((checks + 1))
  row=$(awk -F'\t' -v quick=0 -v sweep=0 -f "$awk_file" "$work/results.tsv" | grep -F -- "$pattern" || true)
  if [[ "$row" != *"| $expected |" ]]; then
    echo "FAIL $label: want '$expected' in: $row"
    failures=$((failures + 1))
  else
    echo "ok   $label"
  fi
}

check "reports at the target" "yes" "Report handling, default" \
  "BM_Reports/logging:1/min_time:2.000/real_time/reports_per_s=200000"
check "reports just below" "**no**" "Report handling, default" \
  "BM_Reports/logging:1/min_time:2.000/real_time/reports_per_s=199999"
check "isOpenDV at 5 µs" "yes" '`isOpenDV`, default' "BM_IsOpenDV/repeats:15/real_time_median=5e-06"
check "isOpenDV above 5 µs" "**no**" '`isOpenDV`, default' "BM_IsOpenDV/repeats:15/real_time_median=5.01e-06"
check "single isOpenDV at 5 µs" "yes" '`isOpenDV`, every call' "BM_SingleCalls/info:0/min_time:2.000/real_time/p50_us=5"
check "single infoDV above 5 µs" "**no**" '`infoDV`, every call' "BM_SingleCalls/info:1/min_time:2.000/real_time/p50_us=5.2"
check "infoDV above 5 µs" "**no**" '`infoDV`, the same' "BM_InfoDV/repeats:15/real_time_median=6e-06"
check "sale at +20%" "yes" "Whole sale: login" "BM_Sale/iterations:200/manual_time/over_floor_pct=20"
check "sale above +20%" "**no**" "Whole sale: login" "BM_Sale/iterations:200/manual_time/over_floor_pct=20.5"
check "a sale failed" "**no**" "Whole sale: login" "BM_Sale/iterations:200/manual_time/failures=1"
check "memory just under 1 MiB" "yes" "Resident memory after 1,000 and after 1,000,000 reports" \
  "memory/reports/rss_growth_kib=1020"
check "memory at 1 MiB" "**no**" "Resident memory after 1,000 and after 1,000,000 reports" \
  "memory/reports/rss_growth_kib=1024"
check "calls grew" "**no**" "calls of" "memory/calls/rss_growth_kib=4096"
check "no report result" "**no**" "Report handling, default" \
  "BM_Reports/logging:1/min_time:2.000/real_time/reports_per_s="
check "no isOpenDV result" "**no**" '`isOpenDV`, default' "BM_IsOpenDV/repeats:15/real_time_median="
check "no sale result" "**no**" "Whole sale: login" "BM_Sale/iterations:200/manual_time/over_floor_pct=" \
  "BM_Sale/iterations:200/manual_time/failures="
check "no memory result" "**no**" "Resident memory after 1,000 and after 1,000,000 reports" \
  "memory/reports/rss_growth_kib="

echo "$((checks - failures)) passed, $failures failed"
[ "$failures" -eq 0 ]
