// The right to write to a database: one thread at a time, the others wait with a limit.
#pragma once

#include "platform/JEvent.h"

#include <atomic>
#include <mutex>
#include <thread>

/// A recursive timed lock whose owner can lose it: a transaction may outlive the call that began it, and its thread.
/// Threads: any. Waiting follows JClock.
class CDatabaseTurn {
public:
  CDatabaseTurn() { m_free.Init(false, false); }
  CDatabaseTurn(const CDatabaseTurn&) = delete;
  CDatabaseTurn& operator=(const CDatabaseTurn&) = delete;

  /// @return false: another thread has had it for the whole time.
  bool Take(unsigned int uLimitMs);
  /// Undoes one Take() of this thread; does nothing when it was revoked.
  void Give();
  /// Takes it away from whoever has it.
  void Revoke();
  bool IsMine() const { return m_owner.load(std::memory_order_relaxed) == std::this_thread::get_id(); }

private:
  bool TryTake();

  JEvent m_free;
  std::mutex m_lock;
  int m_iDepth = 0;                        // guarded by m_lock
  std::atomic<std::thread::id> m_owner{};  // written under m_lock
};

/// The turn for a scope, if it came.
class CDatabaseTurnHold {
public:
  CDatabaseTurnHold(CDatabaseTurn& turn, unsigned int uLimitMs) : m_turn(turn), m_bTaken(turn.Take(uLimitMs)) {}
  ~CDatabaseTurnHold() {
    if (m_bTaken) {
      m_turn.Give();
    }
  }
  CDatabaseTurnHold(const CDatabaseTurnHold&) = delete;
  CDatabaseTurnHold& operator=(const CDatabaseTurnHold&) = delete;

  bool IsTaken() const { return m_bTaken; }

private:
  CDatabaseTurn& m_turn;
  const bool m_bTaken;
};
