// What the clock tells the rest of the platform beyond JClock.
#pragma once

#include <cstdint>

namespace platform_clock {

/// Whether a JManualClock stands in for the system's clocks.
bool IsManual();
/// Milliseconds since 1970-01-01 00:00:00 UTC.
std::int64_t CalendarMs();

/// Rounds down, also below zero.
constexpr std::int64_t FloorDivide(std::int64_t iValue, std::int64_t iDivisor) {
  return iValue / iDivisor - (iValue % iDivisor < 0 ? 1 : 0);
}

}  // namespace platform_clock
