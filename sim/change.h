// Change-making: which notes and coins pay an amount out of an inventory.
#ifndef DVSIM_CHANGE_H
#define DVSIM_CHANGE_H

#include <cstddef>
#include <vector>

namespace dvsim {

struct ChangePlan {
    std::vector<long> take; // per denomination, same order as the values
    long paid = 0;          // sum of what is taken
    long rest = 0;          // amount - paid: what cannot be paid
    long items = 0;         // notes and coins taken
};

// Pays amount from denominations values[i] (highest first) with counts[i]
// available. Finds an exact combination when one exists, preferring large
// denominations (greedy first, then backtracking, bounded by a search
// budget); when none exists, pays as much as it can without exceeding the
// amount. Denominations of maxValue or more are skipped when maxValue > 0.
ChangePlan makeChange(long amount, const std::vector<long>& values,
                      const std::vector<long>& counts, long maxValue = 0);

} // namespace dvsim

#endif
