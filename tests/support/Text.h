// Conversions that make expectations readable.
#pragma once

#include "SMSDef.h"

#include <string>

/// UTF-8 of a 16-bit text; null becomes "(null)", half a surrogate pair "\uXXXX".
std::string Utf8(const VELK_wchar_t* pszText);
std::string Utf8(const VELK_wstring& text);
/// UTF-16 of valid UTF-8.
VELK_wstring Utf16(const std::string& text);
/// The text `unit` repeated until it has `length` code units.
VELK_wstring Repeat(const VELK_wstring& unit, std::size_t length);
