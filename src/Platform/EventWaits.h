// What a manual clock needs of the threads that wait for events.
#pragma once

#include <cstdint>
#include <functional>

namespace event_waits {

/// Runs fnChange, which moves or replaces the clock, while no wait begins or ends; then every timed wait looks at it.
void ChangeTime(const std::function<void()>& fnChange);
/// See JManualClock::AwaitTimedWaiters.
bool AwaitTimedWaiters(int iCount, std::int64_t iMinMs, int iRealMs);

}  // namespace event_waits
