#include "change.h"

#include <algorithm>

namespace dvsim {

namespace {

// Depth-first search over the denominations, highest first, trying the
// largest usable number of each first. The first leaf is the greedy answer;
// backtracking finds exact combinations that greedy misses (60 from one 50
// and three 20s). The budget bounds the work for large inventories; the
// best combination found so far is kept.
class Search {
public:
    Search(long target, const std::vector<long>& values, const std::vector<long>& counts)
        : m_target(target), m_values(values), m_counts(counts),
          m_cur(values.size(), 0), m_best(values.size(), 0), m_cap(values.size() + 1, 0)
    {
        for (size_t i = values.size(); i-- > 0;) {
            long cap = m_cap[i + 1] + values[i] * counts[i];
            m_cap[i] = std::min(cap, target);
        }
    }

    void run() { visit(0, 0); }
    const std::vector<long>& best() const { return m_best; }
    long bestPaid() const { return m_bestPaid; }

private:
    void visit(size_t i, long paid)
    {
        if (m_exact || m_budget <= 0)
            return;
        --m_budget;
        if (paid > m_bestPaid) {
            m_bestPaid = paid;
            m_best = m_cur;
            if (paid == m_target) {
                m_exact = true;
                return;
            }
        }
        if (i == m_values.size() || paid + m_cap[i] <= m_bestPaid)
            return;
        long most = std::min(m_counts[i], (m_target - paid) / m_values[i]);
        for (long k = most; k >= 0; --k) {
            m_cur[i] = k;
            visit(i + 1, paid + k * m_values[i]);
            if (m_exact || m_budget <= 0)
                break;
        }
        m_cur[i] = 0;
    }

    long m_target;
    const std::vector<long>& m_values;
    const std::vector<long>& m_counts;
    std::vector<long> m_cur;
    std::vector<long> m_best;
    std::vector<long> m_cap; // most that denominations i.. can pay, capped at the target
    long m_bestPaid = -1;
    long m_budget = 200000;
    bool m_exact = false;
};

} // namespace

ChangePlan makeChange(long amount, const std::vector<long>& values,
                      const std::vector<long>& counts, long maxValue)
{
    ChangePlan plan;
    plan.take.assign(values.size(), 0);
    if (amount <= 0 || values.size() != counts.size()) {
        plan.rest = amount > 0 ? amount : 0;
        return plan;
    }
    std::vector<long> usable(counts.size(), 0);
    for (size_t i = 0; i < values.size(); ++i) {
        bool skip = values[i] <= 0 || counts[i] <= 0 || (maxValue > 0 && values[i] >= maxValue);
        usable[i] = skip ? 0 : counts[i];
    }
    Search search(amount, values, usable);
    search.run();
    plan.take = search.best();
    plan.paid = search.bestPaid() > 0 ? search.bestPaid() : 0;
    plan.rest = amount - plan.paid;
    for (long k : plan.take)
        plan.items += k;
    return plan;
}

} // namespace dvsim
