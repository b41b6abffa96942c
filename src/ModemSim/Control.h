// Steers a simulated modem by JSON: one request object a line, one answer object a line (docs/modem-sim.md).
#pragma once

#include "SimulatedModem.h"

#include <string>

namespace modem_sim {

/// The cable between modem and computer. Threads: the modem's one thread.
class IModemLine {
public:
  /// The port vanishes.
  virtual void Unplug() = 0;
  /// The port comes back.
  /// @return false: *error says why.
  virtual bool Plug(std::string* error) = 0;

protected:
  ~IModemLine() {}
};

/// Threads: the modem's one thread.
class CControl {
public:
  /// All must outlive this.
  CControl(CSimulatedModem& modem, IModemWorld& world, IModemLine& line)
      : m_modem(modem), m_world(world), m_line(line) {}

  /// Carries a request out; what is damaged or unknown changes nothing.
  /// @return one line without its end: {"ok":true,...} or {"ok":false,"error":"..."}.
  std::string Answer(const std::string& request);

private:
  CSimulatedModem& m_modem;
  IModemWorld& m_world;
  IModemLine& m_line;
};

}  // namespace modem_sim
