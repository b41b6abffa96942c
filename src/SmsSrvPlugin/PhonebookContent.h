// Room that a phonebook text takes on the SIM.
#pragma once

#include "VelkTypes.h"

/// Threads: any. Null text counts as empty.

/// @param bSupportGsm7Alphabet  the SIM side takes the GSM alphabet; without it every unit up to 0xFF counts as one.
/// @param bUnicode              out: the text needs UCS-2; untouched when it is empty.
/// @return length in storage units: characters, in the GSM alphabet two for one of the extension table.
int phonebook_content_encode(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, bool bSupportGsm7Alphabet,
                             bool& bUnicode);

class CPhonebookCharJudge {
public:
  /// @param bUnicodeSupportAllCoding  the codings 0x81 and 0x82 may be used besides 0x80 (3GPP TS 51.011, Annex B).
  /// @return length in octets as an alpha identifier.
  int phonebook_content_coding_judge(const VELK_wchar_t* pszSrcChar, int nSrcCharLen, bool bSupportGsm7Alphabet,
                                     bool bUnicodeSupportAllCoding) const;
};
