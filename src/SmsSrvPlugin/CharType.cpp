// Classification of characters and texts.
#include "CharType.h"

#include "ClassSum.h"
#include "platform/Gsm7bit.h"

#include <algorithm>

enCHAR_TYPE GetEncodeType(const VELK_wchar_t* pwCharBase, int iOffset, enCHAR_TYPE enLastCharType) {
  if (pwCharBase == nullptr || enLastCharType == ctUCS2) {
    return enLastCharType;
  }
  const VELK_wchar_t ch = pwCharBase[iOffset];
  if (enLastCharType == ctGSM8) {
    return ch <= 0xFF ? ctGSM8 : ctUCS2;
  }
  if (CGsm7bit().GSM_7DefaultAlphabet(ch)) {
    return ctGSM7;
  }
  return CGsm7bit().GSM_7ExtAlphabet(ch) ? ctGSM7EX : ctUCS2;
}

enCHAR_TYPE GetEncodeType_Ascii_Unicode(const VELK_wchar_t* pwCharBase, int iOffset, enCHAR_TYPE enLastCharType) {
  if (pwCharBase == nullptr || enLastCharType == ctUCS2) {
    return enLastCharType;
  }
  const VELK_wchar_t ch = pwCharBase[iOffset];
  if (ch > 0xFF) {
    return ctUCS2;
  }
  return enLastCharType == ctGSM8 || ch > 0x7F ? ctGSM8 : ctGSM7;
}

TextClass ClassifyText(const VELK_wchar_t* pwText, int iLength) {
  const int kStretch = 512;  // between two looks whether the text is UCS-2 already
  const BYTE* pClasses = Gsm7ClassTable();
  int iExCounter = 0;
  while (iLength > 0) {
    const int iStretch = std::min(iLength, kStretch);
    const ClassSum stSum = SumClasses(pClasses, pwText, iStretch);
    if (stSum.bUcs2) {
      return {ctUCS2, 0};
    }
    iExCounter += stSum.iExtra;
    pwText += iStretch;
    iLength -= iStretch;
  }
  return {iExCounter == 0 ? ctGSM7 : ctGSM7EX, iExCounter};
}

enCHAR_TYPE ClassifyText_Ascii_Unicode(const VELK_wchar_t* pwText, int iLength) {
  // a bit above the lower seven, or eight, of any unit shows in all of them or-ed together
  VELK_wchar_t chAny = 0;
  for (int i = 0; i < iLength; ++i) {
    chAny = static_cast<VELK_wchar_t>(chAny | pwText[i]);
  }
  return GetEncodeType_Ascii_Unicode(&chAny, 0, ctGSM7);
}
