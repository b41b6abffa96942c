// Threads: start, end, kill.
#include "platform/JThread.h"

#include "TempHome.h"
#include "TestThread.h"
#include "TraceCapture.h"
#include "platform/GlobalFunction.h"
#include "platform/JEvent.h"
#include "platform/JMutex.h"
#include "platform/PlatformPaths.h"
#include "platform/TraceSrv.h"

#include <cxxabi.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace {

using Tracelevel::TL_CRIT;
using Tracelevel::TL_ERRO;

/// Notes that a scope was left.
class CLeft {
public:
  explicit CLeft(std::atomic<bool>& bLeft) : m_bLeft(bLeft) {}
  ~CLeft() { m_bLeft = true; }
  CLeft(const CLeft&) = delete;
  CLeft& operator=(const CLeft&) = delete;

private:
  std::atomic<bool>& m_bLeft;
};

class CHold {
public:
  explicit CHold(JMutex& mutex) : m_mutex(mutex) { m_mutex.Lock(); }
  ~CHold() { m_mutex.Unlock(); }
  CHold(const CHold&) = delete;
  CHold& operator=(const CHold&) = delete;

private:
  JMutex& m_mutex;
};

long ThreadsOfThisProcess() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return std::distance(begin(tasks), end(tasks));
}

/// The system takes an ended thread from its list a moment after it was joined.
bool AwaitThreads(long lAtMost) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(kDeadlineMs);
  while (ThreadsOfThisProcess() > lAtMost && std::chrono::steady_clock::now() < deadline) {
    sched_yield();
  }
  return ThreadsOfThisProcess() <= lAtMost;
}

TEST(JThread, RunsUntilThreadReturns) {
  JEvent end;
  CTestThread thread([&] { end.WaitForSingleObject(0); });
  EXPECT_FALSE(thread.IsRunning());
  ASSERT_EQ(0, thread.Start());
  EXPECT_TRUE(thread.IsRunning());
  EXPECT_FALSE(thread.WaitForEnd(0));
  EXPECT_FALSE(thread.WaitForEnd(1));
  end.SetEvent();
  EXPECT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_FALSE(thread.IsRunning());
}

TEST(JThread, RefusesAStartWhileItRuns) {
  JEvent end;
  std::atomic<int> iRuns{0};
  CTestThread thread([&] {
    ++iRuns;
    end.WaitForSingleObject(0);
  });
  ASSERT_EQ(0, thread.Start());
  EXPECT_NE(0, thread.Start());
  EXPECT_NE(0, thread.StartWith([] {}));
  end.SetEvent();
  EXPECT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_EQ(1, iRuns);
}

TEST(JThread, StartsAgainAfterItsEnd) {
  std::atomic<int> iRuns{0};
  CTestThread thread([&] { ++iRuns; });
  for (int i = 1; i <= 50; ++i) {
    ASSERT_EQ(0, thread.Start());
    ASSERT_TRUE(thread.WaitForEnd(kDeadlineMs));
    ASSERT_EQ(i, iRuns);
  }
}

TEST(JThread, StartsAgainAfterAKill) {
  JEvent never;
  std::atomic<int> iRuns{0};
  CTestThread thread([&] {
    ++iRuns;
    never.WaitForSingleObject(0);
  });
  for (int i = 1; i <= 50; ++i) {
    ASSERT_EQ(0, thread.Start());
    ASSERT_EQ(0, thread.Kill());
    ASSERT_FALSE(thread.IsRunning());
  }
  EXPECT_EQ(0, thread.Kill());
}

TEST(JThread, IsLeftAloneWhenItNeverStarted) {
  CTestThread thread([] {});
  EXPECT_TRUE(thread.WaitForEnd(0));
  EXPECT_EQ(0, thread.Kill());
}

TEST(JThread, KillGivesBackWhatScopesHold) {
  JMutex mutex;
  JEvent never;
  JEvent holds;
  std::atomic<bool> bLeft{false};
  std::atomic<bool> bReturned{false};
  CTestThread thread([&] {
    const CHold hold(mutex);
    const CLeft left(bLeft);
    holds.SetEvent();
    never.WaitForSingleObject(0);
    bReturned = true;
  });
  ASSERT_EQ(0, thread.Start());
  ASSERT_EQ(0, holds.WaitForSingleObject(kDeadlineMs));
  EXPECT_EQ(0, thread.Kill());
  EXPECT_TRUE(bLeft);
  EXPECT_FALSE(bReturned);
  EXPECT_EQ(0, mutex.Lock());
  EXPECT_EQ(0, mutex.Unlock());
}

TEST(JThread, KillReachesAThreadThatOnlyMeetsSignalledEvents) {
  JEvent always;
  always.Init(true, true);
  CTestThread thread([&] {
    for (;;) {
      always.WaitForSingleObject(0);
    }
  });
  ASSERT_EQ(0, thread.Start());
  EXPECT_EQ(0, thread.Kill());
}

