// What the division tests share.
#include "DivisionSupport.h"

#include "platform/Gsm7bit.h"

#include <algorithm>
#include <cstring>
#include <functional>

CNationalChoice::CNationalChoice(SMS_NLI_LOCK enLock, SMS_NLI_SIGNLE enSingle)
    : m_bBefore(CGsm7bit::m_bHaveCustomize), m_stBefore(CGsm7bit::m_stNLI_flag) {
  CGsm7bit::m_bHaveCustomize = true;
  CGsm7bit::m_stNLI_flag.enNLI_Lock = enLock;
  CGsm7bit::m_stNLI_flag.enNLI_Single = enSingle;
}

CNationalChoice::~CNationalChoice() {
  CGsm7bit::m_bHaveCustomize = m_bBefore;
  CGsm7bit::m_stNLI_flag = m_stBefore;
}

std::vector<NationalRow> AllNationalChoices() {
  return {{"None", SMS_NLI_Lock_Reverse, SMS_NLI_Single_Reverse},
          {"TurkishSingle", SMS_NLI_Lock_Reverse, SMS_NLI_Turk_Single},
          {"SpanishSingle", SMS_NLI_Lock_Reverse, SMS_NLI_Span_Single},
          {"PortugueseSingle", SMS_NLI_Lock_Reverse, SMS_NLI_Port_Single},
          {"TurkishLock", SMS_NLI_Turk_Lock, SMS_NLI_Single_Reverse},
          {"TurkishLockTurkishSingle", SMS_NLI_Turk_Lock, SMS_NLI_Turk_Single},
          {"TurkishLockSpanishSingle", SMS_NLI_Turk_Lock, SMS_NLI_Span_Single},
          {"TurkishLockPortugueseSingle", SMS_NLI_Turk_Lock, SMS_NLI_Port_Single},
          {"PortugueseLock", SMS_NLI_Port_Lock, SMS_NLI_Single_Reverse},
          {"PortugueseLockTurkishSingle", SMS_NLI_Port_Lock, SMS_NLI_Turk_Single},
          {"PortugueseLockSpanishSingle", SMS_NLI_Port_Lock, SMS_NLI_Span_Single},
          {"PortugueseLockPortugueseSingle", SMS_NLI_Port_Lock, SMS_NLI_Port_Single}};
}

void PrintTo(const NationalRow& row, std::ostream* pOut) { *pOut << row.pszName; }
std::string NationalName(const testing::TestParamInfo<NationalRow>& info) { return info.param.pszName; }

VELK_wstring Of(VELK_wchar_t ch, std::size_t nLength) { return VELK_wstring(nLength, ch); }
int LengthOf(const VELK_wstring& strText) { return static_cast<int>(strText.size()); }

namespace {

const unsigned char kOtherByte = 0xA5;

/// Calls with room for parts and hands back what was written.
typedef std::function<int(SMS_PARAM*, int)> Division;

Parts OtherBytes(std::size_t nParts) {
  Parts parts(nParts);
  for (SMS_PARAM& part : parts) {
    std::memset(static_cast<void*>(&part), kOtherByte, sizeof part);
  }
  return parts;
}

bool Untouched(const Parts& parts) {
  for (const SMS_PARAM& part : parts) {
    const unsigned char* pBytes = reinterpret_cast<const unsigned char*>(&part);
    for (std::size_t i = 0; i < sizeof part; ++i) {
      if (pBytes[i] != kOtherByte) {
        return false;
      }
    }
  }
  return true;
}

/// The reference of concatenation moves at every call, so the call whose parts count comes first.
Parts Divide(const Division& division) {
  const BYTE btBefore = btMR;
  const int iCount = division(nullptr, 0);
  btMR = btBefore;
  Parts parts = OtherBytes(static_cast<std::size_t>(iCount) + 1);
  EXPECT_EQ(iCount, division(parts.data(), std::max(iCount, 1)));
  const BYTE btAfter = btMR;
  const Parts rest(parts.begin() + iCount, parts.end());
  EXPECT_TRUE(Untouched(rest)) << "wrote more parts than it says";
  parts.resize(static_cast<std::size_t>(iCount));
  if (iCount > 1) {
    Parts small = OtherBytes(parts.size() - 1);
    EXPECT_EQ(0, division(small.data(), iCount - 1));
    EXPECT_TRUE(Untouched(small)) << "wrote although the room is too small";
  }
  btMR = btAfter;
  return parts;
}

}  // namespace

Parts DivideGsm(const VELK_wstring& strText, bool bDivideLongSm) {
  return Divide([&](SMS_PARAM* pstParts, int iRoom) {
    return CDivideSmContent::DivideSmContent(strText.c_str(), LengthOf(strText), pstParts, iRoom, bDivideLongSm);
  });
}

Parts DivideZpv(const VELK_wstring& strText, bool bDivideLongSm, int nSinglePackMaxSize) {
  return Divide([&](SMS_PARAM* pstParts, int iRoom) {
    return CDivideSmContent::DivideSmContentForZPV(strText.c_str(), LengthOf(strText), pstParts, iRoom,
                                                   nSinglePackMaxSize, bDivideLongSm);
  });
}

Parts DivideCdma(const VELK_wstring& strText, int nSinglePackMaxSize) {
  return Divide([&](SMS_PARAM* pstParts, int iRoom) {
    return CDivideSmContent::DivideCdmaSmContent(strText.c_str(), LengthOf(strText), pstParts, iRoom,
                                                 nSinglePackMaxSize);
  });
}

VELK_wstring Content(const SMS_PARAM& stPart) {
  return VELK_wstring(stPart.wszContent, static_cast<std::size_t>(stPart.iContentLen));
}

VELK_wstring Joined(const Parts& parts) {
  VELK_wstring strText;
  for (const SMS_PARAM& part : parts) {
    strText += Content(part);
  }
  return strText;
}

std::string Lengths(const Parts& parts) {
  std::string strLengths;
  for (const SMS_PARAM& part : parts) {
    strLengths += (strLengths.empty() ? "" : " ") + std::to_string(part.iContentLen);
  }
  return strLengths;
}

testing::AssertionResult SameParts(const Parts& expected, const Parts& actual) {
  if (expected.size() != actual.size()) {
    return testing::AssertionFailure() << expected.size() << " parts expected (" << Lengths(expected) << "), "
                                       << actual.size() << " made (" << Lengths(actual) << ")";
  }
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const SMS_PARAM& e = expected[i];
    const SMS_PARAM& a = actual[i];
    if (std::memcmp(&e, &a, sizeof e) != 0) {
      return testing::AssertionFailure() << "part " << i + 1 << " differs: length " << e.iContentLen << "/"
                                         << a.iContentLen << ", state " << e.enSMSStat << "/" << a.enSMSStat
                                         << ", coding " << int(e.cDCS) << "/" << int(a.cDCS) << ", reference "
                                         << int(e.stLongSMS_info.btMR) << "/" << int(a.stLongSMS_info.btMR)
                                         << ", same content " << (Content(e) == Content(a));
    }
  }
  return testing::AssertionSuccess();
}
