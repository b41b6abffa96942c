// A scope in which the thread cannot be cancelled.
#pragma once

#include <pthread.h>

/// For code that may run on any thread and must not be unwound: destructors, file access, the trace. Nests.
class CNoCancel {
public:
  CNoCancel() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_iBefore); }
  ~CNoCancel() { pthread_setcancelstate(m_iBefore, nullptr); }
  CNoCancel(const CNoCancel&) = delete;
  CNoCancel& operator=(const CNoCancel&) = delete;

private:
  int m_iBefore;
};
