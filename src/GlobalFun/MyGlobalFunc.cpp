// Global helpers over the platform library.
#include "MyGlobalFunc.h"

#include "platform/GlobalFunction.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <new>

namespace {

const std::uint32_t kFirstPair = 0x10000;  // values from here on take a surrogate pair

/// Asks for the length, then for the text. The text may change between the two calls: what is read then ends at the
/// length asked for or at its own terminator.
template <class Char, class Read>
std::basic_string<Char> ReadText(const Read& read) {
  const int iLength = read(nullptr, 0);
  if (iLength <= 0) {
    return {};
  }
  std::basic_string<Char> strText(static_cast<std::size_t>(iLength) + 1, Char());
  read(&strText[0], iLength);
  strText.resize(std::char_traits<Char>::length(strText.c_str()));
  return strText;
}

std::size_t UnitsOf(const wchar_t* pswzChar) {
  std::size_t nUnits = 0;
  for (; *pswzChar != 0; ++pswzChar) {
    nUnits += static_cast<std::uint32_t>(*pswzChar) < kFirstPair ? 1 : 2;
  }
  return nUnits;
}

void AppendAsUtf16(VELK_wstring& strText, std::uint32_t uValue) {
  if (uValue < kFirstPair) {
    strText += static_cast<VELK_wchar_t>(uValue);
    return;
  }
  strText += static_cast<VELK_wchar_t>(0xD800 + ((uValue - kFirstPair) >> 10));
  strText += static_cast<VELK_wchar_t>(0xDC00 + (uValue & 0x3FF));
}

}  // namespace

VELK_wstring ToVelk_wchar(const wchar_t* pswzChar) {
  VELK_wstring strText;
  if (pswzChar == nullptr) {
    return strText;
  }
  try {
    strText.reserve(UnitsOf(pswzChar));
  } catch (const std::bad_alloc&) {
    return strText;
  }
  for (; *pswzChar != 0; ++pswzChar) {
    AppendAsUtf16(strText, static_cast<std::uint32_t>(*pswzChar));
  }
  return strText;
}

VELK_wstring MyMultiByteToWideChar(const char* pszMultiByte, int iCodePage) {
  if (pszMultiByte == nullptr) {
    return VELK_wstring();
  }
  return ReadText<VELK_wchar_t>([=](VELK_wchar_t* pszBuffer, int iSize) {
    return CGlobalFunction::MultiByteToWideChar(pszMultiByte, pszBuffer, iSize, iCodePage);
  });
}

std::string MyWideCharToMultiByte(const VELK_wchar_t* pwszWideChar, int iCodePage) {
  if (pwszWideChar == nullptr) {
    return std::string();
  }
  return ReadText<char>([=](char* pszBuffer, int iSize) {
    return CGlobalFunction::WideCharToMultiByte(pwszWideChar, pszBuffer, iSize, iCodePage);
  });
}

int SetSetting(const VELK_wchar_t* pszModuleName, const VELK_wchar_t* pszItemName, const VELK_wchar_t* pszValue) {
  return CGlobalFunction::SetSetting(pszModuleName, pszItemName, pszValue);
}

VELK_wstring MyGetSetting(const VELK_wchar_t* pszModuleName, const VELK_wchar_t* pszItemName) {
  if (pszModuleName == nullptr || pszItemName == nullptr) {
    return VELK_wstring();
  }
  return ReadText<VELK_wchar_t>([=](VELK_wchar_t* pszBuffer, int iSize) {
    return CGlobalFunction::GetSetting(pszModuleName, pszItemName, pszBuffer, iSize);
  });
}

VELK_wstring MyGetUserDataPath() {
  VELK_wchar_t szPath[260] = {};
  CGlobalFunction::GetUserDataDirectory(szPath, 260);
  szPath[259] = 0;
  return VELK_wstring(szPath);
}

std::string TakeOutDoubleQuotationMarks(const std::string& strSrc) {
  const bool bQuoted = strSrc.size() >= 2 && strSrc.front() == '"' && strSrc.back() == '"';
  return bQuoted ? strSrc.substr(1, strSrc.size() - 2) : strSrc;
}

std::string AddDoubleQuotationMarks(const char* pszSrc) {
  return pszSrc == nullptr ? std::string() : '"' + std::string(pszSrc) + '"';
}

void ToLowerString(std::string& strConvert) {
  std::transform(strConvert.begin(), strConvert.end(), strConvert.begin(),
                 [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
}

void ToUpperString(std::string& strConvert) {
  std::transform(strConvert.begin(), strConvert.end(), strConvert.begin(),
                 [](unsigned char ch) { return static_cast<char>(std::toupper(ch)); });
}

bool VELK_wcscmp(const VELK_wstring& strFirst, const VELK_wstring& strSecond) { return strFirst == strSecond; }

bool VELK_wcscmp_nos(const VELK_wstring&, const VELK_wstring&) { return true; }

bool VELK_wcsncmp(const VELK_wstring& strFirst, const VELK_wstring& strSecond, std::size_t nCount) {
  if (strFirst.size() < nCount && strSecond.size() < nCount) {
    return VELK_wcscmp(strFirst, strSecond);
  }
  if (std::min(strFirst.size(), strSecond.size()) < nCount) {
    return false;
  }
  return strFirst.compare(0, nCount, strSecond, 0, nCount) == 0;
}

void VELK_strcpy(char* pszDst, const char* pszSrc, int iDstLen) {
  if (pszDst == nullptr || pszSrc == nullptr || iDstLen <= 0) {
    return;
  }
  const std::size_t nDstLen = static_cast<std::size_t>(iDstLen);
  std::memset(pszDst, 0, nDstLen);
  std::memcpy(pszDst, pszSrc, std::min(nDstLen - 1, std::strlen(pszSrc)));
}
