// C string functions for 16-bit text.
#include "platform/VelkString.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

namespace {

using Traits = std::char_traits<VELK_wchar_t>;

bool IsBlank(VELK_wchar_t ch) { return ch == u' ' || (ch >= u'\t' && ch <= u'\r'); }
bool IsDigit(VELK_wchar_t ch) { return ch >= u'0' && ch <= u'9'; }

std::int32_t ParseDecimal(const VELK_wchar_t* pszText) {
  if (pszText == nullptr) {
    return 0;
  }
  while (IsBlank(*pszText)) {
    ++pszText;
  }
  const bool bNegative = *pszText == u'-';
  if (bNegative || *pszText == u'+') {
    ++pszText;
  }
  const std::int64_t iLimit = std::numeric_limits<std::int32_t>::max() + std::int64_t{bNegative};
  std::int64_t iValue = 0;
  for (; IsDigit(*pszText); ++pszText) {
    iValue = std::min(iValue * 10 + (*pszText - u'0'), iLimit);
  }
  return static_cast<std::int32_t>(bNegative ? -iValue : iValue);
}

}  // namespace

VELK_wchar_t* VELK_wcscpy(VELK_wchar_t* pszDst, const VELK_wchar_t* pszSrc) {
  if (pszDst == nullptr) {
    return nullptr;
  }
  const std::size_t nLength = VELK_wcslen(pszSrc);
  if (nLength != 0) {
    Traits::copy(pszDst, pszSrc, nLength);
  }
  pszDst[nLength] = 0;
  return pszDst;
}

std::size_t VELK_wcslen(const VELK_wchar_t* pszText) { return pszText == nullptr ? 0 : Traits::length(pszText); }

VELK_wchar_t* VELK_wcsncpy(VELK_wchar_t* pszDst, const VELK_wchar_t* pszSrc, std::size_t nCount) {
  if (pszDst == nullptr) {
    return nullptr;
  }
  std::size_t n = 0;
  for (; pszSrc != nullptr && n < nCount && pszSrc[n] != 0; ++n) {
    pszDst[n] = pszSrc[n];
  }
  std::fill(pszDst + n, pszDst + nCount, VELK_wchar_t{0});
  return pszDst;
}

int VELK_wtoi(const VELK_wchar_t* pszText) { return ParseDecimal(pszText); }

long VELK_wtol(const VELK_wchar_t* pszText) { return ParseDecimal(pszText); }

VELK_wchar_t* VELK_itow(int iValue, VELK_wchar_t* pszBuffer, int iRadix) {
  if (pszBuffer == nullptr) {
    return nullptr;
  }
  VELK_wchar_t* pszEnd = pszBuffer;
  if (iRadix < 2 || iRadix > 36) {
    *pszEnd = 0;
    return pszBuffer;
  }
  std::uint32_t uValue = static_cast<std::uint32_t>(iValue);
  if (iRadix == 10 && iValue < 0) {
    *pszEnd++ = u'-';
    uValue = 0U - uValue;
  }
  VELK_wchar_t* const pszDigits = pszEnd;
  const std::uint32_t uRadix = static_cast<std::uint32_t>(iRadix);
  do {
    *pszEnd++ = u"0123456789abcdefghijklmnopqrstuvwxyz"[uValue % uRadix];
    uValue /= uRadix;
  } while (uValue != 0);
  *pszEnd = 0;
  std::reverse(pszDigits, pszEnd);
  return pszBuffer;
}
