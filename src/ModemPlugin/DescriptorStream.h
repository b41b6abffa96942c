// A line behind a file descriptor, read and written with poll.
#pragma once

#include "ByteStream.h"
#include "Descriptor.h"

#include <atomic>

namespace modem {

class CDescriptorStream : public IByteStream {
public:
  bool Read(std::string& bytes) override;
  bool Write(const std::string& bytes) override;
  void Close() override;

protected:
  /// @param line  opened without blocking.
  /// @param wake  of MakeWake().
  CDescriptorStream(CDescriptor line, CDescriptor wake) : m_line(std::move(line)), m_wake(std::move(wake)) {}
  /// Invalid, with errno, when the system has no more descriptors.
  static CDescriptor MakeWake();
  int Line() const { return m_line.Get(); }

private:
  virtual ssize_t WriteSome(const char* bytes, std::size_t count) = 0;

  const CDescriptor m_line;
  const CDescriptor m_wake;  // an event descriptor: readable once closed
  std::atomic<bool> m_bClosed{false};
};

}  // namespace modem
