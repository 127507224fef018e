// The simulator thread: order, thread identity, timing on the model's
// clock, and closing the link from inside a report callback.
#include "simtest.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <future>
#include <set>

using namespace simtest;

namespace {
const std::string kLogin = cmd({"a", "01", "02", "0905"});
}

class SimThreading : public Sim {};

TEST_F(SimThreading, ReportsArriveInOrderOnOneSimulatorThread)
{
    std::vector<std::string> sent;
    for (int i = 0; i < 300; ++i) {
        char text[16];
        std::snprintf(text, sizeof text, "a%08d01", i);
        sent.push_back(text);
        ASSERT_EQ(DVSIM_OK, dvsim_inject_report(text));
        if (i % 50 == 0)
            send(cmd({"x", "t"})); // model reports interleave in the same queue
    }
    ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    std::vector<std::string> got;
    std::set<std::thread::id> threads;
    {
        std::lock_guard<std::mutex> lk(received().mu);
        for (size_t i = 0; i < received().reports.size(); ++i) {
            if (received().reports[i][0] == 'a')
                got.push_back(received().reports[i]);
            threads.insert(received().threads[i]);
        }
    }
    EXPECT_EQ(sent, got);
    ASSERT_EQ(1u, threads.size());
    EXPECT_NE(std::this_thread::get_id(), *threads.begin());
}

TEST_F(SimThreading, DiniFromInsideTheCallbackNeitherJoinsItselfNorDeadlocks)
{
    std::promise<void> closed;
    std::atomic<bool> once{false};
    setHook([&](const std::string& r) {
        if (r == "a0000000001" && !once.exchange(true)) {
            dv_dini();
            closed.set_value();
        }
    });
    send(kLogin);
    ASSERT_EQ(std::future_status::ready, closed.get_future().wait_for(std::chrono::seconds(10)));
    setHook(nullptr);
    EXPECT_EQ(0, status().link_open);
    EXPECT_EQ(1, status().session_open); // the device keeps its state across links
    // a fresh link works at once
    ASSERT_EQ(0, openLink());
    EXPECT_EQ((std::vector<std::string>{"a0000000031"}), converse("g"));
}

TEST_F(SimThreading, InitiateFromInsideTheCallbackStartsAFreshLink)
{
    std::promise<void> reopened;
    std::atomic<bool> once{false};
    setHook([&](const std::string& r) {
        if (r == "a0000000001" && !once.exchange(true)) {
            dv_dini();
            EXPECT_EQ(0, openLink());
            reopened.set_value();
        }
    });
    send(kLogin);
    ASSERT_EQ(std::future_status::ready, reopened.get_future().wait_for(std::chrono::seconds(10)));
    setHook(nullptr);
    EXPECT_EQ(1, status().link_open);
    EXPECT_EQ((std::vector<std::string>{"a0000000031"}), converse("g"));
}

TEST_F(SimThreading, CallbackMayUseTheControlInterface)
{
    std::atomic<int> waitResult{1};
    std::atomic<bool> once{false};
    setHook([&](const std::string& r) {
        if (r == "a0000000001" && !once.exchange(true)) {
            dvsim_status s;
            dvsim_get_status(&s);
            waitResult = dvsim_wait_idle(1000); // would wait for itself: refused
            dvsim_inject_report("zfrom-callback");
        }
    });
    std::vector<std::string> got = converse(kLogin);
    EXPECT_EQ(DVSIM_E_STATE, waitResult.load());
    EXPECT_EQ((std::vector<std::string>{"a0000000001", "zfrom-callback"}), got);
}

TEST_F(SimThreading, DiniDiscardsUndeliveredReportsAndFinishesWork)
{
    login();
    ASSERT_EQ(DVSIM_OK, dvsim_delay_next_report(60000));
    ASSERT_EQ(DVSIM_OK, dvsim_clear_logs());
    send(cmd({"f", "00000500", "00000000"}));
    dv_dini();
    EXPECT_EQ(0, dvsim_report_count());
    EXPECT_EQ(0u, status().pending_reports);
    EXPECT_EQ(0, status().status); // the payout completed when the link closed
    EXPECT_EQ(19, countOf(500));
    EXPECT_EQ(DVSIM_OK, dvsim_wait_idle(0));
}

TEST_F(SimThreading, InitiateWhileOpenReplacesTheLink)
{
    ASSERT_EQ(0, openLink());
    ASSERT_EQ(0, openLink());
    EXPECT_EQ((std::vector<std::string>{"a0000000001"}), converse(kLogin)); // delivered once
}

TEST_F(SimThreading, WorkingPhaseLastsItsConfiguredTimeOnTheModelClock)
{
    ASSERT_EQ(DVSIM_OK, dvsim_clock_manual(1));
    ASSERT_EQ(DVSIM_OK, dvsim_set_timing(DVSIM_TIMING_REPORT_GAP, 0));
    send(kLogin);
    ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(1)); // report latency
    ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    for (unsigned workingMin : {30u, 15u}) {
        ASSERT_EQ(DVSIM_OK, dvsim_set_timing(DVSIM_TIMING_WORKING_MIN, workingMin));
        send(cmd({"f", "00000100", "00000000"}));
        ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(1));
        for (unsigned t = 0; t < workingMin; ++t) { // from the first report on
            ASSERT_EQ(1, status().status) << "after " << t << " ms of " << workingMin;
            ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(1));
        }
        EXPECT_EQ(0, status().status);
        ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    }
    EXPECT_EQ(DVSIM_E_STATE, (dvsim_clock_manual(0), dvsim_clock_advance(1)));
}

TEST_F(SimThreading, ReportsOfOneSequenceKeepTheirGap)
{
    // A poller that waits for "c", then "b", then "a" must see each one.
    ASSERT_EQ(DVSIM_OK, dvsim_load_scenario_text("denomination 100 count 0\n", nullptr, 0));
    login();
    unsigned gap = 0;
    ASSERT_EQ(DVSIM_OK, dvsim_get_timing(DVSIM_TIMING_REPORT_GAP, &gap));
    ASSERT_GE(gap, 20u);
    ASSERT_EQ(DVSIM_OK, dvsim_clock_manual(1));
    ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(gap)); // well after the login report
    clearReports();
    send(cmd({"d", "00000100"}));
    // Until a report is due nothing is delivered; once due, it goes out.
    auto deliveredUpTo = [](unsigned pending) {
        for (int i = 0; i < 5000 && status().pending_reports != pending; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        return status().pending_reports;
    };
    EXPECT_EQ(3u, status().pending_reports);
    ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(1)); // report latency: "c" is due
    EXPECT_EQ(2u, deliveredUpTo(2));
    for (unsigned left : {1u, 0u}) {
        ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(gap - 1));
        EXPECT_EQ(left + 1, status().pending_reports); // not yet
        ASSERT_EQ(DVSIM_OK, dvsim_clock_advance(1));
        EXPECT_EQ(left, deliveredUpTo(left));
    }
    ASSERT_EQ(DVSIM_OK, dvsim_wait_idle(5000));
    EXPECT_EQ((std::vector<std::string>{"c0000010001", "b000000000100 1 EUR        ", "a0000000001"}), reports());
}
