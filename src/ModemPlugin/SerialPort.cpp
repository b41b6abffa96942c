#include "SerialPort.h"

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <fstream>

namespace modem {

namespace {

const int kWriteLimitMs = 10000;

std::string NameOfProcess(const std::string& pid) {
  std::ifstream file("/proc/" + pid + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

bool HasOpen(const std::string& pid, const std::string& device) {
  const std::string folder = "/proc/" + pid + "/fd";
  DIR* const entries = opendir(folder.c_str());
  if (entries == nullptr) {
    return false;
  }
  bool found = false;
  while (const dirent* const entry = found ? nullptr : readdir(entries)) {
    char target[256] = {};
    const ssize_t length = readlink((folder + "/" + entry->d_name).c_str(), target, sizeof target - 1);
    found = length > 0 && device == target;
  }
  closedir(entries);
  return found;
}

/// " by NAME (pid N)" when the system tells who has the port open, else empty.
std::string Holder(const std::string& path) {
  char resolved[4096] = {};
  if (realpath(path.c_str(), resolved) == nullptr) {
    return std::string();
  }
  DIR* const processes = opendir("/proc");
  std::string holder;
  while (const dirent* const entry = processes == nullptr || !holder.empty() ? nullptr : readdir(processes)) {
    const std::string pid = entry->d_name;
    const bool other = pid.find_first_not_of("0123456789") == std::string::npos && pid != std::to_string(getpid());
    if (other && HasOpen(pid, resolved)) {
      holder = " by " + NameOfProcess(pid) + " (pid " + pid + ")";
    }
  }
  if (processes != nullptr) {
    closedir(processes);
  }
  return holder;
}

bool MakeRaw(int port) {
  termios settings;
  if (tcgetattr(port, &settings) != 0) {
    return false;
  }
  cfmakeraw(&settings);
  settings.c_cflag |= CLOCAL | CREAD;
  settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  cfsetspeed(&settings, B115200);
  return tcsetattr(port, TCSANOW, &settings) == 0;
}

std::string OpenError(const std::string& path, int code) {
  const std::string begin = "cannot open " + path + ": ";
  switch (code) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
      return begin +
             "there is no such port. Plug the modem in, or name its port with --device, e.g. --device /dev/ttyUSB2.";
    case EACCES:
      return begin + "permission denied. Add your user to the group that owns the port (dialout on most systems).";
    case EBUSY:
      return begin + "in use" + Holder(path) + ". End that program, or choose another port with --device.";
    default:
      return begin + std::strerror(code) + ". Choose another port with --device.";
  }
}

}  // namespace

std::unique_ptr<CSerialPort> CSerialPort::Open(const std::string& path, std::string& error) {
  const int port = open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (port < 0) {
    error = OpenError(path, errno);
    return nullptr;
  }
  if (isatty(port) == 0) {
    error = path + " is no modem's port. Choose another one with --device, e.g. --device /dev/ttyUSB2.";
    close(port);
    return nullptr;
  }
  if (flock(port, LOCK_EX | LOCK_NB) != 0) {
    error = OpenError(path, EBUSY);
    close(port);
    return nullptr;
  }
  ioctl(port, TIOCEXCL);
  const int wake = MakeRaw(port) ? eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK) : -1;
  if (wake < 0) {
    error = OpenError(path, errno);
    ioctl(port, TIOCNXCL);
    close(port);
    return nullptr;
  }
  tcflush(port, TCIOFLUSH);
  return std::unique_ptr<CSerialPort>(new CSerialPort(port, wake));
}

CSerialPort::CSerialPort(int port, int wake) : m_iPort(port), m_iWake(wake) {}

/// Whoever lets go of the port last may be cancelled in close(), where no unwinding is possible.
CSerialPort::~CSerialPort() {
  int state = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
  tcflush(m_iPort, TCIOFLUSH);  // else closing waits for octets that flow control holds back
  ioctl(m_iPort, TIOCNXCL);
  close(m_iPort);
  close(m_iWake);
  pthread_setcancelstate(state, nullptr);
}

bool CSerialPort::Read(std::string& bytes) {
  pollfd descriptors[] = {{m_iPort, POLLIN, 0}, {m_iWake, POLLIN, 0}};
  while (!m_bClosed) {
    if (poll(descriptors, 2, -1) < 0 || descriptors[0].revents == 0) {
      continue;  // a signal, or closed
    }
    char buffer[4096];
    const ssize_t count = read(m_iPort, buffer, sizeof buffer);
    if (count > 0) {
      bytes.append(buffer, static_cast<std::size_t>(count));
      return true;
    }
    if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
      return false;
    }
  }
  return false;
}

bool CSerialPort::Write(const std::string& bytes) {
  std::size_t written = 0;
  while (written < bytes.size()) {
    if (m_bClosed) {
      return false;
    }
    const ssize_t count = write(m_iPort, bytes.data() + written, bytes.size() - written);
    if (count > 0) {
      written += static_cast<std::size_t>(count);
      continue;
    }
    if (count < 0 && errno != EAGAIN && errno != EINTR) {
      return false;
    }
    pollfd descriptors[] = {{m_iPort, POLLOUT, 0}, {m_iWake, POLLIN, 0}};
    const int ready = poll(descriptors, 2, kWriteLimitMs);
    if (ready == 0 || (ready < 0 && errno != EINTR) || descriptors[1].revents != 0) {
      return false;
    }
  }
  return true;
}

void CSerialPort::Close() {
  m_bClosed = true;
  const std::uint64_t one = 1;
  while (write(m_iWake, &one, sizeof one) < 0 && errno == EINTR) {
  }
}

}  // namespace modem
