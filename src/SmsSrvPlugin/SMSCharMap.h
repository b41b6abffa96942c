// The character map: replaces selected characters outside the GSM alphabet before a text is divided.
#pragma once

#include "VelkTypes.h"

#include <cstdint>

/// One entry of the map, as read.
struct SMSCharMapEntry {
  std::int16_t sUnicode;  // code unit; from 0x8000 on it is negative and never matches, on purpose
  BYTE btGsm;             // its replacement
};

const int kCharMapSize = 128;

// Written once, by the first CSMSCharMap of the process; read them with one at hand.
extern SMSCharMapEntry unicode_to_gsm_def_table[kCharMapSize];
extern std::int16_t g_TableItem;  // entries loaded; 0: no map

/// The file is free text with entries of the form {key,value}, both hexadecimal: {20AC,65} turns the euro sign into
/// the letter e. Text outside braces is ignored, blanks inside are too; entries beyond the 128th are.
/// Life:    the first object of the process loads the map, whether or not its file is usable; the map outlives it and
///          is never loaded again. A missing, unreadable or damaged file leaves the map empty, without a word.
/// Threads: any; a construction during the first one waits for it.
class CSMSCharMap {
public:
  /// @param pszfilename  path in the 8-bit coding of the file system.
  explicit CSMSCharMap(const char* pszfilename);

  /// Replaces in place every unit that the map holds; of several entries for one unit the first counts.
  void non_gsm_to_gsm_def(VELK_wchar_t* pwstSrc, int nSrcLen) const;
};
