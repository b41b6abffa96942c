// The clocks of the process, and the one that tests move by hand.
#include "platform/JClock.h"

#include "ClockState.h"
#include "EventWaits.h"
#include "MonotonicCondition.h"

#include <atomic>
#include <ctime>

namespace {

constexpr std::int64_t kMsPerSecond = 1000;

// While g_bManual is set the other values are the clocks; they change under the lock of the event waits only.
std::atomic<bool> g_bManual{false};
std::atomic<std::int64_t> g_iManualMs{0};
std::atomic<std::int64_t> g_iManualCalendarMs{0};
std::atomic<std::int64_t> g_iAheadMs{0};  // how far a manual clock has left the monotonic one ahead of the system's

std::int64_t SystemMonotonicMs() { return CMonotonicCondition::NowNs() / CMonotonicCondition::kNsPerMs; }

std::int64_t SystemCalendarMs() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<std::int64_t>(now.tv_sec) * kMsPerSecond + now.tv_nsec / CMonotonicCondition::kNsPerMs;
}

}  // namespace

bool platform_clock::IsManual() { return g_bManual.load(std::memory_order_acquire); }

std::int64_t platform_clock::CalendarMs() {
  return IsManual() ? g_iManualCalendarMs.load(std::memory_order_relaxed) : SystemCalendarMs();
}

std::int64_t JClock::MonotonicMs() {
  return platform_clock::IsManual() ? g_iManualMs.load(std::memory_order_relaxed)
                                    : SystemMonotonicMs() + g_iAheadMs.load(std::memory_order_relaxed);
}

std::time_t JClock::CalendarNow() {
  return static_cast<std::time_t>(platform_clock::FloorDivide(platform_clock::CalendarMs(), kMsPerSecond));
}

JManualClock::JManualClock(std::time_t tCalendar) {
  event_waits::ChangeTime([=] {
    g_iManualMs = SystemMonotonicMs() + g_iAheadMs;
    g_iManualCalendarMs = static_cast<std::int64_t>(tCalendar) * kMsPerSecond;
    g_bManual = true;
  });
}

JManualClock::~JManualClock() {
  event_waits::ChangeTime([] {
    const std::int64_t iAhead = g_iManualMs - SystemMonotonicMs();
    g_iAheadMs = iAhead > 0 ? iAhead : 0;
    g_bManual = false;
  });
}

void JManualClock::Advance(std::int64_t iMilliseconds) {
  event_waits::ChangeTime([=] {
    g_iManualMs += iMilliseconds > 0 ? iMilliseconds : 0;
    g_iManualCalendarMs += iMilliseconds;
  });
}

bool JManualClock::AwaitTimedWaiters(int iCount, std::int64_t iMinMs, int iRealMs) {
  return event_waits::AwaitTimedWaiters(iCount, iMinMs, iRealMs);
}
