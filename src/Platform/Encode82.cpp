// Alpha identifiers with one 16-bit base (3GPP TS 51.011, Annex B, coding 0x82).
#include "platform/Encode82.h"

#include "platform/Gsm7bit.h"

#include <algorithm>

namespace {

constexpr int kMaxLength = 255;  // the count of characters is one octet
constexpr int kReach = 0x7F;     // seven bits are added to the base

bool IsSurrogate(VELK_wchar_t ch) { return (ch & 0xF800) == 0xD800; }

}  // namespace

bool CEncode82::is_encode82(const VELK_wchar_t* pszText, int iLength, WORD& wBase) {
  wBase = 0;
  if (iLength < 0 || iLength > kMaxLength || (pszText == nullptr && iLength > 0)) {
    return false;
  }
  VELK_wchar_t lowest = 0xFFFF;
  VELK_wchar_t highest = 0;
  for (int i = 0; i < iLength; ++i) {
    // a SIM knows no national tables and no escapes here
    if (Gsm7CodeOf(pszText[i], SMS_NLI_Lock_Reverse) >= 0) {
      continue;
    }
    if (IsSurrogate(pszText[i])) {
      return false;  // halves of a character beyond UCS2: phones refuse a base among them
    }
    lowest = std::min(lowest, pszText[i]);
    highest = std::max(highest, pszText[i]);
  }
  const bool bHasBase = lowest <= highest;
  if (bHasBase && highest - lowest > kReach) {
    return false;
  }
  wBase = bHasBase ? lowest : WORD{0};
  return true;
}
