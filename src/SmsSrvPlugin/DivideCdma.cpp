// Division for CDMA devices: parts that begin with their number.
#include "DivideSmContent.h"

#include <algorithm>
#include <cstring>

namespace {

const int kNarrowestPrefix = 5;
const int kMostUnits = 160;  // of one part

/// Units that one message holds, 0..160.
int UnitsOfOneMessage(enCHAR_TYPE enType, int nSinglePackMaxSize) {
  const long long llUcs2 = nSinglePackMaxSize * 7LL / 16;
  const long long llUnits = enType == ctUCS2 ? llUcs2 : enType == ctGSM8 ? llUcs2 * 2 : nSinglePackMaxSize;
  return static_cast<int>(std::max(0LL, std::min<long long>(llUnits, kMostUnits)));
}

/// The last iDigits decimal digits, most significant first.
void WriteDigits(int iValue, int iDigits, VELK_wchar_t* pDst) {
  for (int i = iDigits - 1; i >= 0; --i, iValue /= 10) {
    pDst[i] = static_cast<VELK_wchar_t>(u'0' + iValue % 10);
  }
}

/// Digits of each number in a prefix of that width; 0 for a width without numbers.
int DigitsOf(int nInterspace) {
  return nInterspace == 5 || nInterspace == 7 || nInterspace == 9 ? (nInterspace - 3) / 2 : 0;
}

/// The most parts that a prefix of that width can count, or more than any text has.
long long MostPartsOf(int nInterspace) {
  const int kEnough = 10;  // digits
  long long llPower = 1;
  for (int i = std::min((nInterspace - 5) / 2 + 1, kEnough); i > 0; --i) {
    llPower *= 10;
  }
  return llPower - 1;
}

void CopyText(const VELK_wchar_t* pwText, int iLength, VELK_wchar_t* pDst) {
  std::memcpy(pDst, pwText, static_cast<std::size_t>(iLength) * sizeof(VELK_wchar_t));
}

SMS_PARAM& FreshPack(SMS_PARAM& stPack, enCHAR_TYPE enType) {
  std::memset(static_cast<void*>(&stPack), 0, sizeof stPack);
  stPack.enSMSStat = SMS_STAT_SENT;
  stPack.cDCS = static_cast<char>(iCharTypeProperties[enType][ctcDCS]);
  return stPack;
}

}  // namespace

int CDivideSmContent::DivideCdmaSmContent(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, SMS_PARAM* pstSmsPack,
                                          int nSmsPackBuffSize, int nSinglePackMaxSize) {
  if (pszSrcChar == nullptr || nSrcCharLen < 0 || (pstSmsPack == nullptr && nSmsPackBuffSize > 0)) {
    return 0;
  }
  const enCHAR_TYPE enType = ClassifyText_Ascii_Unicode(pszSrcChar, nSrcCharLen);
  const int iLimit = UnitsOfOneMessage(enType, nSinglePackMaxSize);

  int iTotal = 1, iPacks = 0, iRemain = nSrcCharLen, iRoom = 0, iWidth = 0;
  if (nSrcCharLen > iLimit) {
    iWidth = MinInterspace(kNarrowestPrefix, nSrcCharLen, iLimit, iTotal, iPacks, iRemain, iRoom);
  }
  if (iTotal > nSmsPackBuffSize) {
    return nSmsPackBuffSize == 0 ? iTotal : 0;
  }
  for (int i = 0; i < iTotal; ++i) {
    const int iLength = i < iPacks ? iRoom : iRemain;
    SMS_PARAM& stPack = FreshPack(pstSmsPack[i], enType);
    if (iWidth > 0) {
      InitCdmaSmInterspace(iWidth, iTotal, stPack.wszContent);
      CdmaSmSequenceNumber(iWidth, i, stPack.wszContent);
    }
    CopyText(pszSrcChar + i * iRoom, iLength, stPack.wszContent + iWidth);
    stPack.iContentLen = iWidth + iLength;
  }
  return iTotal;
}

int MinInterspace(int nMinInterspace, int nSrcCharsLen, int nSingleMaxLen, int& nTotal, int& nPacks, int& nRemain,
                  int& nSingleSmContentMaxLen) {
  for (int iWidth = std::max(nMinInterspace, 1); iWidth < nSingleMaxLen; iWidth += 2) {
    nSingleSmContentMaxLen = nSingleMaxLen - iWidth;
    nPacks = nSrcCharsLen / nSingleSmContentMaxLen;
    nRemain = nSrcCharsLen % nSingleSmContentMaxLen;
    nTotal = nPacks + (nRemain != 0 ? 1 : 0);
    if (nTotal <= MostPartsOf(iWidth)) {
      return iWidth;
    }
  }
  nTotal = nPacks = nRemain = nSingleSmContentMaxLen = 0;
  return 0;
}

void InitCdmaSmInterspace(int nInterspace, int nTotal, VELK_wchar_t* pDst) {
  if (pDst == nullptr) {
    return;
  }
  const int iDigits = DigitsOf(nInterspace);
  pDst[0] = u'[';
  if (iDigits > 0) {
    pDst[1 + iDigits] = u'/';
    WriteDigits(nTotal, iDigits, pDst + 2 + iDigits);
    pDst[nInterspace - 1] = u']';
  }
}

void CdmaSmSequenceNumber(int nInterspace, int nSequence, VELK_wchar_t* pDst) {
  if (pDst != nullptr) {
    WriteDigits(nSequence + 1, DigitsOf(nInterspace), pDst + 1);
  }
}
