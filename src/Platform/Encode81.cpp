// Alpha identifiers with one 8-bit base (3GPP TS 51.011, Annex B, coding 0x81).
#include "platform/Encode81.h"

#include "platform/Gsm7bit.h"

namespace {

constexpr int kMaxLength = 255;   // the count of characters is one octet
constexpr int kHalfPageBits = 7;  // the base octet holds bits 14 to 7 of the half page's start
constexpr int kNoBase = -1;

}  // namespace

bool CEncode81::is_encode81(const VELK_wchar_t* pszText, int iLength, BYTE& btBase) {
  btBase = 0;
  if (iLength < 0 || iLength > kMaxLength || (pszText == nullptr && iLength > 0)) {
    return false;
  }
  int base = kNoBase;
  for (int i = 0; i < iLength; ++i) {
    // a SIM knows no national tables and no escapes here
    if (Gsm7CodeOf(pszText[i], SMS_NLI_Lock_Reverse) >= 0) {
      continue;
    }
    const int halfPage = pszText[i] >> kHalfPageBits;
    if (halfPage > 0xFF || (base != kNoBase && halfPage != base)) {
      return false;
    }
    base = halfPage;
  }
  btBase = base == kNoBase ? BYTE{0} : static_cast<BYTE>(base);
  return true;
}
