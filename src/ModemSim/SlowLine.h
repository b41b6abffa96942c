// One direction of a serial line.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace modem_sim {

class IModemWorld;

/// Octets arrive in order, as late as their line is slow: ten bits an octet, a tenth of a second's octets at a time.
/// Threads: the modem's one thread.
class CSlowLine {
public:
  /// @param arrive  takes the octets at the other end; may change this line.
  CSlowLine(IModemWorld& world, int baud, std::function<void(const std::string& bytes)> arrive);

  /// @param baud  0: everything arrives at once.
  void SetBaud(int baud) { m_iBaud = baud; }
  /// What is beyond kLimit octets on the way is lost.
  void Take(const std::string& bytes);
  /// What is on the way arrives now.
  void Flush();
  /// What is on the way is lost.
  void Clear();

private:
  static const std::size_t kLimit = 256 * 1024;

  void Go();

  IModemWorld& m_world;
  const std::function<void(const std::string&)> m_arrive;
  int m_iBaud;
  std::string m_strOnTheWay;
  bool m_bGoes = false;
  std::uint64_t m_uLife = 0;  // tells a timer from before Clear()
};

}  // namespace modem_sim
