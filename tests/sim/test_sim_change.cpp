// Change-making from an inventory, without the device around it.
#include "change.h"

#include <gtest/gtest.h>

using dvsim::ChangePlan;
using dvsim::makeChange;

namespace {
const std::vector<long> kEuro = {5000, 2000, 1000, 500, 200, 100, 50, 20, 10, 5};
}

TEST(SimChange, ExactAmountsUseTheLargestDenominationsFirst)
{
    ChangePlan p = makeChange(3785, kEuro, std::vector<long>(kEuro.size(), 10));
    EXPECT_EQ(0, p.rest);
    EXPECT_EQ(3785, p.paid);
    EXPECT_EQ((std::vector<long>{0, 1, 1, 1, 1, 0, 1, 1, 1, 1}), p.take);
    EXPECT_EQ(8, p.items);
}

TEST(SimChange, CountsLimitWhatIsTaken)
{
    // only two 10 EUR notes: the rest of 50 EUR comes in 5 EUR notes
    ChangePlan p = makeChange(5000, {1000, 500}, {2, 10});
    EXPECT_EQ(0, p.rest);
    EXPECT_EQ((std::vector<long>{2, 6}), p.take);
}

TEST(SimChange, BacktracksWhereGreedyFails)
{
    // greedy takes the 50 and is stuck at 10; three 20s pay exactly
    ChangePlan p = makeChange(60, {50, 20}, {1, 3});
    EXPECT_EQ(0, p.rest);
    EXPECT_EQ((std::vector<long>{0, 3}), p.take);
}

TEST(SimChange, ImpossibleAmountsPayAsMuchAsPossible)
{
    ChangePlan p = makeChange(1500, {1000, 500, 100}, {1, 0, 2});
    EXPECT_EQ(1200, p.paid);
    EXPECT_EQ(300, p.rest);
    EXPECT_EQ((std::vector<long>{1, 0, 2}), p.take);

    ChangePlan none = makeChange(3, {5}, {100});
    EXPECT_EQ(0, none.paid);
    EXPECT_EQ(3, none.rest);
    EXPECT_EQ(0, none.items);

    ChangePlan empty = makeChange(100, {100}, {0});
    EXPECT_EQ(100, empty.rest);
}

TEST(SimChange, MaxValueExcludesLargeDenominations)
{
    ChangePlan p = makeChange(2000, kEuro, std::vector<long>(kEuro.size(), 10), 2000);
    EXPECT_EQ(0, p.rest);
    EXPECT_EQ(0, p.take[0]);
    EXPECT_EQ(0, p.take[1]);
    EXPECT_EQ(2, p.take[2]);
}

TEST(SimChange, NothingToPay)
{
    for (long amount : {0L, -5L}) {
        ChangePlan p = makeChange(amount, kEuro, std::vector<long>(kEuro.size(), 1));
        EXPECT_EQ(0, p.paid);
        EXPECT_EQ(0, p.rest);
        EXPECT_EQ(0, p.items);
    }
}

TEST(SimChange, LargeSearchesStayBoundedAndNoWorseThanGreedy)
{
    // No exact answer exists (everything is a multiple of 7 but the amount);
    // the bounded search must still return a best effort quickly.
    std::vector<long> values = {7000, 700, 70, 7};
    std::vector<long> counts = {99999, 99999, 99999, 99999};
    ChangePlan p = makeChange(99999999, values, counts);
    EXPECT_GT(p.rest, 0);
    EXPECT_LT(p.rest, 7);
    EXPECT_EQ(99999999, p.paid + p.rest);
}
