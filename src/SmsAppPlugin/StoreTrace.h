// Trace lines of the stores, and work that must not throw.
#pragma once

#include "CatchAll.h"
#include "platform/TraceSrv.h"

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
