// A world for the simulated modem whose time stands still until a test moves it.
#pragma once

#include "SimulatedModem.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

class CFakeWorld : public modem_sim::IModemWorld {
public:
  void Write(const std::string& bytes) override { m_strOutput += bytes; }

  void After(int milliseconds, std::function<void()> call) override {
    m_calls.emplace(m_iNow + milliseconds, std::move(call));
  }

  /// 2024-05-06 07:08:09, two hours east.
  sms_pdu::TimeStamp Now() override {
    sms_pdu::TimeStamp time;
    time.year = 2024;
    time.month = 5;
    time.day = 6;
    time.hour = 7;
    time.minute = 8;
    time.second = 9;
    time.zoneQuarters = 8;
    return time;
  }

  void Unplug() override { plugged = false; }
  bool Plug(std::string* error) override {
    if (!plugFault.empty()) *error = plugFault;
    plugged = plugFault.empty();
    return plugged;
  }

  bool plugged = true;
  std::string plugFault;  // why the line cannot come back

  /// Moves the time on and carries out what falls due.
  void Advance(int milliseconds) {
    const int end = m_iNow + milliseconds;
    while (!m_calls.empty() && m_calls.begin()->first <= end) {
      m_iNow = m_calls.begin()->first;
      const auto call = std::move(m_calls.begin()->second);
      m_calls.erase(m_calls.begin());
      call();
    }
    m_iNow = end;
  }

  /// What the modem has written since the last time.
  std::string TakeOutput() { return std::exchange(m_strOutput, std::string()); }

private:
  int m_iNow = 0;
  std::multimap<int, std::function<void()>> m_calls;
  std::string m_strOutput;
};

/// The lines of an output without their ends and without empty ones; a prompt is the line ">".
std::vector<std::string> LinesOf(const std::string& output);
