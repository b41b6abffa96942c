// Listening, one connection, its octets.
#include "LoopbackPort.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include <utility>

namespace modem_sim {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

const std::size_t kOutputLimit = 256 * 1024;  // nobody reads: the rest is lost, as on a serial line

}  // namespace

CLoopbackPort::CLoopbackPort(asio::io_context& context) : CAsioWorld(context), m_acceptor(context), m_socket(context) {}

bool CLoopbackPort::Open(int port, std::string* error) {
  const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), static_cast<unsigned short>(port));
  boost::system::error_code failure;
  m_acceptor.open(endpoint.protocol(), failure);
  if (!failure) m_acceptor.set_option(tcp::acceptor::reuse_address(true), failure);
  if (!failure) m_acceptor.bind(endpoint, failure);
  if (!failure) m_acceptor.listen(asio::socket_base::max_listen_connections, failure);
  if (failure) {
    *error = "cannot listen on 127.0.0.1:" + std::to_string(port) + ": " + failure.message() +
             ". Choose another port, or 0 for any free one";
    m_acceptor.close(failure);
    return false;
  }
  m_iPort = m_acceptor.local_endpoint().port();
  return true;
}

void CLoopbackPort::Start(IPortUser& modem) {
  m_pModem = &modem;
  AcceptMore();
}

void CLoopbackPort::AcceptMore() {
  m_acceptor.async_accept([this](const boost::system::error_code& error, tcp::socket socket) {
    if (!m_acceptor.is_open()) return;
    if (!error && !m_socket.is_open()) Take(std::move(socket));
    AcceptMore();
  });
}

void CLoopbackPort::Take(tcp::socket socket) {
  boost::system::error_code ignored;
  m_socket = std::move(socket);
  m_socket.set_option(tcp::no_delay(true), ignored);
  ReadMore();
}

void CLoopbackPort::ReadMore() {
  const auto take = [this, life = m_uLife](const boost::system::error_code& error, std::size_t count) {
    if (life != m_uLife) return;
    if (error) {
      Drop();
      m_pModem->HangUp();
      return;
    }
    m_pModem->Receive(m_input.data(), count);
    if (life == m_uLife) ReadMore();  // a modem may pull its own line out
  };
  m_socket.async_read_some(asio::buffer(m_input), take);
}

void CLoopbackPort::Write(const std::string& bytes) {
  if (!m_socket.is_open() || m_strOutput.size() + bytes.size() > kOutputLimit) return;
  m_strOutput += bytes;
  if (m_strWriting.empty()) WriteMore();
}

void CLoopbackPort::WriteMore() {
  m_strWriting.swap(m_strOutput);
  if (m_strWriting.empty()) return;
  const auto next = [this, life = m_uLife](const boost::system::error_code& error, std::size_t) {
    m_strWriting.clear();
    if (!error || life != m_uLife) WriteMore();
  };
  asio::async_write(m_socket, asio::buffer(m_strWriting), next);
}

void CLoopbackPort::Drop() {
  boost::system::error_code ignored;
  ++m_uLife;
  m_socket.close(ignored);
  m_strOutput.clear();
}

void CLoopbackPort::Unplug() {
  boost::system::error_code ignored;
  m_acceptor.close(ignored);
  Drop();
}

bool CLoopbackPort::Plug(std::string* error) {
  if (m_acceptor.is_open()) return true;
  if (!Open(m_iPort, error)) return false;
  AcceptMore();
  return true;
}

}  // namespace modem_sim
