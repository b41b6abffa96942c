// Small things about lines: of the modem and of the trace.
#pragma once

#include "platform/TraceSrv.h"

#include <string>

namespace modem {

inline bool StartsWith(const std::string& line, const char* prefix) { return line.rfind(prefix, 0) == 0; }

inline void TraceFault(const std::string& text) { TraceSrv_Trace(Tracelevel::TL_ERRO, "MODEM", text.c_str()); }

/// What only a person can mend: it reaches the terminal too.
inline void TraceGraveFault(const std::string& text) { TraceSrv_Trace(Tracelevel::TL_CRIT, "MODEM", text.c_str()); }

}  // namespace modem
