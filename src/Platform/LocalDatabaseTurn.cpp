// The right to write to a database: one thread at a time, the others wait with a limit.
#include "LocalDatabaseTurn.h"

#include "platform/JClock.h"

bool CDatabaseTurn::TryTake() {
  const std::lock_guard<std::mutex> guard(m_lock);
  if (m_iDepth > 0 && !IsMine()) {
    return false;
  }
  m_owner = std::this_thread::get_id();
  ++m_iDepth;
  return true;
}

bool CDatabaseTurn::Take(unsigned int uLimitMs) {
  const std::int64_t deadline = JClock::MonotonicMs() + uLimitMs;
  while (!TryTake()) {
    const std::int64_t left = deadline - JClock::MonotonicMs();
    if (left <= 0 || m_free.WaitForSingleObject(static_cast<unsigned int>(left)) != 0) {
      return TryTake();
    }
  }
  return true;
}

void CDatabaseTurn::Give() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!IsMine() || --m_iDepth > 0) {
      return;
    }
    m_owner = std::thread::id();
  }
  m_free.SetEvent();
}

void CDatabaseTurn::Revoke() {
  {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_iDepth = 0;
    m_owner = std::thread::id();
  }
  m_free.SetEvent();
}
