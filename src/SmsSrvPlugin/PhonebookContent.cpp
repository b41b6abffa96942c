// Room that a phonebook text takes on the SIM.
#include "PhonebookContent.h"

#include "CharType.h"
#include "platform/Encode81.h"
#include "platform/Encode82.h"

#include <algorithm>
#include <limits>

namespace {

int Saturated(long long llLength) {
  return static_cast<int>(std::min<long long>(llLength, std::numeric_limits<int>::max()));
}

/// Without the GSM alphabet no GSM table is consulted: Latin-1 counts one unit per character, on purpose.
TextClass ClassifyName(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, bool bSupportGsm7Alphabet) {
  if (bSupportGsm7Alphabet) {
    return ClassifyText(pszSrcChar, nSrcCharLen);
  }
  return {ClassifyText_Ascii_Unicode(pszSrcChar, nSrcCharLen) == ctUCS2 ? ctUCS2 : ctGSM7, 0};
}

}  // namespace

int phonebook_content_encode(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, bool bSupportGsm7Alphabet,
                             bool& bUnicode) {
  if (pszSrcChar == nullptr || nSrcCharLen < 1) {
    return 0;
  }
  const TextClass stClass = ClassifyName(pszSrcChar, nSrcCharLen, bSupportGsm7Alphabet);
  bUnicode = stClass.enType == ctUCS2;
  return bUnicode ? nSrcCharLen : Saturated(static_cast<long long>(nSrcCharLen) + stClass.iExCounter);
}

int CPhonebookCharJudge::phonebook_content_coding_judge(const VELK_wchar_t* pszSrcChar, int nSrcCharLen,
                                                        bool bSupportGsm7Alphabet,
                                                        bool bUnicodeSupportAllCoding) const {
  bool bUnicode = false;
  const int iLength = phonebook_content_encode(pszSrcChar, nSrcCharLen, bSupportGsm7Alphabet, bUnicode);
  if (!bUnicode) {
    return iLength;
  }
  if (bSupportGsm7Alphabet && bUnicodeSupportAllCoding) {
    BYTE btBase = 0;
    WORD wBase = 0;
    if (CEncode81::is_encode81(pszSrcChar, nSrcCharLen, btBase)) {
      return Saturated(iLength + 3LL);  // tag, length, base
    }
    if (CEncode82::is_encode82(pszSrcChar, nSrcCharLen, wBase)) {
      return Saturated(iLength + 4LL);  // tag, length, two octets of base
    }
  }
  return Saturated(2LL * iLength + 1);  // coding 0x80: tag, two octets a character
}
