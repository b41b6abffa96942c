// An event: a flag that threads wait for.
#pragma once

#include "platform/PlatformExport.h"

/// Threads: any. Waits are cancellation points (JThread::Kill) and measure time with JClock. A signal goes to the
/// thread
///          that has waited longest; one that is killed before it returns leaves an auto-reset event signalled.
/// Errors:  a wait for null or for fewer than 1 or more than JEVENT_WAIT_MAX events is over at once, as by time-out.
const int JEVENT_WAIT_TIME_OUT = -1;
const int JEVENT_WAIT_MAX = 64;

class PLATFORM_API JEvent {
public:
  JEvent();  ///< auto-reset, not signalled
  ~JEvent();
  JEvent(const JEvent&) = delete;
  JEvent& operator=(const JEvent&) = delete;

  /// @param bManualReset  true: stays signalled until ResetEvent; false: the wait that ends consumes the signal.
  bool Init(bool bManualReset, bool bSignalled);
  bool SetEvent();
  bool ResetEvent();

  /// @param uMilliseconds  0: no limit.
  /// @return 0: signalled; else the time is over.
  int WaitForSingleObject(unsigned int uMilliseconds);
  /// Whether it is signalled, without waiting and without consuming the signal.
  bool IsSignalled() const;

  /// Waits for one of the events (the lowest signalled index wins), or for all of them.
  /// @param uMilliseconds  0: no limit.
  /// @return index of the event (0 with bWaitAll), or JEVENT_WAIT_TIME_OUT.
  static int WaitForMultipleObjects(int iCount, JEvent* const* ppEvents, bool bWaitAll, unsigned int uMilliseconds);

private:
  friend class CEventWait;
  struct Link;

  void SignalLocked();

  // guarded by one lock of the platform
  bool m_bManualReset;
  bool m_bSignalled;
  Link* m_pFirst;  // the threads that wait, in the order of their coming
  Link* m_pLast;
};
