// The greedy fill.
#include "GreedyFill.h"

#include "ClassSum.h"
#include "DivisionSteps.h"
#include "platform/Gsm7bit.h"

#include <algorithm>

namespace {

const int kMostUnits = 160;  // of one part

struct Prefix {
  int iCount;          // units
  enCHAR_TYPE enType;  // ctGSM7EX when an extension character was met
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
      return {std::min({iLength, iUcs2Units, kMostUnits}), ctUCS2};
    }
    stSum = SumClasses(pClasses, pwText, iCount);
  }
  for (int iSize = iCount + stSum.iExtra; iSize > iSeptets;) {
    --iCount;
    iSize -= 1 + pClasses[pwText[iCount]];
  }
  return {iCount, stSum.iExtra == 0 ? ctGSM7 : ctGSM7EX};
}

}  // namespace

enCHAR_TYPE FillParts(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack, int iSingleBits,
                      int iPartBits, enCHAR_TYPE enMost) {
  const BYTE* pClasses = Gsm7ClassTable();
  Prefix iPackSignPos[2];  // 0: the present part as one of several; 1: the text as one message
  const auto Append = [&](int iBase, const Prefix& stPrefix, SMS_STAT enStat) {
    vctSmsPack.Append(pszSrcChar + iBase, stPrefix.iCount, iCharTypeProperties[stPrefix.enType][ctcDCS], enStat);
  };

  if (nSrcCharLen <= iSingleBits / iCharTypeProperties[ctGSM7][ctcUnitBits]) {
    iPackSignPos[1] = LongestPrefix(pClasses, pszSrcChar, nSrcCharLen, iSingleBits);
    if (iPackSignPos[1].iCount == nSrcCharLen) {
      Append(0, iPackSignPos[1], SMS_STAT_SENT);
      return iPackSignPos[1].enType;
    }
  }
  enCHAR_TYPE enMet = ctGSM7;
  SMS_STAT enStat = SMS_STAT_SENT;
  for (int iBase = 0; iBase < nSrcCharLen && enMet <= enMost; iBase += iPackSignPos[0].iCount) {
    iPackSignPos[0] = LongestPrefix(pClasses, pszSrcChar + iBase, nSrcCharLen - iBase, iPartBits);
    if (iPackSignPos[0].iCount == 0) {
      break;
    }
    Append(iBase, iPackSignPos[0], enStat);
    enStat = SMS_STAT_UNREAD;
    enMet = std::max(enMet, iPackSignPos[0].enType);
  }
  return enMet;
}

void DivideContent_Algorithm(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack,
                             int MAX_SINGLEPACK, int PER_PACKSIZE_MULTIPACK) {
  if (pszSrcChar != nullptr && nSrcCharLen > 0) {
    FillParts(pszSrcChar, nSrcCharLen, vctSmsPack, MAX_SINGLEPACK, PER_PACKSIZE_MULTIPACK, ctUCS2);
  }
}
