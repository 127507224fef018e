#include "sale.h"

#include "dvsim.h"

#include <chrono>
#include <thread>

namespace dvbench {

const char* const kSaleSettings = "PayOutOkCheck:1";

namespace {

using Clock = std::chrono::steady_clock;

double msSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

} // namespace

void setSaleTiming(unsigned workingMin, unsigned reportGap)
{
    dvsim_set_timing(DVSIM_TIMING_ANSWER_LATENCY, 0);
    dvsim_set_timing(DVSIM_TIMING_REPORT_LATENCY, 0);
    dvsim_set_timing(DVSIM_TIMING_COUNT, 0);
    dvsim_set_timing(DVSIM_TIMING_PAYOUT_ITEM, 0);
    dvsim_set_timing(DVSIM_TIMING_JITTER, 0);
    dvsim_set_timing(DVSIM_TIMING_WORKING_MIN, workingMin);
    dvsim_set_timing(DVSIM_TIMING_REPORT_GAP, reportGap);
}

SaleResult runSale(Till& till, unsigned reportGap)
{
    SaleResult result;
    dvsim_set_count(2000, 20);
    dvsim_set_count(500, 20);
    dvsim_clear_logs();

    auto failed = [&](const char* call, short status) {
        result.failedCall = call;
        result.status = status;
        return result;
    };

    const Clock::time_point start = Clock::now();
    short status = till.loginDV(1, 1, till.message);
    if (status != 0)
        return failed("loginDV", status);
    status = till.enablePayinDV(till.message);
    if (status != 0)
        return failed("enablePayinDV", status);
    result.tillMs = msSince(start);

    // The customer pays. A real customer takes seconds; here the note is
    // credited as fast as the device reports, and the device's gap between
    // two reports has passed before the till asks for the change.
    if (dvsim_insert(2000) != DVSIM_OK || dvsim_wait_idle(5000) != DVSIM_OK)
        return failed("dvsim_insert", -1);
    std::this_thread::sleep_for(std::chrono::milliseconds(reportGap));

    const Clock::time_point payout = Clock::now();
    char transaction[] = "T1";
    status = till.payoutDV(500, 1500, transaction, till.message);
    if (status != 0)
        return failed("payoutDV", status);
    status = till.logoutDV(till.message);
    if (status != 0)
        return failed("logoutDV", status);
    result.tillMs += msSince(payout);
    result.totalMs = msSince(start);
    result.ok = true;
    return result;
}

} // namespace dvbench
