// The trace: one line per call.
#include "platform/TraceSrv.h"

#include "ClockState.h"
#include "NoCancel.h"
#include "TraceFile.h"
#include "Utf.h"

#include <sys/syscall.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <string_view>

namespace {

const std::size_t kMaxText = 16384;  // bytes of one text that reach the file

int LevelFromEnvironment() {
  const char* const pszLevel = std::getenv("SMS_TRACE_LEVEL");
  const bool bGiven = pszLevel != nullptr && pszLevel[0] >= '0' && pszLevel[0] <= '4' && pszLevel[1] == 0;
  return bGiven ? pszLevel[0] - '0' : Tracelevel::TL_ERRO;
}

/// Never destroyed: threads may outlive static objects.
struct Trace {
  std::atomic<int> iFileLevel{LevelFromEnvironment()};
  std::atomic<int> iSinkLevel{Tracelevel::TL_NULL};
  CTraceFile file;
  std::mutex lock;
  std::shared_ptr<const TraceSink> pSink;  // guarded by lock; called outside it

  static Trace& Instance() {
    static Trace* const pTrace = new Trace;
    return *pTrace;
  }
};

/// What a call of the trace must leave as it was.
class CQuietly {
public:
  CQuietly() : m_iError(errno) {}
  ~CQuietly() { errno = m_iError; }
  CQuietly(const CQuietly&) = delete;
  CQuietly& operator=(const CQuietly&) = delete;

private:
  const int m_iError;
  const CNoCancel m_noCancel;
};

/// Control characters, line and paragraph separators and bytes that are not UTF-8 would let a text move a terminal's
/// cursor or pass for a line of its own.
bool IsPlain(const utf::Step& step) {
  const char32_t value = step.value;
  const bool bControl = value < 0x20 || (value >= 0x7F && value < 0xA0) || value == 0x2028 || value == 0x2029;
  return step.bValid && !bControl;
}

void AppendEscape(std::string& strOut, std::string_view piece, const utf::Step& step) {
  char szEscape[16];
  if (step.bValid && step.value >= 0x80) {
    std::snprintf(szEscape, sizeof(szEscape), "\\u%04x", static_cast<unsigned int>(step.value));
    strOut += szEscape;
    return;
  }
  for (const char ch : piece) {
    switch (ch) {
      case '\n':
        strOut += "\\n";
        break;
      case '\r':
        strOut += "\\r";
        break;
      case '\t':
        strOut += "\\t";
        break;
      default:
        std::snprintf(szEscape, sizeof(szEscape), "\\x%02x", static_cast<unsigned int>(static_cast<unsigned char>(ch)));
        strOut += szEscape;
    }
  }
}

std::string Escaped(std::string_view text) {
  std::string strOut;
  strOut.reserve(text.size());
  while (!text.empty()) {
    const utf::Step step = utf::Utf8Step(text);
    if (IsPlain(step)) {
      strOut.append(text.data(), step.length);
    } else {
      AppendEscape(strOut, text.substr(0, step.length), step);
    }
    text.remove_prefix(step.length);
  }
  return strOut;
}

/// "2024-05-01 12:34:56.789+0200 ERRO [4711] "
std::string LineHead(int iLevel) {
  static const char* const kNames[] = {"NULL", "CRIT", "ERRO", "WARN", "INFO"};
  static thread_local const long lThread = syscall(SYS_gettid);
  const std::int64_t iMs = platform_clock::CalendarMs();
  const std::time_t tNow = static_cast<std::time_t>(platform_clock::FloorDivide(iMs, 1000));
  std::tm fields = {};
  localtime_r(&tNow, &fields);
  char szDate[32];
  char szZone[8];
  std::strftime(szDate, sizeof(szDate), "%Y-%m-%d %H:%M:%S", &fields);
  std::strftime(szZone, sizeof(szZone), "%z", &fields);
  char szHead[96];
  std::snprintf(szHead, sizeof(szHead), "%s.%03d%s %s [%ld] ", szDate, static_cast<int>(iMs - tNow * 1000), szZone,
                kNames[iLevel], lThread);
  return szHead;
}

void WriteLine(Trace& trace, int iLevel, const std::string& strModule, const std::string& strText) {
  std::string strLine = LineHead(iLevel);
  strLine += strModule;
  strLine += ": ";
  strLine.append(strText, 0, kMaxText);
  strLine += strText.size() > kMaxText ? "...\n" : "\n";
  trace.file.Write(strLine, iLevel == Tracelevel::TL_CRIT);
}

void CallSink(Trace& trace, int iLevel, const std::string& strModule, const std::string& strText) {
  static thread_local bool t_bInSink = false;
  std::shared_ptr<const TraceSink> pSink;
  {
    const std::lock_guard<std::mutex> guard(trace.lock);
    pSink = trace.pSink;
  }
  if (pSink == nullptr || t_bInSink) {
    return;  // a sink that traces would never end
  }
  struct CInside {
    CInside() { t_bInSink = true; }
    ~CInside() { t_bInSink = false; }
  } const inside;
  (*pSink)(static_cast<Tracelevel::TraceLevel>(iLevel), strModule, strText);
}

}  // namespace

void TraceSrv_Trace(Tracelevel::TraceLevel enLevel, const char* pszModule, const char* pszText) {
  Trace& trace = Trace::Instance();
  const int iLevel = enLevel;
  const bool bToFile = iLevel <= trace.iFileLevel.load(std::memory_order_relaxed);
  const bool bToSink = iLevel <= trace.iSinkLevel.load(std::memory_order_acquire);
  if (pszText == nullptr || iLevel <= Tracelevel::TL_NULL || iLevel > Tracelevel::TL_INFO || (!bToFile && !bToSink)) {
    return;
  }
  const CQuietly quietly;
  try {
    const std::string strModule = Escaped(pszModule == nullptr ? "" : pszModule);
    const std::string strText = Escaped(pszText);
    if (bToFile) {
      WriteLine(trace, iLevel, strModule, strText);
    }
    if (bToSink) {
      CallSink(trace, iLevel, strModule, strText);
    }
  } catch (...) {
    // no memory, or a sink that throws: the line is lost, the program goes on; cancellation is off
  }
}

std::string TraceSrv_CheckFile() {
  const CQuietly quietly;
  return Trace::Instance().file.Check();
}

void TraceSrv_SetLevel(Tracelevel::TraceLevel enLevel) { Trace::Instance().iFileLevel = enLevel; }

void TraceSrv_SetSink(Tracelevel::TraceLevel enUpTo, const TraceSink& fnSink) {
  Trace& trace = Trace::Instance();
  std::shared_ptr<const TraceSink> pSink = fnSink ? std::make_shared<const TraceSink>(fnSink) : nullptr;
  const int iLevel = fnSink ? enUpTo : Tracelevel::TL_NULL;
  {
    const std::lock_guard<std::mutex> guard(trace.lock);
    trace.pSink.swap(pSink);
    trace.iSinkLevel.store(iLevel, std::memory_order_release);
  }
}

void TraceSrv_Flush() {
  const CQuietly quietly;
  Trace::Instance().file.Sync();
}
