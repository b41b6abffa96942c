// A simulated modem as a process of its own, for the demo.
#pragma once

#include <sys/types.h>
#include <string>
#include <vector>

namespace smsctl {

/// Starts the program modem-sim that stands beside this program; ends it with the object. Start before any thread.
class CSimulator {
public:
  CSimulator() = default;
  ~CSimulator();
  CSimulator(const CSimulator&) = delete;
  CSimulator& operator=(const CSimulator&) = delete;

  /// @param error  out: one line for a person, when the result is false.
  bool Start(const std::vector<std::string>& arguments, std::string& error);
  /// The port a program can open like a modem's.
  const std::string& Port() const { return m_port; }

private:
  pid_t m_pid = -1;
  std::string m_port;
};

}  // namespace smsctl
