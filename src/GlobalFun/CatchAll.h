// Catching everything on threads that may be cancelled.
#pragma once

#include <cxxabi.h>
#include <pthread.h>

/// JThread::Kill unwinds a thread with a foreign exception that must not be swallowed. Every catch-all that can run on
/// a thread of the service puts this in front:
///     try { ... } SMS_LET_CANCELLATION_PASS catch (...) { ... }
#define SMS_LET_CANCELLATION_PASS \
  catch (abi::__forced_unwind&) { \
    throw;                        \
  }

/// A scope in which the thread is not unwound by JThread::Kill: destructors cannot let that pass.
class CNoCancellation {
public:
  CNoCancellation() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_iBefore); }
  ~CNoCancellation() { pthread_setcancelstate(m_iBefore, nullptr); }
  CNoCancellation(const CNoCancellation&) = delete;
  CNoCancellation& operator=(const CNoCancellation&) = delete;

private:
  int m_iBefore;
};
