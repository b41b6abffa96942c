#include "PortHolder.h"

#include "DevicePath.h"

#include <dirent.h>
#include <unistd.h>
#include <charconv>
#include <fstream>
#include <memory>

namespace modem {

namespace {

struct CloseFolder {
  void operator()(DIR* folder) const { closedir(folder); }
};
typedef std::unique_ptr<DIR, CloseFolder> Folder;

/// @return 0: the name is no process.
int ProcessOf(const std::string& name) {
  int pid = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data(), end, pid);
  return error == std::errc() && stop == end ? pid : 0;
}

/// Whoever made a pseudo-terminal keeps both its ends open; it serves the port and does not use it.
bool MakesTerminals(const std::string& target) { return target == "/dev/ptmx" || target == "/dev/pts/ptmx"; }

/// Has the device open to use it.
bool HasOpen(int pid, const std::string& device) {
  const std::string path = "/proc/" + std::to_string(pid) + "/fd";
  const Folder entries(opendir(path.c_str()));
  bool found = false;
  while (const dirent* const entry = entries ? readdir(entries.get()) : nullptr) {
    const std::string target = LinkTarget(path + "/" + entry->d_name);
    if (MakesTerminals(target)) {
      return false;
    }
    found = found || target == device;
  }
  return found;
}

/// What to do about the programs that commonly hold modems.
std::string WayOut(const PortHolder& holder) {
  if (holder.name == "ModemManager") {
    return "Stop it (systemctl stop ModemManager), keep it off with the udev rule of packaging/udev";
  }
  return "End that program (kill " + std::to_string(holder.pid) + ")";
}

}  // namespace

std::string NameOfProcess(int pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

std::optional<PortHolder> FindHolder(const std::string& path) {
  const std::string device = ResolvedPath(path);
  const Folder processes(device.empty() ? nullptr : opendir("/proc"));
  while (const dirent* const entry = processes ? readdir(processes.get()) : nullptr) {
    const int pid = ProcessOf(entry->d_name);
    if (pid > 0 && pid != getpid() && HasOpen(pid, device)) {
      return PortHolder{pid, NameOfProcess(pid)};
    }
  }
  return std::nullopt;
}

std::string InUseText(const std::string& path, const std::optional<PortHolder>& holder) {
  const std::string begin = "cannot open " + path + ": in use by ";
  const std::string other = ", or choose another port with --device (\"smsctl modems\" lists them).";
  if (!holder) {
    return begin + "another program. End it (sudo fuser -v " + path + " names it)" + other;
  }
  const std::string name = holder->name.empty() ? "another program" : holder->name;
  return begin + name + " (pid " + std::to_string(holder->pid) + "). " + WayOut(*holder) + other;
}

}  // namespace modem
