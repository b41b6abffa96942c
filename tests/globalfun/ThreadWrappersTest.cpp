// Thread wrappers, lock guard and fan-out.
#include "ThreadWrappers.h"

#include "VelkTypes.h"
#include "platform/JEvent.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <list>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

typedef std::chrono::steady_clock RealClock;

double SecondsSince(RealClock::time_point start) {
  return std::chrono::duration<double>(RealClock::now() - start).count();
}

/// What the threads of these tests run.
class CWorker {
public:
  CWorker() {
    m_stop.Init(true, false);
    m_entered.Init(true, false);
  }

  void Nothing() { ++m_iRuns; }

  void UntilStopped() {
    m_entered.SetEvent();
    m_stop.WaitForSingleObject(0);
    m_bFinished = true;
  }

  void OneSecond() {
    m_entered.SetEvent();
    JEvent().WaitForSingleObject(1000);
    m_bFinished = true;
  }

  void UntilStoppedHolding() {
    const CISAPUGuard<JMutex> guard(m_mutex);
    UntilStopped();
  }

  void Take(int iArgument) { m_vctTaken.push_back(iArgument); }
  void TakeUntilStopped(int iArgument) {
    Take(iArgument);
    UntilStopped();
  }

  JEvent m_stop;
  JEvent m_entered;
  JMutex m_mutex;
  std::atomic<int> m_iRuns{0};
  std::atomic<bool> m_bFinished{false};
  std::vector<int> m_vctTaken;  // by one run at a time
};

typedef JThreadT<CWorker, void> Thread;
typedef JThreadTP<CWorker, int, void> ThreadWithArgument;

// --- starting

TEST(MemberThread, RunsTheMemberFunction) {
  CWorker worker;
  Thread thread;
  EXPECT_EQ(0, thread.StartThread(&worker, &CWorker::Nothing));
  EXPECT_TRUE(thread.WaitForEnd(5000));
  EXPECT_EQ(1, worker.m_iRuns);
}

TEST(MemberThread, RefusesASecondStartWhileItRuns) {
  CWorker worker;
  Thread thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::UntilStopped));
  EXPECT_NE(0, thread.StartThread(&worker, &CWorker::Nothing));
  worker.m_stop.SetEvent();
  EXPECT_TRUE(thread.WaitForEnd(5000));
  EXPECT_EQ(0, worker.m_iRuns);
  EXPECT_TRUE(worker.m_bFinished);
}

TEST(MemberThread, StartsAgainAfterItsEnd) {
  CWorker worker;
  Thread thread;
  for (int i = 1; i <= 3; ++i) {
    ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::Nothing));
    ASSERT_TRUE(thread.WaitForEnd(5000));
    EXPECT_EQ(i, worker.m_iRuns);
  }
}

TEST(MemberThread, StartsAgainAfterItWasKilled) {
  CWorker worker;
  Thread thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::UntilStopped));
  thread.EndThread(0);
  ASSERT_FALSE(thread.IsRunning());
  EXPECT_EQ(0, thread.StartThread(&worker, &CWorker::Nothing));
  EXPECT_TRUE(thread.WaitForEnd(5000));
  EXPECT_EQ(1, worker.m_iRuns);
}

TEST(MemberThread, WithoutAnObjectRunsNothing) {
  Thread thread;
  EXPECT_EQ(0, thread.StartThread(nullptr, &CWorker::Nothing));
  EXPECT_TRUE(thread.WaitForEnd(5000));
}

TEST(MemberThreadWithArgument, HandsTheArgumentOver) {
  CWorker worker;
  ThreadWithArgument thread;
  EXPECT_EQ(0, thread.StartThread(&worker, &CWorker::Take, 42));
  EXPECT_TRUE(thread.WaitForEnd(5000));
  EXPECT_EQ(std::vector<int>{42}, worker.m_vctTaken);
}

TEST(MemberThreadWithArgument, KeepsTheArgumentOfTheRunWhenAStartIsRefused) {
  CWorker worker;
  ThreadWithArgument thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::TakeUntilStopped, 1));
  EXPECT_NE(0, thread.StartThread(&worker, &CWorker::TakeUntilStopped, 2));
  worker.m_stop.SetEvent();
  EXPECT_TRUE(thread.WaitForEnd(5000));
  EXPECT_EQ(std::vector<int>{1}, worker.m_vctTaken);
}

