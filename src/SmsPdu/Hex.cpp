// Hexadecimal digits.
#include "Hex.h"

#include <array>

namespace sms_pdu {
namespace {

const BYTE kNoDigit = 0xFF;

constexpr std::array<BYTE, 256> MakeDigitValues() {
  std::array<BYTE, 256> values{};
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = kNoDigit;
  for (std::size_t i = 0; i < 10; ++i) values['0' + i] = static_cast<BYTE>(i);
  for (std::size_t i = 0; i < 6; ++i) {
    values['A' + i] = static_cast<BYTE>(10 + i);
    values['a' + i] = static_cast<BYTE>(10 + i);
  }
  return values;
}

constexpr std::array<BYTE, 256> kDigitValues = MakeDigitValues();

}  // namespace

PduError HexToOctets(const char* digits, std::size_t length, BYTE* out, std::size_t capacity, std::size_t* written) {
  *written = 0;
  for (std::size_t i = 0; i + 1 < length; i += 2) {
    const BYTE high = kDigitValues[static_cast<BYTE>(digits[i])];
    const BYTE low = kDigitValues[static_cast<BYTE>(digits[i + 1])];
    if (high == kNoDigit || low == kNoDigit) return PduError::NotHex;
    if (*written == capacity) return PduError::BufferTooSmall;
    out[(*written)++] = static_cast<BYTE>(high << 4 | low);
  }
  return length % 2 == 0 ? PduError::None : PduError::OddHexDigits;
}

void OctetsToHex(const BYTE* octets, std::size_t size, char* out) {
  static const char kDigits[] = "0123456789ABCDEF";
  for (std::size_t i = 0; i < size; ++i) {
    *out++ = kDigits[octets[i] >> 4];
    *out++ = kDigits[octets[i] & 0x0F];
  }
  *out = '\0';
}

}  // namespace sms_pdu
