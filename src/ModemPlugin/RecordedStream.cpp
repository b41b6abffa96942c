#include "RecordedStream.h"

#include "Lines.h"
#include "platform/JClock.h"

#include <fcntl.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <utility>

namespace modem {

std::unique_ptr<IByteStream> CRecordedStream::Make(std::unique_ptr<IByteStream>& line, const std::string& path,
                                                   bool masked, std::string& error) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  File file(fd < 0 ? nullptr : fdopen(fd, "a"));
  if (file == nullptr) {
    error = "the dialogue cannot be recorded in \"" + path + "\": " + std::strerror(errno);
    if (fd >= 0) {
      close(fd);
    }
    return nullptr;
  }
  return std::unique_ptr<IByteStream>(new CRecordedStream(std::move(line), std::move(file), masked));
}

CRecordedStream::CRecordedStream(std::unique_ptr<IByteStream> line, File file, bool masked)
    : m_pLine(std::move(line)),
      m_pFile(std::move(file)),
      m_llStartMs(JClock::MonotonicMs()),
      m_recorder(masked, [this](const std::string& each) { Keep(each); }) {}

CRecordedStream::~CRecordedStream() {
  m_recorder.End(false);
  m_recorder.End(true);
}

void CRecordedStream::Keep(const std::string& line) {
  if (m_bKept && (std::fprintf(m_pFile.get(), "%s\n", line.c_str()) < 0 || std::fflush(m_pFile.get()) != 0)) {
    m_bKept = false;  // a full disk costs the record, never the modem
    TraceGraveFault(std::string("the record of the dialogue ends early: ") + std::strerror(errno));
  }
}

void CRecordedStream::Take(const std::string& bytes, bool fromModem) {
  const std::lock_guard<std::mutex> guard(m_lock);
  m_recorder.Take(bytes, fromModem, static_cast<DWORD>(JClock::MonotonicMs() - m_llStartMs));
}

bool CRecordedStream::Read(std::string& bytes) {
  const std::size_t before = bytes.size();
  const bool open = m_pLine->Read(bytes);
  Take(bytes.substr(before), true);
  return open;
}

bool CRecordedStream::Write(const std::string& bytes) {
  Take(bytes, false);  // before the modem can answer
  return m_pLine->Write(bytes);
}

std::unique_ptr<IByteStream> CRecording::Begin(std::unique_ptr<IByteStream> line, const std::string& path, bool masked,
                                               std::string& error) {
  std::string cause;
  auto recorded = CRecordedStream::Make(line, path, masked, cause);
  if (recorded != nullptr) {
    m_bBegun = true;
    m_bTold = false;
    return recorded;
  }
  if (!m_bBegun) {
    error = cause;
    return nullptr;
  }
  if (!std::exchange(m_bTold, true)) {
    TraceGraveFault("the record of the dialogue ends early: " + cause);
  }
  return line;
}

}  // namespace modem
