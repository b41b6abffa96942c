#include "DevicePath.h"

#include "Descriptor.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

namespace modem {

std::string LinkTarget(const std::string& link) {
  char target[PATH_MAX];
  const ssize_t length = readlink(link.c_str(), target, sizeof target);
  return length < 0 ? std::string() : std::string(target, static_cast<std::size_t>(length));
}

/// As /proc names the files that processes have open, so that both can be compared.
std::string ResolvedPath(const std::string& path) {
  const CDescriptor place(open(path.c_str(), O_PATH | O_CLOEXEC));
  return place.IsValid() ? LinkTarget("/proc/self/fd/" + std::to_string(place.Get())) : std::string();
}

}  // namespace modem
