// C string functions for 16-bit text. Units are char16_t, lengths count code units. [any-thread]
#pragma once

#include "VelkTypes.h"
#include "platform/PlatformExport.h"

#include <cstddef>

// Null text is empty text; a null destination stays untouched and comes back.

/// Copies with the terminator; returns pszDst, which must have room.
PLATFORM_API VELK_wchar_t* VELK_wcscpy(VELK_wchar_t* pszDst, const VELK_wchar_t* pszSrc);
PLATFORM_API std::size_t VELK_wcslen(const VELK_wchar_t* pszText);
/// Writes exactly nCount units: the text, then zeros; no terminator when the text fills them.
PLATFORM_API VELK_wchar_t* VELK_wcsncpy(VELK_wchar_t* pszDst, const VELK_wchar_t* pszSrc, std::size_t nCount);
/// Decimal number after blanks and a sign; 0 without digits; saturates at the 32-bit limits.
PLATFORM_API int VELK_wtoi(const VELK_wchar_t* pszText);
PLATFORM_API long VELK_wtol(const VELK_wchar_t* pszText);
/// Radix 2 to 36, lower-case digits, sign only for radix 10; the buffer needs 12 units for radix 10, 33 for radix 2.
/// Empty text for any other radix.
PLATFORM_API VELK_wchar_t* VELK_itow(int iValue, VELK_wchar_t* pszBuffer, int iRadix);
