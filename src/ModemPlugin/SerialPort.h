// A serial device or a pseudo-terminal as the line to the modem.
#pragma once

#include "ByteStream.h"

#include <atomic>
#include <memory>
#include <string>

namespace modem {

class CSerialPort : public IByteStream {
public:
  /// Opens the port for this process alone, 8 bits, no parity, no flow control by characters.
  /// @param error  out: one line for a person that names the port, the cause and what to do, when the result is null.
  static std::unique_ptr<CSerialPort> Open(const std::string& path, std::string& error);
  ~CSerialPort() override;
  CSerialPort(const CSerialPort&) = delete;
  CSerialPort& operator=(const CSerialPort&) = delete;

  bool Read(std::string& bytes) override;
  bool Write(const std::string& bytes) override;
  void Close() override;

private:
  CSerialPort(int port, int wake);

  const int m_iPort;
  const int m_iWake;  // an event descriptor: readable once closed
  std::atomic<bool> m_bClosed{false};
};

}  // namespace modem
