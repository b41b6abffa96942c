// A condition variable on the monotonic clock, whose waits may be cancelled.
#pragma once

#include <pthread.h>
#include <cstdint>
#include <mutex>

/// A cancelled wait unwinds with the lock held again, so that the scoped lock gives it back. (The waits of
/// std::condition_variable may be noexcept, which would end the process instead.)
class CMonotonicCondition {
public:
  CMonotonicCondition();
  ~CMonotonicCondition() { pthread_cond_destroy(&m_condition); }
  CMonotonicCondition(const CMonotonicCondition&) = delete;
  CMonotonicCondition& operator=(const CMonotonicCondition&) = delete;

  /// May wake early: test the condition in a loop.
  void Wait(std::unique_lock<std::mutex>& lock);
  /// @return false: that moment has come.
  bool WaitUntil(std::unique_lock<std::mutex>& lock, std::int64_t iDeadlineNs);

  void Signal() { pthread_cond_signal(&m_condition); }
  void Broadcast() { pthread_cond_broadcast(&m_condition); }

  /// Nanoseconds of the system's monotonic clock, never JManualClock's.
  static std::int64_t NowNs();
  /// That moment so many milliseconds from now.
  static std::int64_t InMs(std::int64_t iMilliseconds) { return NowNs() + iMilliseconds * kNsPerMs; }

  static constexpr std::int64_t kNsPerMs = 1000000;

private:
  pthread_cond_t m_condition;
};
