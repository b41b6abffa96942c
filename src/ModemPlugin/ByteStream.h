// The line to the modem, as the dialogue sees it.
#pragma once

#include <string>

namespace modem {

/// Threads: Read on one thread, Write on another; Close on any, after which both fail.
class IByteStream {
public:
  virtual ~IByteStream() {}
  /// Waits for bytes and appends them.
  /// @return false: the line is gone or closed.
  virtual bool Read(std::string& bytes) = 0;
  /// @return false: not everything could be written; the line is gone.
  virtual bool Write(const std::string& bytes) = 0;
  /// Wakes a waiting Read.
  virtual void Close() = 0;
};

}  // namespace modem
