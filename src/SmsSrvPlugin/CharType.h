// The cheapest coding that can carry a character, and a text.
#pragma once

#include "VelkTypes.h"

/// Coding class of a character, in rising cost.
enum enCHAR_TYPE {
  ctGSM7 = 0,    // GSM 7-bit default alphabet (3GPP TS 23.038, 6.2.1)
  ctGSM7EX = 1,  // its extension table (6.2.1.1): escape and character, two septets
  ctGSM8 = 2,    // 8-bit data, units up to 0xFF
  ctUCS2 = 3     // anything else
};

/// Columns of iCharTypeProperties.
enum CHAR_TYPE_COLUMN {
  ctcType = 0,      // the class itself
  ctcDCS = 1,       // data coding scheme, as in SMS_PARAM::cDCS
  ctcExtra = 2,     // septets a character takes beyond one
  ctcSeptets = 3,   // 1: the extra septets enter the size
  ctcUnitBits = 4,  // bits of one unit
  ctcColumns = 5
};

/// n characters of class t with e extra septets take bits(t) * (septets(t) * e + n) bits.
constexpr int iCharTypeProperties[4][ctcColumns] = {
    {ctGSM7, 0, 0, 1, 7}, {ctGSM7EX, 0, 1, 1, 7}, {ctGSM8, 4, 0, 0, 8}, {ctUCS2, 8, 0, 0, 16}};

// Class of a text up to and with the unit at iOffset, given the class of the text before it. Without a text the class
// stays.  [any-thread]

/// By the alphabets in force (CGsm7bit). UCS-2 and 8-bit data are never left for a cheaper class; a text that began as
/// GSM never becomes 8-bit data, on purpose: a character in neither table makes it UCS-2 even below 0x100.
enCHAR_TYPE GetEncodeType(const VELK_wchar_t* pwCharBase, int iOffset, enCHAR_TYPE enLastCharType);
/// By value alone: up to 0x7F 7-bit, up to 0xFF 8-bit, else UCS-2; the GSM tables are not asked.
enCHAR_TYPE GetEncodeType_Ascii_Unicode(const VELK_wchar_t* pwCharBase, int iOffset, enCHAR_TYPE enLastCharType);

/// A whole text classified.
struct TextClass {
  enCHAR_TYPE enType;  // the costliest class met
  int iExCounter;      // extra septets; counts nothing once the text is UCS-2
};

/// What GetEncodeType yields from ctGSM7 over the whole text, in one pass.
TextClass ClassifyText(const VELK_wchar_t* pwText, int iLength);
/// The class that GetEncodeType_Ascii_Unicode yields from ctGSM7 over the whole text, in one pass.
enCHAR_TYPE ClassifyText_Ascii_Unicode(const VELK_wchar_t* pwText, int iLength);
