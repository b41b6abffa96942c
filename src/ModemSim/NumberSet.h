// Numbers of 0 to 65535 as +CSCB lists them: "0,1,5,320-478" (3GPP TS 27.005, 3.3.4).
#pragma once

#include <bitset>
#include <cstddef>
#include <string>

namespace modem_sim {

class CNumberSet {
public:
  static const std::size_t kNumbers = 65536;

  /// An empty list is an empty set.
  /// @return false: no such list; the set is as it was.
  bool Parse(const std::string& list);
  void AddAll() { m_numbers.set(); }
  void Clear() { m_numbers.reset(); }
  void Add(const CNumberSet& other) { m_numbers |= other.m_numbers; }
  void Remove(const CNumberSet& other) { m_numbers &= ~other.m_numbers; }
  bool Empty() const { return m_numbers.none(); }
  /// False beyond 65535.
  bool Contains(std::size_t number) const { return number < kNumbers && m_numbers[number]; }
  /// Rising, without blanks.
  std::string List() const;

private:
  std::bitset<kNumbers> m_numbers;
};

}  // namespace modem_sim
