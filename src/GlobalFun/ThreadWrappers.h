// Member functions on threads of their own, a lock held for a scope, and the fan-out over a list of clients.
#pragma once

#include "platform/JClock.h"
#include "platform/JMutex.h"
#include "platform/JThread.h"

#include <ctime>

/// Waits for a running thread until the calendar has moved on by so many seconds, then kills it. A clock that is set
/// back meanwhile does not prolong the wait.
inline void EndThreadWithin(JThread& thread, long long llSeconds) {
  const unsigned int uLookMs = 80;
  const std::time_t tStart = JClock::CalendarNow();
  long long llLooks = llSeconds * 1000 / uLookMs + 1;
  while (thread.IsRunning() && JClock::CalendarNow() - tStart < llSeconds && llLooks-- > 0) {
    thread.WaitForEnd(uLookMs);
  }
  if (thread.IsRunning()) {
    thread.Kill();
  }
}

template <class Class, class Result>
class JThreadT;
template <class Class, class Param, class Result>
class JThreadTP;

/// Runs a member function without arguments on its own thread.
/// Threads:   any.
/// Ownership: none of the object, which must outlive the run.
/// A function asked to stop must notice its owner's stop flag within the limit of EndThread, or it is killed: unwound
/// at its next wait, so that only what scoped objects hold is given back.
template <class Class>
class JThreadT<Class, void> : public JThread {
public:
  typedef void (Class::*Func)();

  JThreadT() : m_Para(0), m_Func(nullptr), m_pTClass(nullptr) {}
  ~JThreadT() override { EndThread(5); }

  /// @param para  stored, not passed.
  /// @return 0: a new run has begun; else none, and the values of the present run stay.
  int StartThread(Class* pTClass, Func func, char para = 0) {
    return StartPrepared([=] {
      m_Para = para;
      m_pTClass = pTClass;
      m_Func = func;
    });
  }

  /// @param limit  whole calendar seconds until a running thread is killed.
  void EndThread(int limit) { EndThreadWithin(*this, limit); }

protected:
  void* Thread() override {
    ThreadStarted();
    CallFunc();
    return nullptr;
  }

private:
  void CallFunc() {
    if (m_pTClass != nullptr) {
      (m_pTClass->*m_Func)();
    }
  }

  // written while the thread does not run, read by the run
  char m_Para;
  Func m_Func;
  Class* m_pTClass;
};

/// Runs a member function with one argument on its own thread; otherwise as JThreadT.
template <class Class, class Param>
class JThreadTP<Class, Param, void> : public JThread {
public:
  typedef void (Class::*Func)(Param);

  JThreadTP() : m_Para(), m_Func(nullptr), m_pTClass(nullptr) {}
  ~JThreadTP() override { EndThread(5); }

  /// @param para  the argument of the run; not taken over when none begins.
  /// @return 0: a new run has begun; else none, and the values of the present run stay.
  int StartThread(Class* pTClass, Func func, Param para) {
    return StartPrepared([&] {
      m_Para = para;
      m_pTClass = pTClass;
      m_Func = func;
    });
  }

  /// @param limit  whole calendar seconds until a running thread is killed.
  void EndThread(unsigned int limit) { EndThreadWithin(*this, limit); }

protected:
  void* Thread() override {
    ThreadStarted();
    CallFunc();
    return nullptr;
  }

private:
  void CallFunc() {
    if (m_pTClass != nullptr) {
      (m_pTClass->*m_Func)(m_Para);
    }
  }

  // written while the thread does not run, read by the run
  Param m_Para;
  Func m_Func;
  Class* m_pTClass;
};

/// Holds a mutex until the end of the scope, or until Unlock().
/// Threads: the one that made it.
template <class Mutex>
class CISAPUGuard {
public:
  explicit CISAPUGuard(Mutex& mutex) : m_pLocker(&mutex), m_bLock(false) {
    m_pLocker->Lock();
    m_bLock = true;
  }
  ~CISAPUGuard() { Unlock(); }
  CISAPUGuard(const CISAPUGuard&) = delete;
  CISAPUGuard& operator=(const CISAPUGuard&) = delete;

  /// Gives the mutex back now; a second call does nothing.
  void Unlock() {
    if (m_pLocker != nullptr && m_bLock) {
      m_pLocker->Unlock();
      m_bLock = false;
      m_pLocker = nullptr;
    }
  }
  bool GetLockState() const { return m_bLock; }

private:
  Mutex* m_pLocker;
  bool m_bLock;
};

/// Calls one operation with one argument on every element of [itFirst, itEnd), in order. Elements are pointers and not
/// tested for null. The step to the next element comes before the call: an element may take itself out of a list.
template <class Iterator, class Class, class Param, class Arg>
void CCallBack(Iterator itFirst, Iterator itEnd, void (Class::*pfnOperation)(Param), const Arg& arg) {
  while (itFirst != itEnd) {
    const Iterator itCurrent = itFirst++;
    ((*itCurrent)->*pfnOperation)(arg);
  }
}

/// The same with two arguments.
template <class Iterator, class Class, class Param1, class Param2, class Arg1, class Arg2>
void CCallBack(Iterator itFirst, Iterator itEnd, void (Class::*pfnOperation)(Param1, Param2), const Arg1& arg1,
               const Arg2& arg2) {
  while (itFirst != itEnd) {
    const Iterator itCurrent = itFirst++;
    ((*itCurrent)->*pfnOperation)(arg1, arg2);
  }
}
