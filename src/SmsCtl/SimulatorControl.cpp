#include "SimulatorControl.h"

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace smsctl {

namespace {

const char kClosed[] = "it has closed the connection";

/// A connection to a Unix socket.
class CConnection {
public:
  explicit CConnection(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) {
      m_fault = std::strerror(ENAMETOOLONG);
      return;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
    if (m_fd < 0 || connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
      m_fault = std::strerror(errno);
    }
  }
  ~CConnection() {
    if (m_fd >= 0) close(m_fd);
  }
  CConnection(const CConnection&) = delete;
  CConnection& operator=(const CConnection&) = delete;

  bool WriteLine(const std::string& line) {
    const std::string octets = line + "\n";
    for (std::size_t sent = 0; m_fault.empty() && sent < octets.size();) {
      const ssize_t count = send(m_fd, octets.data() + sent, octets.size() - sent, MSG_NOSIGNAL);
      if (count < 0) m_fault = std::strerror(errno);
      sent += count < 0 ? 0 : static_cast<std::size_t>(count);
    }
    return m_fault.empty();
  }
  bool ReadLine(std::string& line) {
    for (char octet = 0; m_fault.empty();) {
      const ssize_t count = recv(m_fd, &octet, 1, 0);
      if (count <= 0) m_fault = count < 0 ? std::strerror(errno) : kClosed;
      if (count == 1 && octet == '\n') return true;
      line += octet;
    }
    return false;
  }
  /// Why the last operation did nothing.
  const std::string& Fault() const { return m_fault; }

private:
  const int m_fd;
  std::string m_fault;
};

}  // namespace

bool CSimulatorControl::Do(const std::string& request, std::string& error) const {
  CConnection connection(m_path);
  std::string line;
  if (!connection.WriteLine(request) || !connection.ReadLine(line)) {
    error = "the simulated modem cannot be asked at " + m_path + ": " + connection.Fault();
    return false;
  }
  const nlohmann::json answer = nlohmann::json::parse(line, nullptr, false);
  if (!answer.is_object() || answer.value("ok", false) != true) {
    error = "the simulated modem answers " + line;
    return false;
  }
  return true;
}

}  // namespace smsctl
