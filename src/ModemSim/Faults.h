// Rules by which the modem misbehaves.
#pragma once

#include "VelkTypes.h"

#include <cstddef>
#include <string>
#include <vector>

namespace modem_sim {

enum class FaultKind {
  Refuse,   // a send: +CMS ERROR: code
  Late,     // the verdict of a send comes this much later
  Drop,     // the reply to a command is never written; the command is carried out
  Garbage,  // octets in front of a reply
  HangUp,   // the line vanishes at a point of +CMGS, +CMGW or +CMSS
  Restart,  // the modem starts anew instead of carrying a command out
};

/// BeforeVerdict: the network has the message already.
enum class HangUpPoint { BeforePrompt, AfterPrompt, AfterOctets, BeforeVerdict };

struct Fault {
  FaultKind kind = FaultKind::Refuse;
  std::string command;  // upper case; empty: any
  HangUpPoint point = HangUpPoint::BeforePrompt;
  int every = 1;  // strikes at every so many-th occasion
  int times = 0;  // so many times at all; 0: for ever
  int code = 38;
  int milliseconds = 0;  // Late: more; HangUp: until the line is back, 0: never by itself; Restart: without power
  std::vector<BYTE> octets;
};

class CFaults {
public:
  void Add(const Fault& fault) { m_lstRules.push_back({fault, 0, 0}); }
  void Clear() { m_lstRules.clear(); }
  std::size_t Count() const { return m_lstRules.size(); }

  /// An occasion: counts for every rule that fits.
  /// @return the rule that strikes, null for none; valid until Add() or Clear().
  const Fault* Strike(FaultKind kind, const std::string& command);
  const Fault* StrikeAt(HangUpPoint point, const std::string& command);

private:
  struct Rule {
    Fault fault;
    int seen;
    int struck;
  };

  const Fault* Strike(FaultKind kind, HangUpPoint point, const std::string& command);

  std::vector<Rule> m_lstRules;
};

}  // namespace modem_sim
