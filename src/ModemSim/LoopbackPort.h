// The port of a simulated modem as a TCP server on this computer: raw octets, as a serial-port server gives them.
#pragma once

#include "AsioWorld.h"

#include <boost/asio/ip/tcp.hpp>

#include <array>
#include <string>

namespace modem_sim {

/// One client at a time; a second one is turned away. A client that leaves is a closed port. Threads and life as
/// CPtyPort.
class CLoopbackPort : public CAsioWorld {
public:
  explicit CLoopbackPort(boost::asio::io_context& context);

  /// @param port  0: any free one.
  /// @return false: *error says why.
  bool Open(int port, std::string* error);
  /// "tcp:127.0.0.1:7000"
  std::string Path() const { return "tcp:127.0.0.1:" + std::to_string(m_iPort); }
  void Start(IPortUser& modem);

  void Write(const std::string& bytes) override;
  void Unplug() override;
  bool Plug(std::string* error) override;

private:
  void AcceptMore();
  void Take(boost::asio::ip::tcp::socket socket);
  void ReadMore();
  void WriteMore();
  void Drop();

  boost::asio::ip::tcp::acceptor m_acceptor;
  boost::asio::ip::tcp::socket m_socket;
  int m_iPort = 0;
  std::uint64_t m_uLife = 0;  // tells late completions from those of the current client
  IPortUser* m_pModem = nullptr;
  std::array<char, 1024> m_input{};
  std::string m_strOutput;   // not yet handed to the system
  std::string m_strWriting;  // being handed to it
};

}  // namespace modem_sim