TEST(MemberThreadWithArgument, RunsWithTheArgumentOfEveryStartThatSucceeded) {
  // starts fall before, at and after the end of the run before
  CWorker worker;
  ThreadWithArgument thread;
  std::vector<int> vctAccepted;
  for (int i = 0; i < 3000; ++i) {
    if (thread.StartThread(&worker, &CWorker::Take, i) == 0) {
      vctAccepted.push_back(i);
    }
  }
  ASSERT_TRUE(thread.WaitForEnd(5000));
  EXPECT_EQ(vctAccepted, worker.m_vctTaken);
  EXPECT_FALSE(vctAccepted.empty());
}

// --- ending

TEST(EndThread, ReturnsWhenTheThreadEndsWithoutKillingIt) {
  JManualClock clock(1000);
  CWorker worker;
  Thread thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::OneSecond));
  std::thread later([&] {
    EXPECT_TRUE(clock.AwaitTimedWaiters(1, 1000, 5000));
    clock.Advance(1000);
  });
  thread.EndThread(5);
  EXPECT_EQ(1001, JClock::CalendarNow());
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_TRUE(worker.m_bFinished);
  later.join();
}

TEST(EndThread, KillsAThreadThatOutlivesTheLimit) {
  JManualClock clock;
  CWorker worker;
  ThreadWithArgument thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::TakeUntilStopped, 1));
  ASSERT_EQ(0, worker.m_entered.WaitForSingleObject(5000));
  const auto start = RealClock::now();
  std::atomic<bool> bEnded{false};
  std::thread time([&] {
    while (!bEnded) {
      clock.Advance(1000);
      std::this_thread::yield();
    }
  });
  thread.EndThread(60U);
  bEnded = true;
  EXPECT_LT(SecondsSince(start), 30.0);
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_FALSE(worker.m_bFinished);
  time.join();
}

TEST(EndThread, KillsWithinTheLimitWhenTheClockStandsStill) {
  JManualClock clock;
  CWorker worker;
  Thread thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::UntilStopped));
  const auto start = RealClock::now();
  thread.EndThread(1);
  EXPECT_GE(SecondsSince(start), 1.0);
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_FALSE(worker.m_bFinished);
}

TEST(EndThread, ReturnsAtOnceWhenTheThreadNeverStarted) {
  Thread thread;
  ThreadWithArgument threadWithArgument;
  const auto start = RealClock::now();
  thread.EndThread(5);
  threadWithArgument.EndThread(5);
  EXPECT_LT(SecondsSince(start), 2.0);
}

TEST(EndThread, WithoutTimeKillsAtOnce) {
  CWorker worker;
  Thread thread;
  for (const int iLimit : {0, -1}) {
    ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::UntilStopped));
    thread.EndThread(iLimit);
    EXPECT_FALSE(thread.IsRunning());
  }
  EXPECT_FALSE(worker.m_bFinished);
}

TEST(EndThread, TwiceDoesNothingMore) {
  CWorker worker;
  Thread thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::UntilStopped));
  worker.m_stop.SetEvent();
  thread.EndThread(5);
  thread.EndThread(5);
  EXPECT_TRUE(worker.m_bFinished);
}

TEST(EndThread, GivesBackWhatAKilledFunctionHolds) {
  CWorker worker;
  Thread thread;
  ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::UntilStoppedHolding));
  ASSERT_EQ(0, worker.m_entered.WaitForSingleObject(5000));
  thread.EndThread(0);
  const CISAPUGuard<JMutex> guard(worker.m_mutex);
  EXPECT_TRUE(worker.m_mutex.IsHeldByThisThread());
}

TEST(MemberThread, EndsItsRunBeforeItIsDestroyed) {
  CWorker worker;
  {
    Thread thread;
    ASSERT_EQ(0, thread.StartThread(&worker, &CWorker::UntilStopped));
    worker.m_stop.SetEvent();
  }
  EXPECT_TRUE(worker.m_bFinished);
}

