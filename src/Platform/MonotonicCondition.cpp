// A condition variable on the monotonic clock.
#include "MonotonicCondition.h"

#include <cerrno>
#include <ctime>

namespace {
constexpr std::int64_t kNsPerSecond = 1000000000;
}  // namespace

// A cancelled wait leaves this frame without a word to the address sanitizer, which would take the guard zones around
// its locals for live ones and report the unwinding itself.
#define WITHOUT_GUARD_ZONES __attribute__((no_sanitize("address")))

CMonotonicCondition::CMonotonicCondition() {
  pthread_condattr_t attributes;
  pthread_condattr_init(&attributes);
  pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  pthread_cond_init(&m_condition, &attributes);
  pthread_condattr_destroy(&attributes);
}

WITHOUT_GUARD_ZONES void CMonotonicCondition::Wait(std::unique_lock<std::mutex>& lock) {
  pthread_cond_wait(&m_condition, lock.mutex()->native_handle());
}

WITHOUT_GUARD_ZONES bool CMonotonicCondition::WaitUntil(std::unique_lock<std::mutex>& lock, std::int64_t iDeadlineNs) {
  timespec deadline;
  deadline.tv_sec = static_cast<time_t>(iDeadlineNs / kNsPerSecond);
  deadline.tv_nsec = static_cast<long>(iDeadlineNs % kNsPerSecond);
  return pthread_cond_timedwait(&m_condition, lock.mutex()->native_handle(), &deadline) != ETIMEDOUT;
}

std::int64_t CMonotonicCondition::NowNs() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::int64_t>(now.tv_sec) * kNsPerSecond + now.tv_nsec;
}
