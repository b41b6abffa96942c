// Talks to a simulated modem through its control socket.
#pragma once

#include <string>

namespace smsctl {

/// Asks for what a person would do to a real modem, or what the network would: one line of JSON out, one back.
/// Threads: one at a time.
class CSimulatorControl {
public:
  /// @param path  of the socket, as given to modem-sim --control.
  explicit CSimulatorControl(const std::string& path) : m_path(path) {}

  /// @param request  one JSON object.
  /// @param error    out: what the simulated modem, or the system, has against it.
  /// @return true: it is done.
  bool Do(const std::string& request, std::string& error) const;

private:
  const std::string m_path;
};

}  // namespace smsctl
