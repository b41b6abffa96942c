// The one source of time: monotonic for waits, calendar for stamps. Tests replace it and move it by hand.
#pragma once

#include "platform/PlatformExport.h"

#include <cstdint>
#include <ctime>

/// Threads: any. No errors.
class PLATFORM_API JClock {
public:
  /// Milliseconds since an arbitrary start; never goes back.
  static std::int64_t MonotonicMs();
  /// Seconds since 1970-01-01 00:00:00 UTC.
  static std::time_t CalendarNow();
};

/// While one exists (at most one at a time), both clocks of the process stand still except for Advance(), and every
/// timed wait on a JEvent follows it. For tests; make it before the threads that wait, destroy it after they ended.
class PLATFORM_API JManualClock {
public:
  /// @param tCalendar  what CalendarNow() answers at first.
  explicit JManualClock(std::time_t tCalendar = 0);
  ~JManualClock();
  JManualClock(const JManualClock&) = delete;
  JManualClock& operator=(const JManualClock&) = delete;

  /// Moves both clocks on and wakes every timed wait whose limit has come.
  void Advance(std::int64_t iMilliseconds);
  /// Waits (in real time, at most iRealMs) until at least iCount threads are inside a timed JEvent wait with a limit of
  /// at least iMinMs milliseconds.
  /// @return false: they did not arrive in time.
  bool AwaitTimedWaiters(int iCount, std::int64_t iMinMs, int iRealMs);
};
