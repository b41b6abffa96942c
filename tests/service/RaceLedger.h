// What a race has put into the system, and what of it has come out again.
#pragma once

#include "Await.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <vector>

/// Every message bears a sender that no other one bears. Threads: any.
class CRaceLedger {
public:
  /// Of that kind, in the form "kind 17".
  std::string NewSender(const std::string& kind) {
    return m_monitor.Locked([&] {
      const std::string sender = kind + " " + std::to_string(++m_iSerial);
      m_put.insert(sender);
      return sender;
    });
  }
  /// A message of this sender is where it belongs.
  void Saw(const std::string& sender) {
    m_monitor.Locked([&] { m_seen.insert(sender); });
  }
  std::vector<std::string> Missing() const {
    return m_monitor.Peek([this] {
      std::vector<std::string> missing;
      std::set_difference(m_put.begin(), m_put.end(), m_seen.begin(), m_seen.end(), std::back_inserter(missing));
      return missing;
    });
  }
  /// Messages of that kind so far.
  int Count(const std::string& kind) const {
    return m_monitor.Peek([&] {
      return static_cast<int>(std::count_if(m_put.begin(), m_put.end(), [&](const std::string& sender) {
        return sender.compare(0, kind.size() + 1, kind + " ") == 0;
      }));
    });
  }

private:
  CMonitor m_monitor;
  int m_iSerial = 0;
  std::set<std::string> m_put;
  std::set<std::string> m_seen;
};
