// Division for GSM devices, and the carrier's variant with parts of 90 octets.
#include "DivideSmContent.h"

#include "GreedyFill.h"
#include "platform/Gsm7bit.h"

std::atomic<unsigned char> btMR(0);

namespace {

// Bits of user data in one message of 140 octets, by what its header holds (3GPP TS 23.040, 9.2.3.24).
const int kBitsAlone = 1120;
const int kBitsConcatenated = 1072;          // 6 octets of header
const int kBitsNational = 1088;              // 4 octets
const int kBitsConcatenatedNational = 1048;  // 9 octets

const int kUcs2Alone = 70;  // units
const int kUcs2PerPart = 67;

const int kMostParts = 255;  // as 3GPP TS 23.040, 9.2.3.24.1 can count
const int kMostUnits = 160;  // of one part

}  // namespace

int CDivideSmContent::DivideSmContent(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, SMS_PARAM* pstSmsPack,
                                      int nSmsPackBuffSize, bool bDivideLongSm) {
  CSmsPackSequence vctSmsPack;
  if ((pstSmsPack == nullptr && nSmsPackBuffSize > 0) ||
      !DivideContent(pszSrcChar, nSrcCharLen, vctSmsPack, bDivideLongSm)) {
    return 0;
  }
  return HandOut(vctSmsPack, pstSmsPack, nSmsPackBuffSize);
}

int CDivideSmContent::DivideSmContentForZPV(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, SMS_PARAM* pstSmsPackBuff,
                                            int nSmsPackBuffSize, int, bool bDivideLongSm) {
  const int kSeptetsZpv = 102;
  const int kUnitsZpv = 45;
  const int kDcsZpv = 12;
  const int kMostExtensions = 64;  // with more of them 16-bit text, on purpose

  if (pszSrcChar == nullptr || nSrcCharLen < 1 || (pstSmsPackBuff == nullptr && nSmsPackBuffSize > 0)) {
    return 0;
  }
  CSmsPackSequence vctSmsPack;
  const TextClass stClass = ClassifyText(pszSrcChar, nSrcCharLen);
  if (stClass.enType == ctUCS2 || stClass.iExCounter > kMostExtensions) {
    DivideEvenly(pszSrcChar, nSrcCharLen, vctSmsPack, kUnitsZpv, kUnitsZpv, kDcsZpv);
  } else if (nSrcCharLen <= kSeptetsZpv - stClass.iExCounter) {
    vctSmsPack.Append(pszSrcChar, nSrcCharLen, iCharTypeProperties[ctGSM7][ctcDCS]);
  } else {
    DivideContent_Customize(pszSrcChar, nSrcCharLen, vctSmsPack);
  }
  LongSms(vctSmsPack, bDivideLongSm);  // too many parts to concatenate are handed out all the same
  return HandOut(vctSmsPack, pstSmsPackBuff, nSmsPackBuffSize);
}

bool DivideContent(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack, bool bDivideLongSm) {
  // what no number of parts can hold needs no look at its characters
  if (pszSrcChar == nullptr || nSrcCharLen < 1 || nSrcCharLen > kMostParts * kMostUnits) {
    return false;
  }
  // most texts are GSM without national tables, so they are divided as such and looked at only once
  const int iBefore = vctSmsPack.Count();
  const enCHAR_TYPE enType = FillParts(pszSrcChar, nSrcCharLen, vctSmsPack, kBitsAlone,
                                       bDivideLongSm ? kBitsConcatenated : kBitsAlone, ctGSM7EX);
  if (enType == ctUCS2) {
    vctSmsPack.Shrink(iBefore);
    DivideEvenly(pszSrcChar, nSrcCharLen, vctSmsPack, kUcs2Alone, kUcs2PerPart, iCharTypeProperties[ctUCS2][ctcDCS]);
  } else if (enType == ctGSM7EX && CGsm7bit::m_bHaveCustomize) {
    vctSmsPack.Shrink(iBefore);
    return DivideContent_ZL_Ex(pszSrcChar, nSrcCharLen, vctSmsPack, bDivideLongSm, CGsm7bit::m_stNLI_flag);
  }
  return LongSms(vctSmsPack, bDivideLongSm);
}

bool DivideContent_ZL(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack,
                      bool bDivideLongSm) {
  if (pszSrcChar == nullptr || nSrcCharLen < 1) {
    return false;
  }
  DivideContent_Algorithm(pszSrcChar, nSrcCharLen, vctSmsPack, kBitsAlone,
                          bDivideLongSm ? kBitsConcatenated : kBitsAlone);
  return LongSms(vctSmsPack, bDivideLongSm);
}

bool DivideContent_ZL_Ex(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack,
                         bool bDivideLongSm, const SMS_NLI& stNLI) {
  if (pszSrcChar == nullptr || nSrcCharLen < 1) {
    return false;
  }
  DivideContent_Algorithm(pszSrcChar, nSrcCharLen, vctSmsPack, kBitsNational,
                          bDivideLongSm ? kBitsConcatenatedNational : kBitsNational);
  SetNationalLanguage7BitInfo(vctSmsPack, stNLI);
  return LongSms(vctSmsPack, bDivideLongSm);
}

void DivideContent_Customize(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack) {
  const int kBitsZpv = 720;
  DivideContent_Algorithm(pszSrcChar, nSrcCharLen, vctSmsPack, kBitsZpv, kBitsZpv);
}

void DivideEvenly(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, CSmsPackSequence& vctSmsPack, int iSingleLen,
                  int iPackLen, int iDCS) {
  if (nSrcCharLen <= iSingleLen) {
    vctSmsPack.Append(pszSrcChar, nSrcCharLen, iDCS);
    return;
  }
  for (; nSrcCharLen > iPackLen; nSrcCharLen -= iPackLen, pszSrcChar += iPackLen) {
    vctSmsPack.Append(pszSrcChar, iPackLen, iDCS);
  }
  vctSmsPack.Append(pszSrcChar, nSrcCharLen, iDCS);
}

void SetNationalLanguage7BitInfo(CSmsPackSequence& vctSmsPack, const SMS_NLI& stSMS_NLI) {
  vctSmsPack.SetNationalLanguage(stSMS_NLI);
}

bool LongSms(CSmsPackSequence& vctSmsPack, bool bDivideLongSm) {
  if (vctSmsPack.Count() > kMostParts) {
    return false;
  }
  if (bDivideLongSm && vctSmsPack.Count() > 1) {
    vctSmsPack.SetConcatenated(++btMR);
  } else {
    vctSmsPack.SetIndependent();
  }
  return true;
}
