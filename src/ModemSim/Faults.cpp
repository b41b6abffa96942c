// Counting occasions.
#include "Faults.h"

namespace modem_sim {

const Fault* CFaults::Strike(FaultKind kind, HangUpPoint point, const std::string& command) {
  const Fault* strikes = nullptr;
  for (Rule& rule : m_lstRules) {
    const Fault& fault = rule.fault;
    if (fault.kind != kind || (kind == FaultKind::HangUp && fault.point != point)) continue;
    if (!fault.command.empty() && fault.command != command) continue;
    if (++rule.seen < fault.every) continue;
    rule.seen = 0;
    if (strikes || (fault.times != 0 && rule.struck == fault.times)) continue;
    ++rule.struck;
    strikes = &fault;
  }
  return strikes;
}

const Fault* CFaults::Strike(FaultKind kind, const std::string& command) {
  return Strike(kind, HangUpPoint::BeforePrompt, command);
}

const Fault* CFaults::StrikeAt(HangUpPoint point, const std::string& command) {
  return Strike(FaultKind::HangUp, point, command);
}

}  // namespace modem_sim