TEST(JThread, KillPassesThroughCatchAllsThatLetIt) {
  JEvent never;
  std::atomic<bool> bSwallowed{false};
  CTestThread thread([&] {
    try {
      never.WaitForSingleObject(0);
    } catch (abi::__forced_unwind&) {
      throw;
    } catch (...) {
      bSwallowed = true;
    }
  });
  ASSERT_EQ(0, thread.Start());
  EXPECT_EQ(0, thread.Kill());
  EXPECT_FALSE(bSwallowed);
}

TEST(JThread, KillOfAThreadThatIsBlockedEndsItAtItsNextWait) {
  JMutex mutex;
  JEvent never;
  std::atomic<bool> bGotThrough{false};
  CTestThread thread([&] {
    {
      const CHold hold(mutex);
      bGotThrough = true;
    }
    never.WaitForSingleObject(0);
  });
  mutex.Lock();
  ASSERT_EQ(0, thread.Start());
  EXPECT_NE(0, thread.Kill());
  EXPECT_TRUE(thread.IsRunning());
  EXPECT_NE(0, thread.Start());
  EXPECT_FALSE(bGotThrough);
  mutex.Unlock();
  EXPECT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_TRUE(bGotThrough);
  EXPECT_EQ(0, mutex.Lock());
  EXPECT_EQ(0, mutex.Unlock());
}

TEST(JThread, AThreadThatOutlivesItsObjectEndsSafely) {
  struct Shared {
    JEvent holds;
    JEvent ended;
    std::atomic<bool> bGoOn{false};
  };
  const auto pShared = std::make_shared<Shared>();
  {
    CTestThread thread([pShared] {
      const std::shared_ptr<Shared> pOwn = pShared;  // the function object goes with the thread object
      int iBefore = 0;
      pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &iBefore);
      pOwn->holds.SetEvent();
      while (!pOwn->bGoOn) {
        sched_yield();
      }
      pOwn->ended.SetEvent();
    });
    ASSERT_EQ(0, thread.Start());
    ASSERT_EQ(0, pShared->holds.WaitForSingleObject(kDeadlineMs));
  }
  pShared->bGoOn = true;
  EXPECT_EQ(0, pShared->ended.WaitForSingleObject(kDeadlineMs));
}

TEST(JThread, NothingOfItIsLeftAfterItsEnd) {
  static std::atomic<int> iDestroyed{0};
  struct Local {
    ~Local() { ++iDestroyed; }
    int iUsed = 0;
  };
  JEvent never;
  CTestThread ends;
  CTestThread killed;
  // the first thread of a process may bring one of the sanitizer's own
  ASSERT_EQ(0, ends.StartWith([] {}));
  ASSERT_TRUE(ends.WaitForEnd(kDeadlineMs));
  const long lBefore = ThreadsOfThisProcess();
  for (int i = 1; i <= 20; ++i) {
    const auto use = [] {
      static thread_local Local local;
      ++local.iUsed;
    };
    ASSERT_EQ(0, ends.StartWith(use));
    ASSERT_EQ(0, killed.StartWith([&] {
      use();
      never.WaitForSingleObject(0);
    }));
    ASSERT_TRUE(ends.WaitForEnd(kDeadlineMs));
    ASSERT_EQ(0, killed.Kill());
    ASSERT_GE(iDestroyed, i);  // a kill may come before the first use
    ASSERT_TRUE(AwaitThreads(lBefore));
  }
}

TEST(JThread, WaitersForOneEndAllSeeIt) {
  JEvent end;
  CTestThread thread([&] { end.WaitForSingleObject(0); });
  ASSERT_EQ(0, thread.Start());
  std::atomic<int> iSaw{0};
  const auto wait = [&] { iSaw += thread.WaitForEnd(kDeadlineMs) ? 1 : 0; };
  CTestThread first(wait);
  CTestThread second(wait);
  ASSERT_EQ(0, first.Start());
  ASSERT_EQ(0, second.Start());
  end.SetEvent();
  EXPECT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_TRUE(first.WaitForEnd(kDeadlineMs));
  EXPECT_TRUE(second.WaitForEnd(kDeadlineMs));
  EXPECT_EQ(2, iSaw);
}

TEST(JThread, DoesNotEndItself) {
  CTestThread thread;
  std::atomic<int> iKill{0};
  std::atomic<bool> bEnded{true};
  std::atomic<int> iStart{0};
  ASSERT_EQ(0, thread.StartWith([&] {
    iKill = thread.Kill();
    bEnded = thread.WaitForEnd(kDeadlineMs);
    iStart = thread.Start();
  }));
  ASSERT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_NE(0, iKill);
  EXPECT_FALSE(bEnded);
  EXPECT_NE(0, iStart);
}

