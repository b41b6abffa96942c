// A modem behind a TCP connection: a serial-port server, or the simulated modem.
#pragma once

#include "DescriptorStream.h"

#include <memory>
#include <string>

namespace modem {

class CTcpPort : public CDescriptorStream {
public:
  /// Connects within 5 s beside the look-up of the name; a peer that falls silent counts as gone after 30 s.
  /// @param error  out: one line for a person that names the peer, the cause and what to do, when the result is null.
  static std::unique_ptr<CTcpPort> Open(const std::string& host, const std::string& port, std::string& error);

private:
  using CDescriptorStream::CDescriptorStream;
  ssize_t WriteSome(const char* bytes, std::size_t count) override;
};

}  // namespace modem
