// Events and the threads that wait for them.
#include "platform/JEvent.h"

#include "TestThread.h"
#include "platform/JClock.h"

#include <gtest/gtest.h>
#include <atomic>
#include <chrono>
#include <memory>
#include <vector>

namespace {

const unsigned int kLimitMs = 70000;  // on the manual clock
const int kNone = -100;

/// A thread inside one wait.
class CWaiter {
public:
  CWaiter(std::vector<JEvent*> lstEvents, bool bWaitAll, unsigned int uMilliseconds)
      : m_lstEvents(std::move(lstEvents)), m_thread([=] {
          m_iResult = JEvent::WaitForMultipleObjects(static_cast<int>(m_lstEvents.size()), m_lstEvents.data(), bWaitAll,
                                                     uMilliseconds);
        }) {
    EXPECT_EQ(0, m_thread.Start());
  }
  bool IsWaiting() const { return m_thread.IsRunning(); }
  /// Result of the wait, once it is over.
  int Result() {
    EXPECT_TRUE(m_thread.WaitForEnd(kDeadlineMs));
    return m_iResult;
  }
  int Kill() { return m_thread.Kill(); }
  bool Returned() const { return m_iResult != kNone; }

private:
  std::vector<JEvent*> m_lstEvents;
  std::atomic<int> m_iResult{kNone};
  CTestThread m_thread;
};

TEST(JEvent, IsAutoResetAndNotSignalledAtFirst) {
  JEvent event;
  EXPECT_FALSE(event.IsSignalled());
  event.SetEvent();
  EXPECT_EQ(0, event.WaitForSingleObject(1));
  EXPECT_FALSE(event.IsSignalled());
  EXPECT_NE(0, event.WaitForSingleObject(1));
}

TEST(JEvent, ManualResetStaysSignalledUntilReset) {
  JEvent event;
  EXPECT_TRUE(event.Init(true, false));
  EXPECT_TRUE(event.SetEvent());
  EXPECT_EQ(0, event.WaitForSingleObject(0));
  EXPECT_EQ(0, event.WaitForSingleObject(0));
  EXPECT_TRUE(event.ResetEvent());
  EXPECT_NE(0, event.WaitForSingleObject(1));
}

TEST(JEvent, CanBeginSignalled) {
  JEvent automatic;
  JEvent manual;
  automatic.Init(false, true);
  manual.Init(true, true);
  EXPECT_EQ(0, automatic.WaitForSingleObject(0));
  EXPECT_EQ(0, manual.WaitForSingleObject(0));
  EXPECT_FALSE(automatic.IsSignalled());
  EXPECT_TRUE(manual.IsSignalled());
}

TEST(JEvent, SetTwiceIsOneSignal) {
  JEvent event;
  event.SetEvent();
  event.SetEvent();
  EXPECT_EQ(0, event.WaitForSingleObject(1));
  EXPECT_NE(0, event.WaitForSingleObject(1));
}

TEST(JEvent, LooksWithoutConsuming) {
  JEvent event;
  event.SetEvent();
  EXPECT_TRUE(event.IsSignalled());
  EXPECT_TRUE(event.IsSignalled());
  EXPECT_EQ(0, event.WaitForSingleObject(0));
}

TEST(JEvent, LowestSignalledIndexWinsAndOnlyItIsConsumed) {
  JEvent events[3];
  JEvent* const list[] = {&events[0], &events[1], &events[2]};
  events[2].SetEvent();
  events[1].SetEvent();
  EXPECT_EQ(1, JEvent::WaitForMultipleObjects(3, list, false, 0));
  EXPECT_EQ(2, JEvent::WaitForMultipleObjects(3, list, false, 0));
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, JEvent::WaitForMultipleObjects(3, list, false, 1));
}

