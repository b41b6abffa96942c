// Connections of the control socket.
#include "ControlSocket.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/write.hpp>

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <utility>

namespace modem_sim {
namespace {

namespace asio = boost::asio;
typedef asio::local::stream_protocol Protocol;

const char kTooLong[] = "{\"error\":\"the line is longer than a request may be\",\"ok\":false}";

/// Lives as long as it reads or writes.
class CConnection : public std::enable_shared_from_this<CConnection> {
public:
  CConnection(Protocol::socket socket, CControl& control) : m_socket(std::move(socket)), m_control(control) {}

  void ReadMore() {
    m_socket.async_read_some(asio::buffer(m_input), [self = shared_from_this()](const auto& error, std::size_t count) {
      if (error) return;
      self->Take(count);
      self->Reply();
    });
  }

private:
  void Take(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      if (m_input[i] == '\n') {
        TakeLine();
      } else if (m_strLine.size() < CControlSocket::kLineLimit) {
        m_strLine += m_input[i];
      } else {
        m_bTooLong = true;
      }
    }
  }

  void TakeLine() {
    const std::string line = std::exchange(m_strLine, std::string());
    const bool tooLong = std::exchange(m_bTooLong, false);
    if (line.find_first_not_of(" \t\r") == std::string::npos) return;
    m_strOutput += (tooLong ? kTooLong : m_control.Answer(line)) + '\n';
  }

  /// Reads on only when the client has taken its answers.
  void Reply() {
    asio::async_write(m_socket, asio::buffer(m_strOutput), [self = shared_from_this()](const auto& error, std::size_t) {
      self->m_strOutput.clear();
      if (!error) self->ReadMore();
    });
  }

  Protocol::socket m_socket;
  CControl& m_control;
  std::array<char, 4096> m_input{};
  std::string m_strLine;
  bool m_bTooLong = false;
  std::string m_strOutput;
};

/// Whether somebody answers there.
bool InUse(asio::io_context& context, const Protocol::endpoint& endpoint) {
  boost::system::error_code error;
  Protocol::socket probe(context);
  probe.connect(endpoint, error);
  return !error;
}

}  // namespace

CControlSocket::CControlSocket(asio::io_context& context, CControl& control)
    : m_context(context), m_control(control), m_acceptor(context) {}

CControlSocket::~CControlSocket() {
  if (!m_strPath.empty()) unlink(m_strPath.c_str());
}

bool CControlSocket::Open(const std::string& path, std::string* error) {
  const std::string what = "cannot make the control socket " + path + ": ";
  const std::size_t longest = 107;  // sun_path of unix(7)
  if (path.empty() || path.size() > longest) {
    *error = what + "a path has 1 to 107 characters. Choose a shorter one";
    return false;
  }
  const Protocol::endpoint endpoint(path);
  struct stat status;
  if (lstat(path.c_str(), &status) == 0) {
    if (!S_ISSOCK(status.st_mode)) {
      *error = what + "there is a file that is no socket. Remove it, or choose another path";
      return false;
    }
    if (InUse(m_context, endpoint)) {
      *error = what + "another program uses it. End that, or choose another path";
      return false;
    }
    unlink(path.c_str());
  }
  boost::system::error_code failure;
  m_acceptor.open(endpoint.protocol(), failure);
  const mode_t before = umask(0177);
  if (!failure) m_acceptor.bind(endpoint, failure);
  umask(before);
  if (!failure) m_strPath = path;
  if (!failure) m_acceptor.listen(asio::socket_base::max_listen_connections, failure);
  if (failure) {
    *error = what + failure.message();
    return false;
  }
  AcceptMore();
  return true;
}

void CControlSocket::AcceptMore() {
  m_acceptor.async_accept([this](const boost::system::error_code& error, Protocol::socket socket) {
    if (error == asio::error::operation_aborted) return;
    if (!error) std::make_shared<CConnection>(std::move(socket), m_control)->ReadMore();
    AcceptMore();
  });
}

}  // namespace modem_sim
