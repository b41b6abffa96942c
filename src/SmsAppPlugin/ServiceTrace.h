// The service's trace lines: one level, one module.
#pragma once

#include "platform/TraceSrv.h"

inline void ServiceTrace(const char* pszText) { TraceSrv_Trace(Tracelevel::TL_ERRO, "SMSSERVICE", pszText); }
