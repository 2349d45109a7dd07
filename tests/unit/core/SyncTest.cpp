#include <gtest/gtest.h>

#include <thread>

#include "vela/CI_AutoEvent.h"
#include "vela/CI_Time.h"
#include "vela/VELAtomicInt.h"
#include "vela/VELSemaphore.h"

namespace {

// Wake-ups across threads are the collection's concurrency tests
// (tests/unit/collection), which wait on both primitives.

const CI_RelTime kShort = CI_RelTime::fromMilliseconds(30);
const CI_RelTime kLong(10);  // only reached if a wake-up is lost

TEST(CI_AutoEvent, TimedWaitExpiresAndASetIsKeptUntilAWaitTakesIt) {
    CI_AutoEvent ev;
    CI_Time start;
    EXPECT_FALSE(ev.wait(kShort));
    EXPECT_GE((CI_Time() - start).getMilliseconds(), 25);
    ev.set();
    EXPECT_TRUE(ev.wait(kShort));
    EXPECT_FALSE(ev.wait(kShort));  // auto-reset
    ev.set();
    ev.reset();
    EXPECT_FALSE(ev.wait(kShort));
}

TEST(VELSemaphore, CountsAndTimesOut) {
    VELSemaphore s(2);
    EXPECT_TRUE(s.tryWait());
    EXPECT_TRUE(s.wait(kShort));
    EXPECT_FALSE(s.tryWait());
    EXPECT_FALSE(s.wait(kShort));
    s.post(3);
    EXPECT_EQ(s.getCount(), 3u);
}

TEST(VELSemaphore, ARunWaiterWaitsForTheRunAndTakesOne) {
    VELSemaphore s(2);
    CI_Time start;
    EXPECT_TRUE(s.wait(kShort, 3));  // two only: the wait runs out, then takes one
    EXPECT_GE((CI_Time() - start).getMilliseconds(), 25);
    EXPECT_EQ(s.getCount(), 1u);
    start = CI_Time();
    std::thread waiter([&] { EXPECT_TRUE(s.wait(kLong, 3)); });
    s.post();
    s.post();  // the run is there, whenever the waiter began to wait
    waiter.join();
    EXPECT_LT((CI_Time() - start).getMilliseconds(), 5000);  // not woken by the time-out
    EXPECT_EQ(s.getCount(), 2u);
    EXPECT_FALSE(VELSemaphore().wait(kShort, 2));
}

TEST(VELSemaphore, InterruptReleasesWaitersAndFailsLaterWaits) {
    VELSemaphore s;
    VELAtomicInt failed;
    VELSemaphore finished;
    std::thread untimed([&] {
        if (!s.wait()) {
            failed.increment();
        }
        finished.post();
    });
    std::thread timed([&] {
        if (!s.wait(kLong)) {
            failed.increment();
        }
        finished.post();
    });
    std::thread run([&] {
        if (!s.wait(kLong, 4)) {
            failed.increment();
        }
        finished.post();
    });
    s.interrupt();
    EXPECT_TRUE(finished.wait(kLong));
    EXPECT_TRUE(finished.wait(kLong));
    EXPECT_TRUE(finished.wait(kLong));
    s.post(2);  // releases the waiters should the interrupt have been lost
    untimed.join();
    timed.join();
    run.join();
    EXPECT_EQ(failed.get(), 3);
    EXPECT_TRUE(s.isInterrupted());
    // Later waits fail at once although units are there; tryWait still takes them.
    CI_Time start;
    EXPECT_FALSE(s.wait(kLong));
    EXPECT_FALSE(s.wait());
    EXPECT_LT((CI_Time() - start).getMilliseconds(), 5000);
    EXPECT_TRUE(s.tryWait());
    EXPECT_TRUE(s.tryWait());
    EXPECT_FALSE(s.tryWait());
}

}  // namespace
