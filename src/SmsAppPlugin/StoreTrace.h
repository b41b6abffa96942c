// Trace lines of the stores, and work that must not throw or be unwound.
#pragma once

#include "CatchAll.h"
#include "platform/TraceSrv.h"

#include <pthread.h>

inline void TraceStore(const char* pszText) { TraceSrv_Trace(Tracelevel::TL_ERRO, "SMSSERVICE", pszText); }

/// Runs an operation of a store; an exception gives -1 and one line.
template <class Work>
long RunQuietly(const char* pszOperation, Work&& work) {
  try {
    return work();
  }
  SMS_LET_CANCELLATION_PASS catch (...) {
    TraceSrv_Trace(Tracelevel::TL_ERRO, "SMSSERVICE", pszOperation);
    return -1;
  }
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
