#include "SerialPort.h"

#include "DevicePath.h"

#include <fcntl.h>
#include <linux/major.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>
#include <cerrno>
#include <cstring>
#include <map>

namespace modem {

namespace {

const std::map<unsigned int, speed_t> kSpeeds = {
    {1200, B1200},       {2400, B2400},       {4800, B4800},       {9600, B9600},       {19200, B19200},
    {38400, B38400},     {57600, B57600},     {115200, B115200},   {230400, B230400},   {460800, B460800},
    {500000, B500000},   {576000, B576000},   {921600, B921600},   {1000000, B1000000}, {1152000, B1152000},
    {1500000, B1500000}, {2000000, B2000000}, {2500000, B2500000}, {3000000, B3000000}, {3500000, B3500000},
    {4000000, B4000000}};

bool MakeRaw(int port, unsigned int baud, const termios& before) {
  termios settings = before;
  cfmakeraw(&settings);
  settings.c_cflag |= CLOCAL | CREAD;
  settings.c_cflag &= ~static_cast<tcflag_t>(CSTOPB | CRTSCTS);
  settings.c_cc[VMIN] = 1;
  settings.c_cc[VTIME] = 0;
  cfsetspeed(&settings, kSpeeds.at(baud));
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
    case ENOTTY:
      return path + " is no modem's port. Choose another one with --device, e.g. --device /dev/ttyUSB2.";
    case EBUSY:
      return InUseText(path, FindHolder(path));
    default:
      return begin + std::strerror(code) + ". Choose another port with --device.";
  }
}

/// /dev/null and its kin, which every other program holds.
bool IsMemoryDevice(const std::string& path) {
  struct stat facts;
  return stat(path.c_str(), &facts) == 0 && S_ISCHR(facts.st_mode) && major(facts.st_rdev) == MEM_MAJOR;
}

/// "/dev/wwan0at0": no terminal, its octets go through as they are. Newer kernels pretend that it is one.
bool IsWwanPort(const std::string& path) {
  const std::string device = ResolvedPath(path);
  const std::string name = device.substr(device.find_last_of('/') + 1);
  const std::size_t number = name.find_first_not_of("0123456789", sizeof "wwan" - 1);
  return name.rfind("wwan", 0) == 0 && number != std::string::npos && name.compare(number, 2, "at") == 0;
}

/// TIOCEXCL does not keep a privileged process out, and not every program sets it: who has the port is looked up.
/// Opening would raise its lines already.
bool IsFree(const std::string& path, std::string& error) {
  const auto holder = FindHolder(path);
  if (holder) {
    error = InUseText(path, holder);
  }
  return !holder;
}

/// @param before  out: what is set on it; nothing when it is no terminal.
/// @return invalid: it cannot be opened, or is no modem's port.
CDescriptor OpenDevice(const std::string& path, std::optional<termios>& before, std::string& error) {
  CDescriptor port(open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  termios settings;
  const bool terminal = port.IsValid() && tcgetattr(port.Get(), &settings) == 0;
  const int code = errno;
  if (terminal) {
    before = settings;
  } else if (!port.IsValid() || !IsWwanPort(path)) {
    error = OpenError(path, code);
    return CDescriptor();
  }
  return port;
}

/// @return false: somebody else has a lock.
bool TakeLocks(int port, const std::string& path, const SerialSettings& settings, std::unique_ptr<CPortLock>& lock,
               std::string& error) {
  if (flock(port, LOCK_EX | LOCK_NB) != 0) {
    error = OpenError(path, EBUSY);
    return false;
  }
  PortHolder holder;
  lock = CPortLock::Take(ResolvedPath(path), settings.lockFolder, holder);
  if (!lock) {
    error = InUseText(path, holder);
  }
  return lock != nullptr;
}

}  // namespace

bool IsBaudRate(unsigned int baud) { return kSpeeds.count(baud) != 0; }

std::unique_ptr<CSerialPort> CSerialPort::Open(const std::string& path, std::string& error,
                                               const SerialSettings& settings) {
  if (!IsBaudRate(settings.baud)) {
    error = "cannot open " + path + ": no port has a speed of " + std::to_string(settings.baud) + " baud.";
    return nullptr;
  }
  if (IsMemoryDevice(path)) {
    error = OpenError(path, ENOTTY);
    return nullptr;
  }
  if (!IsFree(path, error)) {
    return nullptr;
  }
  std::optional<termios> before;
  CDescriptor port = OpenDevice(path, before, error);
  std::unique_ptr<CPortLock> lock;
  if (!port.IsValid() || !TakeLocks(port.Get(), path, settings, lock, error)) {
    return nullptr;
  }
  CDescriptor wake = MakeWake();
  if (!wake.IsValid() || (before && !MakeRaw(port.Get(), settings.baud, *before))) {
    error = OpenError(path, errno);
    return nullptr;
  }
  ioctl(port.Get(), TIOCEXCL);
  tcflush(port.Get(), TCIOFLUSH);
  return std::unique_ptr<CSerialPort>(new CSerialPort(std::move(port), std::move(wake), std::move(lock), before));
}

CSerialPort::CSerialPort(CDescriptor line, CDescriptor wake, std::unique_ptr<CPortLock> lock,
                         const std::optional<termios>& before)
    : CDescriptorStream(std::move(line), std::move(wake)), m_lock(std::move(lock)), m_before(before) {}

CSerialPort::~CSerialPort() {
  int state = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
  tcflush(Line(), TCIOFLUSH);  // else closing waits for octets that flow control holds back
  if (m_before) {
    tcsetattr(Line(), TCSANOW, &*m_before);
  }
  ioctl(Line(), TIOCNXCL);
  pthread_setcancelstate(state, nullptr);
}

ssize_t CSerialPort::WriteSome(const char* bytes, std::size_t count) { return write(Line(), bytes, count); }

}  // namespace modem
