// The control socket: a Unix socket on which CControl answers, line by line.
#pragma once

#include "Control.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>

#include <string>

namespace modem_sim {

/// Any number of clients, each served in the order of its lines. Only the owner of the process can connect.
/// Threads: the one that runs the io_context.
class CControlSocket {
public:
  /// Longest request; a longer one is answered with an error and left out.
  static const std::size_t kLineLimit = 1024 * 1024;

  /// @param control  must outlive the running of the io_context.
  CControlSocket(boost::asio::io_context& context, CControl& control);
  /// Removes the file.
  ~CControlSocket();
  CControlSocket(const CControlSocket&) = delete;
  CControlSocket& operator=(const CControlSocket&) = delete;

  /// Makes the socket; one that a killed modem left behind is replaced.
  /// @return false: *error says why.
  bool Open(const std::string& path, std::string* error);

private:
  void AcceptMore();

  boost::asio::io_context& m_context;
  CControl& m_control;
  boost::asio::local::stream_protocol::acceptor m_acceptor;
  std::string m_strPath;
};

}  // namespace modem_sim
