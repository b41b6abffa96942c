// Waiting for a condition with a deadline, for tests.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// A lock and a condition that fakes share: change state under Lock(), then Notify(); tests wait with Await().
/// The deadline is on the system clock: the thread sanitizer follows that wait.
class CMonitor {
public:
  template <class Change>
  auto Locked(Change&& change) {
    const std::lock_guard<std::mutex> guard(m_lock);
    struct CNotifier {
      std::condition_variable& changed;
      ~CNotifier() { changed.notify_all(); }
    } const notifier{m_changed};
    return change();
  }
  template <class Read>
  auto Peek(Read&& read) const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return read();
  }
  template <class Condition>
  bool Await(Condition&& condition, int milliseconds = 5000) const {
    std::unique_lock<std::mutex> guard(m_lock);
    const auto deadline = std::chrono::system_clock::now() + std::chrono::milliseconds(milliseconds);
    return m_changed.wait_until(guard, deadline, condition);
  }

private:
  mutable std::mutex m_lock;
  mutable std::condition_variable m_changed;
};
