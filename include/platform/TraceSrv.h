// The trace: one line per call, to a private file.
#pragma once

#include "platform/PlatformExport.h"

#include <functional>
#include <string>

namespace Tracelevel {
enum TraceLevel { TL_NULL = 0, TL_CRIT = 1, TL_ERRO = 2, TL_WARN = 3, TL_INFO = 4 };
}  // namespace Tracelevel

/// Writes one line: time, level, thread, module, text. The text is data, never a format; control characters and damaged
/// UTF-8 in it are shown as escapes, so that a message cannot forge a line. Never throws, never a cancellation point,
/// keeps errno; null texts are skipped. The file is made with mode 0600 and turned over at 2 MiB, three old ones are
/// kept (".1" is the youngest); a line that cannot be written is dropped. The system has every line when the call
/// returns, so the end of the process loses none; at TL_CRIT the call waits for the disk.  [any-thread]
PLATFORM_API void TraceSrv_Trace(Tracelevel::TraceLevel enLevel, const char* pszModule, const char* pszText);

/// Opens the file if that has not been done.
/// @return empty, or why it cannot be: lines are dropped, and it is tried again later.  [any-thread]
PLATFORM_API std::string TraceSrv_CheckFile();

/// Lines above this level are dropped. Default: SMS_TRACE_LEVEL (0 to 4), else TL_ERRO.
PLATFORM_API void TraceSrv_SetLevel(Tracelevel::TraceLevel enLevel);

/// A further reader of all lines up to its own level, beside the file: tests, or a person's terminal. Called on the
/// tracing thread, with the escapes; what it traces itself reaches the file only. One at a time; an empty function
/// takes it away, but calls that have begun go on.
typedef std::function<void(Tracelevel::TraceLevel enLevel, const std::string& strModule, const std::string& strText)>
    TraceSink;
PLATFORM_API void TraceSrv_SetSink(Tracelevel::TraceLevel enUpTo, const TraceSink& fnSink);

/// Waits until every line is on the disk.
PLATFORM_API void TraceSrv_Flush();
