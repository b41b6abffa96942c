// Octets as hexadecimal digits.
#pragma once

#include "Hex.h"

#include <string>
#include <vector>

namespace modem_sim {

inline std::string HexOf(const BYTE* octets, std::size_t size) {
  std::string digits(2 * size + 1, '\0');
  sms_pdu::OctetsToHex(octets, size, digits.data());
  digits.pop_back();
  return digits;
}

inline std::string HexOf(const std::vector<BYTE>& octets) { return HexOf(octets.data(), octets.size()); }

}  // namespace modem_sim
