# Turns the results file of bench/run.sh (lines "name<TAB>value<TAB>unit")
# into the Markdown results table. Variables: quick (1: shortened runs),
# sweep (1: the timing sweep ran).

{ value[$1] = $2; order[n++] = $1 }

# The value of the first result whose name matches the pattern; "" if none.
function get(pattern,    i) {
  for (i = 0; i < n; i++)
    if (order[i] ~ pattern)
      return value[order[i]]
  return ""
}

# 1234567.8 -> "1,234,568"
function thousands(x,    s, out) {
  s = sprintf("%.0f", x)
  out = ""
  while (length(s) > 3) {
    out = "," substr(s, length(s) - 2) out
    s = substr(s, 1, length(s) - 3)
  }
  return s out
}

# "yes" when the result is there and passes; a missing result never does.
function met(result, ok) { return result != "" && ok ? "yes" : "**no**" }

# A row for a parser or logger benchmark: time per call and calls per second.
function perCall(label, pattern, rateCounter,    t, rate) {
  t = get("^" pattern "$")
  rate = get("^" pattern "/" rateCounter "$")
  if (t == "")
    return
  printf "| %s | %.0f ns (%s a second) | | |\n", label, t * 1e9, thousands(rate)
}

END {
  link = 1000 # reports a second on a 115200-baud line, 11 bytes of 10 bits each

  print "| Measure | Result | Target | Met |"
  print "|---|---|---|---|"

  # Report handling.
  rate = get("^BM_Reports/logging:1/.*reports_per_s$")
  t = get("^BM_Reports/logging:1/[^/]*/real_time$")
  printf "| Report handling, default logging (mixed a/b/c/x reports into callbackfunc, till callbacks registered) | %s reports/s (%.2f µs each), %.0f× the device link's ~1,000/s | ≥ 200,000 reports/s | %s |\n", \
    thousands(rate), t * 1e6, rate / link, met(rate, rate + 0 >= 200000)
  rate0 = get("^BM_Reports/logging:0/.*reports_per_s$")
  t0 = get("^BM_Reports/logging:0/[^/]*/real_time$")
  printf "| Report handling, logging off (the five filters off; errors still written) | %s reports/s (%.2f µs each) | | |\n", \
    thousands(rate0), t0 * 1e6

  # Non-waiting calls.
  isopen = get("^BM_IsOpenDV/.*_median$")
  info = get("^BM_InfoDV/.*_median$")
  printf "| `isOpenDV`, default logging, session open on the simulator: median of 15 runs, each the mean of its calls (on the processor) | %.2f µs (%.2f µs) | ≤ 5 µs | %s |\n", \
    isopen * 1e6, get("^BM_IsOpenDV/.*_median/cpu$") * 1e6, met(isopen, isopen + 0 <= 5e-6)
  printf "| `infoDV`, the same | %.2f µs (%.2f µs) | ≤ 5 µs | %s |\n", info * 1e6, get("^BM_InfoDV/.*_median/cpu$") * 1e6, \
    met(info, info + 0 <= 5e-6)
  for (which = 0; which <= 1; which++) {
    p50 = get("^BM_SingleCalls/info:" which "/.*/p50_us$")
    printf "| `%s`, every call timed on its own: median (90th / 99th / 99.9th percentile) | %.2f µs (%.2f / %.2f / %.1f µs) | ≤ 5 µs at the median | %s |\n", \
      which ? "infoDV" : "isOpenDV", p50, get("^BM_SingleCalls/info:" which "/.*/p90_us$"), \
      get("^BM_SingleCalls/info:" which "/.*/p99_us$"), get("^BM_SingleCalls/info:" which "/.*/p999_us$"), \
      met(p50, p50 + 0 <= 5)
  }

  # Parsers and logger.
  perCall("Parser `formatCallbackArg`, \"a\" report", "BM_ParseReport", "per_s")
  perCall("Parser `formatCallbackArg`, \"b\" report with a level tail", "BM_ParseLevelReport", "per_s")
  perCall("Parser `getCashLevels`, low level", "BM_CashLevels/level:0", "per_s")
  perCall("Parser `getCashLevels`, empty level", "BM_CashLevels/level:1", "per_s")
  perCall("Parser `getCashLevels`, high level", "BM_CashLevels/level:2", "per_s")
  perCall("Parser `getErrorCode`", "BM_ErrorCode", "per_s")
  perCall("Parser `getSessionInfo`", "BM_SessionInfo", "per_s")
  l0 = get("^BM_LoggerLines/kind:0/.*lines_per_s$")
  l1 = get("^BM_LoggerLines/kind:1/.*lines_per_s$")
  l2 = get("^BM_LoggerLines/kind:2/.*calls_per_s$")
  printf "| Logger, one line to one file (written and flushed) | %s lines/s (%.2f µs each) | | |\n", thousands(l0), 1e6 / l0
  printf "| Logger, error line to the logic and error logs | %s lines/s | | |\n", thousands(l1)
  printf "| Logger, a line whose filter is off (nothing written) | %s calls/s (%.0f ns each) | | |\n", thousands(l2), 1e9 / l2

  # The sale.
  floor = get("^BM_Sale/.*/floor_ms$")
  median = get("^BM_Sale/.*/till_median_ms$")
  over = get("^BM_Sale/.*/over_floor_pct$")
  printf "| Whole sale: login, enable pay-in, payout with change, logout; the till's time in the library (median; simulator without latency, working phase %d ms, report gap %d ms) | %.1f ms, %+.1f%% over the floor of %.0f ms (6 waits × 10 ms) | ≤ +20%% (%.0f ms) | %s |\n", \
    get("^BM_Sale/.*/working_min_ms$"), get("^BM_Sale/.*/report_gap_ms$"), median, over, floor, floor * 1.2, \
    met(over, over + 0 <= 20 && get("^BM_Sale/.*/failures$") == "0")
  printf "| Whole sale: 90th percentile / mean / with the customer paying in (median) / failed sales | %.1f / %.1f / %.1f ms / %d | | |\n", \
    get("^BM_Sale/.*/till_p90_ms$"), get("^BM_Sale/.*/till_mean_ms$"), get("^BM_Sale/.*/with_customer_ms$"), \
    get("^BM_Sale/.*/failures$")

  # Memory.
  growth = get("^memory/reports/rss_growth_kib$")
  printf "| Resident memory after %s and after %s reports (growth; heap in use grew by) | %s KiB, %s KiB (%+d KiB; heap %+.1f KiB) | < 1 MiB growth | %s |\n", \
    thousands(get("^memory/reports/first$")), thousands(get("^memory/reports/all$")), \
    get("^memory/reports/rss_first_kib$"), get("^memory/reports/rss_all_kib$"), growth, \
    get("^memory/reports/heap_growth_kib$"), met(growth, growth + 0 < 1024)
  cgrowth = get("^memory/calls/rss_growth_kib$")
  printf "| Resident memory after %s and after %s calls of `isOpenDV`/`infoDV` (growth; heap) | %s KiB, %s KiB (%+d KiB; heap %+.1f KiB) | no growth beyond a small constant | %s |\n", \
    thousands(get("^memory/calls/first$")), thousands(get("^memory/calls/all$")), \
    get("^memory/calls/rss_first_kib$"), get("^memory/calls/rss_all_kib$"), cgrowth, \
    get("^memory/calls/heap_growth_kib$"), met(cgrowth, cgrowth + 0 < 1024)
  over_before = get("^memory/sale/peak_over_before_kib$")
  printf "| Peak resident memory while %d sales run (VmHWM) | %s KiB, %s KiB above the open session before them | | |\n", \
    get("^memory/sale/sales$"), get("^memory/sale/peak_kib$"), over_before == "" ? "?" : over_before

  if (sweep == 1) {
    print ""
    print "Smallest reliable simulator timing for the sale (each pair: working phase and report gap in ms, the same number of sales):"
    print ""
    print "| Working phase : report gap | Failed sales | Till's time, median | Over the 60 ms floor |"
    print "|---|---|---|---|"
    for (i = 0; i < n; i++) {
      if (order[i] !~ /^sweep\/[0-9]+:[0-9]+\/failures$/)
        continue
      split(order[i], part, "/")
      pair = part[2]
      m = value["sweep/" pair "/till_median_ms"]
      printf "| %s | %d of %d | %.1f ms | %+.1f%% |\n", pair, value[order[i]], value["sweep/" pair "/sales"], m, (m / 60 - 1) * 100
    }
  }
  if (quick == 1) {
    print ""
    print "Shortened run (`--quick`): rough numbers."
  }
}
