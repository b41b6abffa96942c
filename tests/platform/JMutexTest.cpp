// Recursive mutexes and their order.
#include "platform/JMutex.h"

#include "TestThread.h"

#include <gtest/gtest.h>
#include <atomic>
#include <functional>

namespace {

class CHold {
public:
  explicit CHold(JMutex& mutex) : m_mutex(mutex) { m_mutex.Lock(); }
  ~CHold() { m_mutex.Unlock(); }
  CHold(const CHold&) = delete;
  CHold& operator=(const CHold&) = delete;

private:
  JMutex& m_mutex;
};

/// Runs it to its end on another thread.
void Elsewhere(const std::function<void()>& fnBody) {
  CTestThread thread(fnBody);
  ASSERT_EQ(0, thread.Start());
  ASSERT_TRUE(thread.WaitForEnd(kDeadlineMs));
}

TEST(JMutex, IsUsableFromItsConstructor) {
  JMutex mutex;
  EXPECT_TRUE(mutex.IsInitialized());
  EXPECT_EQ(0, mutex.Lock());
  EXPECT_EQ(0, mutex.Unlock());
}

TEST(JMutex, InitChangesNothingWhileHeld) {
  JMutex mutex;
  const CHold hold(mutex);
  EXPECT_EQ(0, mutex.Init());
  EXPECT_TRUE(mutex.IsHeldByThisThread());
  Elsewhere([&] { EXPECT_FALSE(mutex.IsHeldByThisThread()); });
}

TEST(JMutex, IsHeldUntilTheLastUnlock) {
  JMutex mutex;
  EXPECT_EQ(0, mutex.Lock());
  EXPECT_EQ(0, mutex.Lock());
  EXPECT_EQ(0, mutex.Unlock());
  EXPECT_TRUE(mutex.IsHeldByThisThread());
  EXPECT_EQ(0, mutex.Unlock());
  EXPECT_FALSE(mutex.IsHeldByThisThread());
}

TEST(JMutex, RefusesTheUnlockOfAThreadThatDoesNotHoldIt) {
  JMutex mutex;
  EXPECT_NE(0, mutex.Unlock());
  const CHold hold(mutex);
  Elsewhere([&] { EXPECT_NE(0, mutex.Unlock()); });
  EXPECT_TRUE(mutex.IsHeldByThisThread());
}

TEST(JMutex, LetsOneThreadInAtATime) {
  JMutex mutex;
  long plain = 0;  // a race here is what the thread sanitizer would see
  const auto count = [&] {
    for (int i = 0; i < 20000; ++i) {
      const CHold hold(mutex);
      const CHold again(mutex);
      ++plain;
    }
  };
  CTestThread first(count);
  CTestThread second(count);
  ASSERT_EQ(0, first.Start());
  ASSERT_EQ(0, second.Start());
  ASSERT_TRUE(first.WaitForEnd(6 * kDeadlineMs));
  ASSERT_TRUE(second.WaitForEnd(6 * kDeadlineMs));
  EXPECT_EQ(40000, plain);
}

TEST(JMutex, TakesRisingAndEqualRanks) {
  JMutex low(100, "low");
  JMutex high(200, "high");
  JMutex other(200, "other");
  const CHold first(low);
  const CHold second(high);
  const CHold third(other);
  EXPECT_TRUE(other.IsHeldByThisThread());
}

TEST(JMutex, TakesAHeldOneAgainWhateverItsRank) {
  JMutex low(100, "low");
  JMutex high(200, "high");
  const CHold first(low);
  const CHold second(high);
  const CHold again(low);
  EXPECT_TRUE(low.IsHeldByThisThread());
}

TEST(JMutex, DoesNotCheckRankZero) {
  JMutex ranked(100, "ranked");
  JMutex unranked;
  const CHold first(ranked);
  const CHold second(unranked);
  EXPECT_TRUE(unranked.IsHeldByThisThread());
}

TEST(JMutex, ForgetsWhatWasReleasedInAnyOrder) {
  JMutex low(100, "low");
  JMutex middle(150, "middle");
  JMutex high(200, "high");
  low.Lock();
  high.Lock();
  low.Unlock();
  high.Unlock();
  const CHold hold(middle);
  EXPECT_TRUE(middle.IsHeldByThisThread());
}

TEST(JMutex, EachThreadHasItsOwnOrder) {
  JMutex low(100, "low");
  JMutex high(200, "high");
  const CHold hold(high);
  Elsewhere([&] {
    const CHold inner(low);
    EXPECT_TRUE(low.IsHeldByThisThread());
  });
}

void TakeFallingRanks() {
  JMutex low(100, "m_MutexLow");
  JMutex high(200, "m_MutexHigh");
  const CHold first(high);
  const CHold second(low);
}

#ifdef SMS_CHECK_LOCK_ORDER
TEST(JMutexDeathTest, StopsAtAFallingRankWithBothNames) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(TakeFallingRanks(), "taking m_MutexLow \\(100\\) while holding m_MutexHigh \\(200\\)");
}
#else
TEST(JMutex, DoesNotCheckTheOrderInThisBuild) {
  TakeFallingRanks();
  JMutex low(100, "low");
  EXPECT_EQ(0, low.Lock());
  EXPECT_EQ(0, low.Unlock());
}
#endif

}  // namespace
