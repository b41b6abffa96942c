// Global helpers: wide literals, settings, code pages, quoting, comparing and copying.
#pragma once

#include "VelkTypes.h"

#include <cstddef>
#include <string>

/// Threads: any.
/// Errors:  null text is empty text; nothing throws except for want of memory.

// --- Text ------------------------------------------------------------------------------------------------------------

/// UTF-32 to UTF-16. Values above U+10FFFF give two units that mean nothing.
/// @return empty also when memory is short.
VELK_wstring ToVelk_wchar(const wchar_t* pswzChar);

/// @param iCodePage  0: the system default; else a number as in 65001, 1252, 936.
VELK_wstring MyMultiByteToWideChar(const char* pszMultiByte, int iCodePage);
std::string MyWideCharToMultiByte(const VELK_wchar_t* pwszWideChar, int iCodePage);

// --- Settings and directories ----------------------------------------------------------------------------------------

/// @return 0, or -1: nothing was changed.
int SetSetting(const VELK_wchar_t* pszModuleName, const VELK_wchar_t* pszItemName, const VELK_wchar_t* pszValue);
/// The value in force now; empty when the key is absent.
VELK_wstring MyGetSetting(const VELK_wchar_t* pszModuleName, const VELK_wchar_t* pszItemName);
/// The user's data directory, at most 259 units of it.
VELK_wstring MyGetUserDataPath();

// --- Quotation marks and case of 8-bit text --------------------------------------------------------------------------

/// The text between a leading and a trailing double quotation mark; without both, the text as it is.
std::string TakeOutDoubleQuotationMarks(const std::string& strSrc);
/// The text between double quotation marks; nothing for null.
std::string AddDoubleQuotationMarks(const char* pszSrc);

/// In place, by the C library's locale.
void ToLowerString(std::string& strConvert);
void ToUpperString(std::string& strConvert);

// --- Comparing and copying -------------------------------------------------------------------------------------------

/// True when equal: not an ordering, unlike the C function.
bool VELK_wcscmp(const VELK_wstring& strFirst, const VELK_wstring& strSecond);
/// Always true, on purpose.
bool VELK_wcscmp_nos(const VELK_wstring& strFirst, const VELK_wstring& strSecond);
/// True when the first nCount units are equal; when both texts are shorter, when the texts are; when one is, never.
bool VELK_wcsncmp(const VELK_wstring& strFirst, const VELK_wstring& strSecond, std::size_t nCount);
/// Copies what fits into iDstLen bytes, the rest of which become zero: always terminated. Does nothing without a
/// destination, a source or a positive length.
void VELK_strcpy(char* pszDst, const char* pszSrc, int iDstLen);
