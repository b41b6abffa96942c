// A serial device, a pseudo-terminal or a WWAN port as the line to the modem.
#pragma once

#include "DescriptorStream.h"
#include "PortLock.h"

#include <termios.h>
#include <memory>
#include <optional>
#include <string>

namespace modem {

struct SerialSettings {
  unsigned int baud = 115200;
  std::string lockFolder = "/var/lock";  // for lock files in the UUCP manner; they are optional
};

/// Whether the system knows that speed.
bool IsBaudRate(unsigned int baud);

class CSerialPort : public CDescriptorStream {
public:
  /// Opens the port for this process alone, 8 bits, no parity, no flow control by characters. A port that another
  /// program has open is left alone. What was set on the port before is set again at the end.
  /// @param error  out: one line for a person that names the port, the cause and what to do, when the result is null.
  static std::unique_ptr<CSerialPort> Open(const std::string& path, std::string& error,
                                           const SerialSettings& settings = SerialSettings());
  ~CSerialPort() override;
  CSerialPort(const CSerialPort&) = delete;
  CSerialPort& operator=(const CSerialPort&) = delete;

private:
  CSerialPort(CDescriptor line, CDescriptor wake, std::unique_ptr<CPortLock> lock,
              const std::optional<termios>& before);
  ssize_t WriteSome(const char* bytes, std::size_t count) override;

  const std::unique_ptr<CPortLock> m_lock;
  const std::optional<termios> m_before;  // of a terminal
};

}  // namespace modem
