// Content division and encoding: the face of this room.
#pragma once

#include "CharType.h"
#include "DivisionSteps.h"
#include "PhonebookContent.h"
#include "SMSCharMap.h"
#include "SMSDef.h"

/// Cuts a text into the parts in which it is sent. All state is the call's own, except the concatenation reference.
///
/// For every division: nSrcCharLen counts units; every part of the output is defined wholly, units beyond its content
/// are zero. The result is the number of parts, or 0: the text cannot be divided, or the parts are more than
/// nSmsPackBuffSize; then nothing is written. With nSmsPackBuffSize 0 the parts are only counted.
/// Threads: any. Errors: quiet; only want of memory throws (beyond 255 parts).
class CDivideSmContent {
public:
  /// For GSM devices: 160 septets or 70 units of UCS-2 in one message, at most 255 parts.
  /// @param bDivideLongSm  parts are joined to one concatenated message; else they are independent. A UCS-2 text is
  ///                       cut at 67 units either way, on purpose.
  static int DivideSmContent(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, SMS_PARAM* pstSmsPack,
                             int nSmsPackBuffSize, bool bDivideLongSm);

  /// For CDMA devices: every part of a long text begins with its number, "[2/5]", and is sent by itself. An empty text
  /// is one empty part. Beyond 999 parts the prefix is an opening bracket and zeros: no number fits it.
  /// @param nSinglePackMaxSize  7-bit characters of one message; whatever it is, none holds more than 160 units.
  static int DivideCdmaSmContent(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, SMS_PARAM* pstSmsPack,
                                 int nSmsPackBuffSize, int nSinglePackMaxSize);

  /// For the carrier ZPV: 102 septets or 45 units of 16-bit text in one message. More than 255 parts are returned
  /// without concatenation.
  /// @param nSinglePackMaxSize  ignored.
  static int DivideSmContentForZPV(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, SMS_PARAM* pstSmsPackBuff,
                                   int nSmsPackBuffSize, int nSinglePackMaxSize, bool bDivideLongSm);
};
