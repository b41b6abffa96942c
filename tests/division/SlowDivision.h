// A second opinion on every division: the rules written down one by one, without a thought for speed. Shares nothing
// with the code under test but the alphabet tables.
#pragma once

#include "SMSDef.h"

#include <vector>

namespace slow {

typedef std::vector<SMS_PARAM> Parts;

/// 0 default alphabet, 1 extension table, 3 neither; by searching the tables in force.
int ClassOf(VELK_wchar_t ch);

/// @param btReference  in and out: reference of the latest concatenated message.
/// @return no parts: the division fails.
Parts DivideGsm(const VELK_wstring& strText, bool bConcatenate, BYTE& btReference);
Parts DivideZpv(const VELK_wstring& strText, bool bConcatenate, BYTE& btReference);
Parts DivideCdma(const VELK_wstring& strText, int iSingleMaxSize);

/// The fill with one unit at a time and two rows of results.
Parts Fill(const VELK_wstring& strText, int iSingleBits, int iPartBits);

int PhonebookLength(const VELK_wstring& strText, bool bGsm, bool& bUnicode);

}  // namespace slow
