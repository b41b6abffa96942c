// A timer for each portion.
#include "SlowLine.h"

#include "SimulatedModem.h"

#include <algorithm>
#include <utility>

namespace modem_sim {

CSlowLine::CSlowLine(IModemWorld& world, int baud, std::function<void(const std::string&)> arrive)
    : m_world(world), m_arrive(std::move(arrive)), m_iBaud(baud) {}

void CSlowLine::Take(const std::string& bytes) {
  if (m_iBaud == 0 && m_strOnTheWay.empty()) {
    m_arrive(bytes);
    return;
  }
  m_strOnTheWay.append(bytes, 0, kLimit - m_strOnTheWay.size());
  if (!m_bGoes) Go();
}

void CSlowLine::Go() {
  const int kSlicesASecond = 10;
  const int kBitsAnOctet = 10;
  m_bGoes = !m_strOnTheWay.empty();
  if (m_strOnTheWay.empty()) return;
  const int octets = std::max(1, m_iBaud / kBitsAnOctet / kSlicesASecond);
  const std::size_t count = m_iBaud == 0 ? m_strOnTheWay.size() : std::min(m_strOnTheWay.size(), std::size_t(octets));
  m_world.After(m_iBaud == 0 ? 0 : static_cast<int>(count) * kBitsAnOctet * 1000 / m_iBaud,
                [this, count, life = m_uLife] {
                  if (life != m_uLife) return;
                  const std::string bytes = m_strOnTheWay.substr(0, count);
                  m_strOnTheWay.erase(0, count);
                  m_arrive(bytes);
                  if (life == m_uLife) Go();
                });
}

void CSlowLine::Flush() {
  const std::string bytes = std::exchange(m_strOnTheWay, std::string());
  Clear();
  if (!bytes.empty()) m_arrive(bytes);
}

void CSlowLine::Clear() {
  ++m_uLife;
  m_bGoes = false;
  m_strOnTheWay.clear();
}

}  // namespace modem_sim
