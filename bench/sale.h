// A whole sale through the loaded library against the simulator with no
// device latency: used by the sale benchmark and the memory harness.
#ifndef DV_BENCH_SALE_H
#define DV_BENCH_SALE_H

#include "till.h"

namespace dvbench {

// The simulator's timing for a sale: no latency, no counting time, no jitter,
// and the shortest working phase and report gap given here (milliseconds).
void setSaleTiming(unsigned workingMin, unsigned reportGap);

// The settings the sale runs with: the payout waits until the device has
// paid the change out, so that a sale ends with the device idle.
extern const char* const kSaleSettings;

// Each wait of the library sleeps 10 ms before it first tests, so a sale
// lasts at least this long however fast the device is: the login waits for
// the capability answer and for the device to open (2), enabling pay-in does
// not wait, the payout waits for the ask-payout answer, for the device to
// start and for it to finish (3), the logout waits for it to close (1).
const int kSaleWaits = 6;
const double kSaleFloorMs = kSaleWaits * 10.0;

struct SaleResult {
    bool ok = false;
    double tillMs = 0;  // time spent in the library's four calls
    double totalMs = 0; // from the login to the end of the logout, customer included
    const char* failedCall = nullptr;
    short status = 0;
};

// One sale of 15.00 paid with a 20.00 note, 5.00 change: loginDV,
// enablePayinDV, the customer inserts the note (the device counts and
// credits it; not counted as the till's time), payoutDV(500, 1500),
// logoutDV. The device's note counts are put back first, so that every sale
// sees the same cash levels.
SaleResult runSale(Till& till, unsigned reportGap);

} // namespace dvbench

#endif
