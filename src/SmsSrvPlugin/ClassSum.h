// The inner loop of classification: classes of a run of units, added up.
#pragma once

#include "VelkTypes.h"

/// Bit that only the class ctUCS2 has among the classes of Gsm7ClassTable().
const unsigned int kUcs2Bit = 2;

struct ClassSum {
  int iExtra;  // extra septets of the run, when it is GSM throughout
  bool bUcs2;  // a unit is in neither GSM table
};

/// @param pClasses  Gsm7ClassTable(): the class of a GSM unit is also the number of its extra septets.
inline ClassSum SumClasses(const BYTE* pClasses, const VELK_wchar_t* pwText, int iLength) {
  unsigned int uSum = 0;
  unsigned int uAny = 0;
  const auto Add = [&](VELK_wchar_t ch) {
    const unsigned int uClass = pClasses[ch];
    uSum += uClass;
    uAny |= uClass;
  };
  const int kStride = 8;  // unrolled by the compiler
  int i = 0;
  for (; i + kStride <= iLength; i += kStride) {
    for (int k = 0; k < kStride; ++k) {
      Add(pwText[i + k]);
    }
  }
  for (; i < iLength; ++i) {
    Add(pwText[i]);
  }
  return {static_cast<int>(uSum), (uAny & kUcs2Bit) != 0};
}