// --- guard

TEST(LockGuard, HoldsTheMutexForItsScope) {
  JMutex mutex;
  {
    const CISAPUGuard<JMutex> guard(mutex);
    EXPECT_TRUE(guard.GetLockState());
    EXPECT_TRUE(mutex.IsHeldByThisThread());
  }
  EXPECT_FALSE(mutex.IsHeldByThisThread());
}

TEST(LockGuard, UnlockedEarlyDoesNotUnlockAgain) {
  JMutex mutex;
  {
    CISAPUGuard<JMutex> guard(mutex);
    guard.Unlock();
    EXPECT_FALSE(guard.GetLockState());
    EXPECT_FALSE(mutex.IsHeldByThisThread());
    mutex.Lock();
    guard.Unlock();
    EXPECT_TRUE(mutex.IsHeldByThisThread());
  }
  EXPECT_TRUE(mutex.IsHeldByThisThread());
  mutex.Unlock();
}

TEST(LockGuard, NestsOnOneThread) {
  JMutex mutex;
  const CISAPUGuard<JMutex> outer(mutex);
  { const CISAPUGuard<JMutex> inner(mutex); }
  EXPECT_TRUE(mutex.IsHeldByThisThread());
}

TEST(LockGuard, KeepsOthersOut) {
  JMutex mutex;
  int iCounter = 0;
  const auto Count = [&] {
    for (int i = 0; i < 10000; ++i) {
      const CISAPUGuard<JMutex> guard(mutex);
      ++iCounter;
    }
  };
  std::thread other(Count);
  Count();
  other.join();
  EXPECT_EQ(20000, iCounter);
}

TEST(LockGuard, CannotBeCopied) {
  typedef CISAPUGuard<JMutex> Guard;
  EXPECT_FALSE(std::is_copy_constructible<Guard>::value);
  EXPECT_FALSE(std::is_copy_assignable<Guard>::value);
}

// --- fan-out

class CListener {
public:
  explicit CListener(std::vector<std::string>& vctLines, std::string strName)
      : m_vctLines(vctLines), m_strName(std::move(strName)) {}
  void OnNumber(int iNumber) { m_vctLines.push_back(m_strName + " " + std::to_string(iNumber)); }
  void OnPair(const char* pszText, DWORD dwCode) {
    m_vctLines.push_back(m_strName + " " + pszText + " " + std::to_string(dwCode));
  }
  void LeaveList(std::list<CListener*>* pList) {
    m_vctLines.push_back(m_strName);
    pList->remove(this);
  }

private:
  std::vector<std::string>& m_vctLines;
  std::string m_strName;
};

class FanOut : public testing::Test {
protected:
  std::vector<std::string> m_vctLines;
  CListener m_first{m_vctLines, "first"};
  CListener m_second{m_vctLines, "second"};
  std::list<CListener*> m_list{&m_first, &m_second};
};

TEST_F(FanOut, CallsEveryElementInOrderWithOneArgument) {
  CCallBack(m_list.begin(), m_list.end(), &CListener::OnNumber, 7);
  EXPECT_EQ((std::vector<std::string>{"first 7", "second 7"}), m_vctLines);
}

TEST_F(FanOut, CallsEveryElementInOrderWithTwoArguments) {
  CCallBack(m_list.begin(), m_list.end(), &CListener::OnPair, "merged", DWORD{20410});
  EXPECT_EQ((std::vector<std::string>{"first merged 20410", "second merged 20410"}), m_vctLines);
}

TEST_F(FanOut, LetsAnElementLeaveTheListInsideTheCall) {
  CCallBack(m_list.begin(), m_list.end(), &CListener::LeaveList, &m_list);
  EXPECT_EQ((std::vector<std::string>{"first", "second"}), m_vctLines);
  EXPECT_TRUE(m_list.empty());
}

TEST_F(FanOut, OfNothingCallsNobody) {
  CCallBack(m_list.end(), m_list.end(), &CListener::OnNumber, 7);
  EXPECT_TRUE(m_vctLines.empty());
}

}  // namespace
