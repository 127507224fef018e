// The paid-out list behind the payout-per-time limit.
#include "reportfixture.h"

#include "session/cdvlogics.h"

namespace {

class PaidOutListTest : public ReportTest {
protected:
    void SetUp() override
    {
        ReportTest::SetUp();
        // The session object lives for the whole process: empty its list, so
        // that the cases do not depend on their order.
        char message[DV_MESSAGE_SIZE];
        dvLogics.changeSettings(const_cast<char*>("PayOutAmountPerTimeLimitSeconds:1"), 0, message);
        dvtest::fakeNow().sec = dvtest::kMon20261116_090507 + 1000000;
        dvLogics.purgePaidOutList();
        ASSERT_EQ(dvLogics.getSumInPurgePaidOutList(), 0);
    }
};

TEST_F(PaidOutListTest, RecordExactlyAsOldAsTheLimitStays)
{
    char message[DV_MESSAGE_SIZE];
    dvLogics.changeSettings(const_cast<char*>("PayOutAmountPerTimeLimitSeconds:60"), 0, message);
    const time_t start = dvtest::kMon20261116_090507;
    dvtest::fakeNow().sec = start;
    dvLogics.addToPaidOutList(600);
    dvtest::fakeNow().sec = start + 30;
    dvLogics.addToPaidOutList(300);

    dvtest::fakeNow().sec = start + 60; // the first record is exactly 60 s old
    dvLogics.purgePaidOutList();
    EXPECT_EQ(dvLogics.getSumInPurgePaidOutList(), 900);

    dvtest::fakeNow().sec = start + 61; // now strictly older
    dvLogics.purgePaidOutList();
    EXPECT_EQ(dvLogics.getSumInPurgePaidOutList(), 300);

    dvtest::fakeNow().sec = start + 1000;
    dvLogics.purgePaidOutList();
    EXPECT_EQ(dvLogics.getSumInPurgePaidOutList(), 0);
}

TEST_F(PaidOutListTest, PurgeStopsAtTheFirstYoungerRecord)
{
    char message[DV_MESSAGE_SIZE];
    dvLogics.changeSettings(const_cast<char*>("PayOutAmountPerTimeLimitSeconds:10"), 0, message);
    const time_t start = dvtest::kMon20261116_090507;
    // Records are added newest first; a clock that went back leaves an old
    // record in front of a younger one.
    dvtest::fakeNow().sec = start + 100;
    dvLogics.addToPaidOutList(1);
    dvtest::fakeNow().sec = start;
    dvLogics.addToPaidOutList(2);
    dvtest::fakeNow().sec = start + 105;
    dvLogics.purgePaidOutList(); // the oldest at the back is 5 s old: nothing goes
    EXPECT_EQ(dvLogics.getSumInPurgePaidOutList(), 3);
}

} // namespace
