// Steers a simulated modem by JSON: one request object a line, one answer object a line (docs/modem-sim.md).
#pragma once

#include "SimulatedModem.h"

#include <string>

namespace modem_sim {

/// Threads: the modem's one thread.
class CControl {
public:
  /// Both must outlive this.
  CControl(CSimulatedModem& modem, IModemWorld& world) : m_modem(modem), m_world(world) {}

  /// Carries a request out; what is damaged or unknown changes nothing.
  /// @return one line without its end: {"ok":true,...} or {"ok":false,"error":"..."}.
  std::string Answer(const std::string& request);

private:
  CSimulatedModem& m_modem;
  IModemWorld& m_world;
};

}  // namespace modem_sim
