#include "PortLock.h"

#include "Descriptor.h"

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fstream>

namespace modem {

namespace {

enum class Made { kYes, kTaken, kImpossible };

/// The process that a lock file names; 0 when it names none.
int ProcessIn(const std::string& file) {
  std::ifstream stream(file);
  int pid = 0;
  return stream >> pid && pid > 0 ? pid : 0;
}

bool IsAlive(int pid) { return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM); }

bool WriteProcess(const std::string& file) {
  char text[16];
  const int length = std::snprintf(text, sizeof text, "%10d\n", static_cast<int>(getpid()));
  const CDescriptor descriptor(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0644));
  return descriptor.IsValid() && write(descriptor.Get(), text, static_cast<std::size_t>(length)) == length;
}

/// Nobody sees the file before its content is there.
Made Make(const std::string& file, const std::string& temporary) {
  unlink(temporary.c_str());
  if (!WriteProcess(temporary)) {
    unlink(temporary.c_str());
    return Made::kImpossible;
  }
  const bool made = link(temporary.c_str(), file.c_str()) == 0;
  const bool taken = !made && errno == EEXIST;
  unlink(temporary.c_str());
  return made ? Made::kYes : taken ? Made::kTaken : Made::kImpossible;
}

/// "ttyUSB2", "pts_3"
std::string LockNameOf(const std::string& device) {
  const std::string kFolder = "/dev/";
  std::string name = device.rfind(kFolder, 0) == 0 ? device.substr(kFolder.size()) : device;
  std::replace(name.begin(), name.end(), '/', '_');
  return name;
}

}  // namespace

std::unique_ptr<CPortLock> CPortLock::Take(const std::string& device, const std::string& folder, PortHolder& holder) {
  const std::string name = LockNameOf(device);
  const std::string file = folder + "/LCK.." + name;
  const std::string temporary = folder + "/LTMP." + std::to_string(getpid()) + "." + name;
  Made made = Make(file, temporary);
  if (made == Made::kTaken) {
    const int pid = ProcessIn(file);
    if (pid != getpid() && IsAlive(pid)) {
      holder = {pid, NameOfProcess(pid)};
      return nullptr;
    }
    made = unlink(file.c_str()) == 0 ? Make(file, temporary) : Made::kImpossible;
  }
  return std::unique_ptr<CPortLock>(new CPortLock(made == Made::kYes ? file : std::string()));
}

CPortLock::~CPortLock() {
  if (!m_strFile.empty() && ProcessIn(m_strFile) == getpid()) {
    unlink(m_strFile.c_str());
  }
}

}  // namespace modem
