// The greedy fill: part after part, each the longest stretch that fits.
#include "DivisionSteps.h"

#include "CharType.h"
#include "ClassSum.h"
#include "platform/Gsm7bit.h"

#include <algorithm>

namespace {

const int kMostUnits = 160;  // of one part

struct Prefix {
  int iCount;  // units
  int iDCS;
};

/// The longest beginning of a text that fits into so many bits. Adding a unit never makes it smaller, so the first unit
/// that does not fit ends it; a character of two septets is never parted from its escape.
Prefix LongestPrefix(const BYTE* pClasses, const VELK_wchar_t* pwText, int iLength, int iLimitBits) {
  const int iSeptets = std::max(0, iLimitBits / iCharTypeProperties[ctGSM7][ctcUnitBits]);
  const int iUcs2Units = iLimitBits / iCharTypeProperties[ctUCS2][ctcUnitBits];

  int iCount = std::min({iLength, iSeptets, kMostUnits});
  ClassSum stSum = SumClasses(pClasses, pwText, iCount);
  if (stSum.bUcs2) {
    const VELK_wchar_t* pwUcs2 =
        std::find_if(pwText, pwText + iCount, [=](VELK_wchar_t ch) { return pClasses[ch] == ctUCS2; });
    iCount = static_cast<int>(pwUcs2 - pwText);
    if (iCount < iUcs2Units) {  // the whole of it, up to that unit, fits as UCS-2 too
      return {std::min({iLength, iUcs2Units, kMostUnits}), iCharTypeProperties[ctUCS2][ctcDCS]};
    }
    stSum = SumClasses(pClasses, pwText, iCount);
  }
  for (int iSize = iCount + stSum.iExtra; iSize > iSeptets;) {
    --iCount;
    iSize -= 1 + pClasses[pwText[iCount]];
  }
  return {iCount, iCharTypeProperties[ctGSM7][ctcDCS]};
}

}  // namespace

void DivideContent_Algorithm(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack,
                             int MAX_SINGLEPACK, int PER_PACKSIZE_MULTIPACK) {
  if (pszSrcChar == nullptr || nSrcCharLen < 1) {
    return;
  }
  const BYTE* pClasses = Gsm7ClassTable();
  Prefix iPackSignPos[2];  // 0: the present part as one of several; 1: the text as one message

  const int iSingleBits = std::max(MAX_SINGLEPACK, PER_PACKSIZE_MULTIPACK);
  iPackSignPos[1] = LongestPrefix(pClasses, pszSrcChar, nSrcCharLen, iSingleBits);
  if (iPackSignPos[1].iCount == nSrcCharLen) {
    vctSmsPack.Append(pszSrcChar, nSrcCharLen, iPackSignPos[1].iDCS);
    return;
  }
  SMS_STAT enStat = SMS_STAT_SENT;
  for (int iBase = 0; iBase < nSrcCharLen; iBase += iPackSignPos[0].iCount) {
    iPackSignPos[0] = LongestPrefix(pClasses, pszSrcChar + iBase, nSrcCharLen - iBase, PER_PACKSIZE_MULTIPACK);
    if (iPackSignPos[0].iCount == 0) {
      return;
    }
    vctSmsPack.Append(pszSrcChar + iBase, iPackSignPos[0].iCount, iPackSignPos[0].iDCS, enStat);
    enStat = SMS_STAT_UNREAD;
  }
}
