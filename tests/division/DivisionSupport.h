// What the division tests share: national choices, calls of the divisions, comparison of parts.
#pragma once

#include "DivideSmContent.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

typedef std::vector<SMS_PARAM> Parts;

/// A national-language choice while it lives; the one before comes back.
class CNationalChoice {
public:
  CNationalChoice(SMS_NLI_LOCK enLock, SMS_NLI_SIGNLE enSingle);
  ~CNationalChoice();
  CNationalChoice(const CNationalChoice&) = delete;
  CNationalChoice& operator=(const CNationalChoice&) = delete;

private:
  const bool m_bBefore;
  const SMS_NLI m_stBefore;
};

struct NationalRow {
  const char* pszName;
  SMS_NLI_LOCK enLock;
  SMS_NLI_SIGNLE enSingle;
};
void PrintTo(const NationalRow& row, std::ostream* pOut);
/// Every pair of tables.
std::vector<NationalRow> AllNationalChoices();
std::string NationalName(const testing::TestParamInfo<NationalRow>& info);

/// A text of one unit repeated.
VELK_wstring Of(VELK_wchar_t ch, std::size_t nLength);
int LengthOf(const VELK_wstring& strText);

// The division into room enough, which held other bytes before; no parts when it answers 0. Fails the test when
// counting, or room too small by one, answers anything else.
Parts DivideGsm(const VELK_wstring& strText, bool bDivideLongSm = true);
Parts DivideZpv(const VELK_wstring& strText, bool bDivideLongSm = false, int nSinglePackMaxSize = 102);
Parts DivideCdma(const VELK_wstring& strText, int nSinglePackMaxSize = 160);

VELK_wstring Content(const SMS_PARAM& stPart);
/// Contents of all parts put together again.
VELK_wstring Joined(const Parts& parts);
/// Lengths of the contents, as in "153 8".
std::string Lengths(const Parts& parts);

/// Every byte of every part is the same.
testing::AssertionResult SameParts(const Parts& expected, const Parts& actual);