TEST(JEvent, WaitForAllTakesAllOrNone) {
  JManualClock clock;
  JEvent first;
  JEvent second;
  CWaiter waiter({&first, &second}, true, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, kDeadlineMs));
  second.SetEvent();
  EXPECT_TRUE(second.IsSignalled());
  EXPECT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, 0));
  first.SetEvent();
  EXPECT_EQ(0, waiter.Result());
  EXPECT_FALSE(first.IsSignalled());
  EXPECT_FALSE(second.IsSignalled());
}

TEST(JEvent, WaitForAllLeavesItsEventsToOthers) {
  JManualClock clock;
  JEvent first;
  JEvent second;
  CWaiter both({&first, &second}, true, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, kDeadlineMs));
  first.SetEvent();
  EXPECT_EQ(0, first.WaitForSingleObject(0));
  second.SetEvent();
  EXPECT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, 0));
  first.SetEvent();
  EXPECT_EQ(0, both.Result());
}

TEST(JEvent, OneSignalWakesTheThreadThatCameFirst) {
  JManualClock clock;
  JEvent event;
  CWaiter first({&event}, false, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, kDeadlineMs));
  CWaiter second({&event}, false, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(2, kLimitMs, kDeadlineMs));
  event.SetEvent();
  EXPECT_EQ(0, first.Result());
  EXPECT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, 0));
  EXPECT_TRUE(second.IsWaiting());
  event.SetEvent();
  EXPECT_EQ(0, second.Result());
  EXPECT_FALSE(event.IsSignalled());
}

TEST(JEvent, ManualResetWakesEverybody) {
  JManualClock clock;
  JEvent event;
  event.Init(true, false);
  CWaiter first({&event}, false, kLimitMs);
  CWaiter second({&event}, true, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(2, kLimitMs, kDeadlineMs));
  event.SetEvent();
  event.ResetEvent();
  EXPECT_EQ(0, first.Result());
  EXPECT_EQ(0, second.Result());
}

TEST(JEvent, ASignalDecidesTheWaitItMeets) {
  JManualClock clock;
  JEvent events[3];
  CWaiter waiter({&events[0], &events[1], &events[2]}, false, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, kDeadlineMs));
  events[2].SetEvent();
  events[0].SetEvent();
  EXPECT_EQ(2, waiter.Result());
  EXPECT_TRUE(events[0].IsSignalled());
}

TEST(JEvent, TimeOutComesAtTheLimitAndNotBefore) {
  JManualClock clock;
  JEvent event;
  CWaiter waiter({&event}, false, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, kDeadlineMs));
  clock.Advance(kLimitMs - 1);
  EXPECT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, 0));
  clock.Advance(1);
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, waiter.Result());
  EXPECT_FALSE(clock.AwaitTimedWaiters(1, 0, 0));
}

TEST(JEvent, ZeroIsNoLimit) {
  JManualClock clock;
  JEvent event;
  JEvent other;
  CWaiter unlimited({&event}, false, 0);
  CWaiter limited({&other}, false, 1);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, 1, kDeadlineMs));
  clock.Advance(1LL << 40);
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, limited.Result());
  EXPECT_TRUE(unlimited.IsWaiting());
  event.SetEvent();
  EXPECT_EQ(0, unlimited.Result());
}

TEST(JEvent, AwaitsOnlyWaitersOfThatLength) {
  JManualClock clock;
  JEvent event;
  CWaiter waiter({&event}, false, 100);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, 100, kDeadlineMs));
  EXPECT_FALSE(clock.AwaitTimedWaiters(1, 101, 1));
  EXPECT_FALSE(clock.AwaitTimedWaiters(2, 100, 1));
  event.SetEvent();
  EXPECT_EQ(0, waiter.Result());
}

TEST(JEvent, RealTimeOutIsNeverEarly) {
  JEvent event;
  for (const unsigned int limit : {1U, 5U, 20U}) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_NE(0, event.WaitForSingleObject(limit));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(limit));
  }
}

