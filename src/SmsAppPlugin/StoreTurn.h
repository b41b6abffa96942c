// A turn at the database: a transaction for a scope.
#pragma once

#include "platform/LocalDatabaseMgr.h"

/// The database serves one writing thread at a time. A thread that waits for its turn must not hold a lock that the
/// one whose turn it is may want: take the turn first, then the locks of the store. Turns of one thread nest.
class CStoreTurn {
public:
  explicit CStoreTurn(LocalDatabaseMgr& database) : m_pDatabase(&database), m_bOpen(false) { Begin(); }
  ~CStoreTurn() { End(); }
  CStoreTurn(const CStoreTurn&) = delete;
  CStoreTurn& operator=(const CStoreTurn&) = delete;

  bool IsOpen() const { return m_bOpen; }
  /// Waits for the turn, as long as the database allows; does nothing when it is open.
  bool Begin() {
    m_bOpen = m_bOpen || m_pDatabase->BeginTransaction() == DB_ERROR_OK;
    return m_bOpen;
  }
  /// @return true: what was written is on the disk (or, inside a further turn of the thread, will be at its end).
  bool End() {
    const bool bOpen = m_bOpen;
    m_bOpen = false;
    return bOpen && m_pDatabase->EndTransaction() == DB_ERROR_OK;
  }

private:
  LocalDatabaseMgr* m_pDatabase;
  bool m_bOpen;
};
