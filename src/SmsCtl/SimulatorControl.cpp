#include "SimulatorControl.h"

#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>

namespace smsctl {

namespace {

/// A connection to a Unix socket.
class CConnection {
public:
  explicit CConnection(const std::string& path) : m_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    m_open = path.size() < sizeof address.sun_path;
    if (m_open) {
      std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
      m_open = connect(m_fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    } else {
      errno = ENAMETOOLONG;
    }
  }
  ~CConnection() { close(m_fd); }
  CConnection(const CConnection&) = delete;
  CConnection& operator=(const CConnection&) = delete;

  bool WriteLine(const std::string& line) const {
    const std::string octets = line + "\n";
    return m_open && send(m_fd, octets.data(), octets.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(octets.size());
  }
  bool ReadLine(std::string& line) const {
    char octet = 0;
    while (recv(m_fd, &octet, 1, 0) == 1 && octet != '\n') {
      line += octet;
    }
    return octet == '\n';
  }

private:
  const int m_fd;
  bool m_open = false;
};

}  // namespace

bool CSimulatorControl::Do(const std::string& request, std::string& error) const {
  const CConnection connection(m_path);
  std::string line;
  if (!connection.WriteLine(request) || !connection.ReadLine(line)) {
    error = "the simulated modem cannot be asked at " + m_path + ": " + std::strerror(errno);
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