TEST(JEvent, WaitOnTheManualClockGoesOnInRealTimeAfterIt) {
  JEvent event;
  auto clock = std::make_unique<JManualClock>();
  CWaiter waiter({&event}, false, 1);
  ASSERT_TRUE(clock->AwaitTimedWaiters(1, 1, kDeadlineMs));
  clock.reset();
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, waiter.Result());
}

TEST(JEvent, RefusesWaitsForNothing) {
  JEvent event;
  event.Init(true, true);
  std::vector<JEvent*> many(JEVENT_WAIT_MAX + 1, &event);
  JEvent* const withNull[] = {&event, nullptr};
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, JEvent::WaitForMultipleObjects(0, many.data(), false, 0));
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, JEvent::WaitForMultipleObjects(-1, many.data(), true, 0));
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, JEvent::WaitForMultipleObjects(1, nullptr, false, 0));
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, JEvent::WaitForMultipleObjects(2, withNull, false, 0));
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, JEvent::WaitForMultipleObjects(JEVENT_WAIT_MAX + 1, many.data(), false, 0));
  EXPECT_EQ(0, JEvent::WaitForMultipleObjects(JEVENT_WAIT_MAX, many.data(), true, 0));
}

TEST(JEvent, MayStandTwiceInOneWait) {
  JManualClock clock;
  JEvent event;
  CWaiter waiter({&event, &event}, true, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, kDeadlineMs));
  event.SetEvent();
  EXPECT_EQ(0, waiter.Result());
  EXPECT_FALSE(event.IsSignalled());
}

TEST(JEvent, EndsItsWaitsWhenItGoes) {
  JManualClock clock;
  JEvent stays;
  auto goes = std::make_unique<JEvent>();
  CWaiter waiter({&stays, goes.get()}, false, kLimitMs);
  ASSERT_TRUE(clock.AwaitTimedWaiters(1, kLimitMs, kDeadlineMs));
  goes.reset();
  EXPECT_EQ(JEVENT_WAIT_TIME_OUT, waiter.Result());
  stays.SetEvent();
  EXPECT_TRUE(stays.IsSignalled());
}

TEST(JEvent, AKilledWaiterLosesNoSignal) {
  for (int round = 0; round < 300; ++round) {
    JEvent event;
    CWaiter waiter({&event}, false, 0);
    CTestThread setter([&] { event.SetEvent(); });
    ASSERT_EQ(0, setter.Start());
    ASSERT_EQ(0, waiter.Kill());
    ASSERT_TRUE(setter.WaitForEnd(kDeadlineMs));
    ASSERT_NE(waiter.Returned(), event.IsSignalled()) << round;
  }
}

TEST(JEvent, AKilledWaiterPassesItsSignalOn) {
  for (int round = 0; round < 300; ++round) {
    JEvent event;
    CWaiter first({&event}, false, 0);
    CWaiter second({&event}, false, 0);
    event.SetEvent();
    ASSERT_EQ(0, first.Kill());
    event.SetEvent();
    ASSERT_EQ(0, second.Result()) << round;
    ASSERT_TRUE(!first.Returned() || !event.IsSignalled());
  }
}

TEST(JEvent, EverySignalArrivesAcrossManyThreads) {
  const int kRounds = 3000;
  JEvent ping;
  JEvent pong;
  JEvent never;
  std::atomic<int> answered{0};
  CTestThread partner([&] {
    JEvent* const list[] = {&never, &ping};
    for (int i = 0; i < kRounds; ++i) {
      answered += JEvent::WaitForMultipleObjects(2, list, false, kDeadlineMs) == 1 ? 1 : 0;
      pong.SetEvent();
    }
  });
  ASSERT_EQ(0, partner.Start());
  for (int i = 0; i < kRounds; ++i) {
    ping.SetEvent();
    ASSERT_EQ(0, pong.WaitForSingleObject(kDeadlineMs)) << i;
  }
  ASSERT_TRUE(partner.WaitForEnd(kDeadlineMs));
  EXPECT_EQ(kRounds, answered);
}

}  // namespace
