// A recursive mutex that knows its place in the lock order.
#pragma once

#include "platform/PlatformExport.h"

#include <pthread.h>
#include <atomic>

/// Life:    usable from its constructor; Init() is kept for owners that call it and changes nothing.
/// Order:   a mutex with a rank may be taken only while every ranked mutex the thread holds has the same or a lower
///          rank, or is this very mutex. Builds with SMS_CHECK_LOCK_ORDER stop the process with both names when that
///          is broken. Rank 0 is not checked. The ranks stand in docs/threads.md.
/// Threads: any. Not a cancellation point.
class PLATFORM_API JMutex {
public:
  JMutex();
  /// @param pszName  a literal; for the message of the order check.
  JMutex(int iRank, const char* pszName);
  ~JMutex();
  JMutex(const JMutex&) = delete;
  JMutex& operator=(const JMutex&) = delete;

  int Init();  ///< 0
  bool IsInitialized() const;
  int Lock();    ///< 0
  int Unlock();  ///< 0; else the calling thread does not hold it
  bool IsHeldByThisThread() const;

private:
  pthread_mutex_t m_mutex;
  std::atomic<unsigned long> m_ulOwner;  // thread identity while held, else 0
  int m_iDepth;                          // guarded by m_mutex
  const int m_iRank;
  const char* const m_pszName;
};
