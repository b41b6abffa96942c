// The trace: one line per call, to a private file.
#pragma once

#include "platform/PlatformExport.h"

#include <functional>
#include <string>

namespace Tracelevel {
enum TraceLevel { TL_NULL = 0, TL_CRIT = 1, TL_ERRO = 2, TL_WARN = 3, TL_INFO = 4 };
}  // namespace Tracelevel

/// Writes one line: time, level, module, text. The text is data, never a format; control characters in it are shown as
/// escapes, so that a message cannot forge a line. Never throws, never a cancellation point; null texts are skipped.
/// The file is made with mode 0600 and turned over at a size limit. Lines reach the disk at TL_CRIT at once, otherwise
/// within a second and at the end.  [any-thread]
PLATFORM_API void TraceSrv_Trace(Tracelevel::TraceLevel enLevel, const char* pszModule, const char* pszText);

/// Lines above this level are dropped. Default: TL_ERRO.
PLATFORM_API void TraceSrv_SetLevel(Tracelevel::TraceLevel enLevel);

/// A further reader of all lines up to its own level, beside the file: tests, or a person's terminal. Called on the
/// tracing thread; it must not trace. One at a time; an empty function takes it away.
typedef std::function<void(Tracelevel::TraceLevel enLevel, const std::string& strModule, const std::string& strText)>
    TraceSink;
PLATFORM_API void TraceSrv_SetSink(Tracelevel::TraceLevel enUpTo, const TraceSink& fnSink);

/// Writes out what is buffered.
PLATFORM_API void TraceSrv_Flush();
