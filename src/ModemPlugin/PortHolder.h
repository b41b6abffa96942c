// Which program has a port open.
#pragma once

#include <optional>
#include <string>

namespace modem {

struct PortHolder {
  int pid = 0;
  std::string name;  // may be empty
};

/// Looks through /proc for a process other than this one; sees those of other users only with their rights.
std::optional<PortHolder> FindHolder(const std::string& path);

/// The name under which the system knows a process; empty when there is none.
std::string NameOfProcess(int pid);

/// One line for a person: the port is in use, by whom, and what to do.
std::string InUseText(const std::string& path, const std::optional<PortHolder>& holder);

}  // namespace modem