TEST(JThread, PreparesExactlyTheRunsThatBegin) {
  CTestThread thread;
  std::atomic<int> iBegun{0};
  std::atomic<int> iRuns{0};
  std::atomic<int> iStale{0};
  // two threads start runs with arguments of their own while earlier runs are ending
  const auto startMany = [&] {
    for (int i = 0; i < 500; ++i) {
      auto pArgument = std::make_shared<std::atomic<int>>(0);
      const int iResult = thread.StartWith([&, pArgument] {
        ++iRuns;
        iStale += ++*pArgument == 1 ? 0 : 1;
      });
      iBegun += iResult == 0 ? 1 : 0;
    }
  };
  CTestThread first(startMany);
  CTestThread second(startMany);
  ASSERT_EQ(0, first.Start());
  ASSERT_EQ(0, second.Start());
  ASSERT_TRUE(first.WaitForEnd(6 * kDeadlineMs));
  ASSERT_TRUE(second.WaitForEnd(6 * kDeadlineMs));
  ASSERT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_GT(iBegun, 0);
  EXPECT_EQ(iBegun, iRuns);
  EXPECT_EQ(0, iStale);
}

TEST(JThread, AFailedPreparationLeavesItStartable) {
  class CThrower : public CTestThread {
  public:
    int Throw() {
      return StartPrepared([] { throw std::runtime_error("no"); });
    }
  } thread;
  EXPECT_THROW(thread.Throw(), std::runtime_error);
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_EQ(0, thread.StartWith([] {}));
}

TEST(JThread, AnExceptionEndsTheThreadAndIsTraced) {
  const CTempHome home;
  const CTraceCapture trace;
  CTestThread thread([] { throw std::runtime_error("odd"); });
  ASSERT_EQ(0, thread.Start());
  EXPECT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_TRUE(trace.Contains("odd"));
  CTestThread other([] { throw 1; });
  ASSERT_EQ(0, other.Start());
  EXPECT_TRUE(other.WaitForEnd(kDeadlineMs));
  EXPECT_TRUE(trace.Contains("of unknown type"));
}

TEST(JThread, StartDoesNotWaitForEver_WhenTheThreadNeverTells) {
  class CSilent : public JThread {
  public:
    ~CSilent() override { Kill(); }

  protected:
    void* Thread() override { return nullptr; }
  } thread;
  EXPECT_EQ(0, thread.Start());
  EXPECT_TRUE(thread.WaitForEnd(kDeadlineMs));
}

/// With a kill pending, none of these may unwind: they run in destructors and other places that must not throw.
void UseWhatMustNotBeCancelled(const CTestThread& other, std::atomic<bool>& bThrough) noexcept {
  JMutex mutex;
  JEvent event;
  VELK_wchar_t buffer[20];
  char bytes[20];
  TraceSrv_Trace(TL_CRIT, "TEST", "not a cancellation point");
  TraceSrv_Flush();
  CGlobalFunction::SetSetting(u"a", u"b", u"c");
  CGlobalFunction::GetSetting(u"a", u"b", buffer, 20);
  CGlobalFunction::CheckSettings(true);
  CGlobalFunction::GetUserDataDirectory(buffer, 20);
  CGlobalFunction::MultiByteToWideChar("abc", buffer, 20, 932);
  CGlobalFunction::WideCharToMultiByte(u"abc", bytes, 20, 1252);
  mutex.Lock();
  mutex.Unlock();
  event.SetEvent();
  other.WaitForEnd(1);
  bThrough = true;
}

TEST(JThread, OnlyWaitsAreCancellationPoints) {
  const CTempHome home;
  JEvent never;
  CTestThread other([&] { never.WaitForSingleObject(0); });
  ASSERT_EQ(0, other.Start());
  std::atomic<bool> bThrough{false};
  std::atomic<bool> bReturned{false};
  CTestThread thread([&] {
    pthread_cancel(pthread_self());
    UseWhatMustNotBeCancelled(other, bThrough);
    never.WaitForSingleObject(0);
    bReturned = true;
  });
  ASSERT_EQ(0, thread.Start());
  EXPECT_TRUE(thread.WaitForEnd(kDeadlineMs));
  EXPECT_TRUE(bThrough);
  EXPECT_FALSE(bReturned);
}

/// Leaves the process while threads use everything that threads may use.
[[noreturn]] void EndTheProcessWhileThreadsWork() {
  PlatformPaths paths;
  paths.strSettingsFile = "/dev/null/none.ini";
  paths.strLogFile = "/dev/null";
  SetPlatformPaths(paths);
  static JMutex* const pMutex = new JMutex(100, "m");
  static JEvent* const pEvent = new JEvent;
  static CTestThread* lstThreads[4];
  for (CTestThread*& pThread : lstThreads) {
    pThread = new CTestThread([] {
      for (;;) {
        VELK_wchar_t buffer[20];
        CGlobalFunction::OverrideSetting(u"a", u"b", u"c");
        CGlobalFunction::GetSetting(u"a", u"b", buffer, 20);
        CGlobalFunction::MultiByteToWideChar("abc", buffer, 20, 1252);
        TraceSrv_Trace(TL_ERRO, "TEST", "still at work");
        const CHold hold(*pMutex);
        pEvent->SetEvent();
        pEvent->WaitForSingleObject(1);
      }
    });
    pThread->Start();
  }
  std::exit(7);
}

TEST(JThreadDeathTest, TheProcessMayEndWhileThreadsWork) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (int i = 0; i < 5; ++i) {
    EXPECT_EXIT(EndTheProcessWhileThreadsWork(), testing::ExitedWithCode(7), "");
  }
}

}  // namespace
