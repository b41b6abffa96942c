// A thread of the system with a running test and a safe end.
#pragma once

#include "platform/PlatformExport.h"

#include <functional>
#include <memory>

/// Life:    may be started again after it has ended or was killed. Destroying a running thread kills it first; a
///          derived class must end its thread in its own destructor, while Thread() still exists.
/// Threads: all operations from any thread; none is a cancellation point. A thread does not end itself: its own Kill()
///          and WaitForEnd() fail.
/// Errors:  an exception that leaves Thread() ends the thread; the trace tells.
class PLATFORM_API JThread {
public:
  JThread();
  virtual ~JThread();
  JThread(const JThread&) = delete;
  JThread& operator=(const JThread&) = delete;

  /// Starts Thread() on a new thread and returns once it runs.
  /// @return 0: started; else not: it runs already, or the system refused.
  int Start();
  /// Ends a running thread by deferred cancellation: it is unwound at its next wait, scoped guards give their locks
  /// back, and waits at most two seconds for that. A thread that never waits goes on; its own state stays valid.
  /// @return 0: it has ended, nothing of it is left; else it has not (yet).
  int Kill();
  /// True from a successful Start() until Thread() has returned or was unwound.
  bool IsRunning() const;
  /// Waits until the thread has ended, at most so many milliseconds of real time.
  /// @return true: it is not running, and nothing of it is left, not even its thread-local objects.
  bool WaitForEnd(unsigned int uMilliseconds) const;

protected:
  /// Tells Start() that the thread runs; called by Thread() first.
  void ThreadStarted();
  virtual void* Thread() = 0;
  /// As Start(), but runs fnPrepare first when, and only when, the thread is not running: test, preparation and start
  /// are one step with respect to the thread's end.
  int StartPrepared(const std::function<void()>& fnPrepare);

private:
  struct State;
  std::shared_ptr<State> m_pState;  // shared with the thread itself, so that a killed thread never outlives it
};
