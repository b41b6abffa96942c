// GSM 7-bit text.
#include "Septets.h"

#include "Gsm7Languages.h"
#include "platform/Gsm7bit.h"

#include <algorithm>
#include <cstring>

namespace sms_pdu {
namespace {

const BYTE kEscape = 0x1B;
const BYTE kNoCode = 0xFF;
const VELK_wchar_t kNoUnit = 0xFFFF;

/// Character -> code of one table: a direct row for the letters of Europe, a short list for the few signs beyond.
class CReverseTable {
public:
  explicit CReverseTable(const VELK_wchar_t* table) {
    std::fill_n(m_row, kRow, kNoCode);
    for (int code = 127; code >= 0; --code) {  // downwards, so that the lowest of two equal codes stays
      const VELK_wchar_t unit = table[code];
      if (unit == kNoUnit || code == kEscape) continue;
      if (unit < kRow) {
        m_row[unit] = static_cast<BYTE>(code);
      } else if (m_uFar < kFar) {
        m_far[m_uFar++] = {unit, static_cast<BYTE>(code)};
      }
    }
  }

  BYTE CodeOf(VELK_wchar_t unit) const {
    if (unit < kRow) return m_row[unit];
    for (std::size_t i = 0; i < m_uFar; ++i) {
      if (m_far[i].unit == unit) return m_far[i].code;
    }
    return kNoCode;
  }

private:
  static const std::size_t kRow = 0x400;
  static const std::size_t kFar = 16;
  struct Entry {
    VELK_wchar_t unit;
    BYTE code;
  };
  BYTE m_row[kRow];
  Entry m_far[kFar] = {};
  std::size_t m_uFar = 0;
};

const CReverseTable& LockingReverse(SMS_NLI_LOCK lock) {
  static const CReverseTable kTables[] = {CReverseTable(Gsm7Table(SMS_NLI_Lock_Reverse)),
                                          CReverseTable(Gsm7Table(SMS_NLI_Turk_Lock)),
                                          CReverseTable(Gsm7Table(SMS_NLI_Port_Lock))};
  return kTables[lock == SMS_NLI_Port_Lock ? 2 : lock];
}

const CReverseTable& SingleReverse(SMS_NLI_SIGNLE single) {
  static const CReverseTable kTables[] = {
      CReverseTable(Gsm7ExtTable(SMS_NLI_Single_Reverse)), CReverseTable(Gsm7ExtTable(SMS_NLI_Turk_Single)),
      CReverseTable(Gsm7ExtTable(SMS_NLI_Span_Single)), CReverseTable(Gsm7ExtTable(SMS_NLI_Port_Single))};
  return kTables[single];
}

/// Eight septets as the 56 bits they travel as, the first in the lowest.
std::uint64_t Gather(const BYTE* septets) {
  std::uint64_t bits = 0;
  for (unsigned i = 0; i < 8; ++i) bits |= static_cast<std::uint64_t>(septets[i] & 0x7F) << (7 * i);
  return bits;
}

/// Up to eight octets from the lowest on; those that are not there are 0.
std::uint64_t LoadLow(const BYTE* octets, std::size_t count) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < std::min<std::size_t>(count, 8); ++i) {
    bits |= static_cast<std::uint64_t>(octets[i]) << (8 * i);
  }
  return bits;
}

}  // namespace

void PackSeptets(const BYTE* septets, std::size_t count, unsigned fillBits, BYTE* out) {
  unsigned held = fillBits;  // bits of carry that are not written yet, always under 8
  std::uint64_t carry = 0;
  std::size_t i = 0;
  for (; count - i >= 8; i += 8) {
    carry |= Gather(septets + i) << held;  // 56 bits and at most 7
    for (unsigned octet = 0; octet < 7; ++octet) *out++ = static_cast<BYTE>(carry >> (8 * octet));
    carry >>= 56;
  }
  for (; i < count; ++i) {
    carry |= static_cast<std::uint64_t>(septets[i] & 0x7F) << held;
    held += 7;
    if (held < 8) continue;
    *out++ = static_cast<BYTE>(carry);
    carry >>= 8;
    held -= 8;
  }
  if (held != 0) *out = static_cast<BYTE>(carry);
}

void UnpackSeptets(const BYTE* octets, std::size_t size, unsigned fillBits, BYTE* septets, std::size_t count) {
  std::size_t i = 0;
  std::size_t position = 0;
  for (; i < count; i += 8, position += 7) {
    const std::uint64_t bits = LoadLow(octets + position, size - position) >> fillBits;
    const std::size_t group = std::min<std::size_t>(count - i, 8);
    for (std::size_t k = 0; k < group; ++k) septets[i + k] = static_cast<BYTE>(bits >> (7 * k) & 0x7F);
  }
}

PduError TextToSeptets(const VELK_wchar_t* text, std::size_t length, const SMS_NLI& tables, BYTE* septets,
                       std::size_t capacity, std::size_t* count) {
  const CReverseTable& locking = LockingReverse(KnownLockingShift(static_cast<unsigned>(tables.enNLI_Lock)));
  const CReverseTable& single = SingleReverse(KnownSingleShift(static_cast<unsigned>(tables.enNLI_Single)));
  std::size_t written = 0;
  *count = 0;
  for (std::size_t i = 0; i < length; ++i) {
    BYTE code = locking.CodeOf(text[i]);
    if (code == kNoCode) {
      code = single.CodeOf(text[i]);
      if (code == kNoCode) return PduError::UnencodableCharacter;
      if (written == capacity) return PduError::TooLong;
      septets[written++] = kEscape;
    }
    if (written == capacity) return PduError::TooLong;
    septets[written++] = code;
  }
  *count = written;
  return PduError::None;
}

std::size_t SeptetsToText(const BYTE* septets, std::size_t count, const SMS_NLI& tables, VELK_wchar_t* out) {
  const VELK_wchar_t* const locking = Gsm7Table(KnownLockingShift(static_cast<unsigned>(tables.enNLI_Lock)));
  const VELK_wchar_t* const single = Gsm7ExtTable(KnownSingleShift(static_cast<unsigned>(tables.enNLI_Single)));
  std::size_t units = 0;
  for (std::size_t i = 0; i < count; ++i) {
    const BYTE code = septets[i];
    if (code != kEscape) {
      out[units++] = locking[code];
      continue;
    }
    if (++i == count || septets[i] == kEscape) {
      out[units++] = u' ';
      continue;
    }
    const VELK_wchar_t unit = single[septets[i]];
    out[units++] = unit != kNoUnit ? unit : locking[septets[i]];
  }
  return units;
}

}  // namespace sms_pdu
