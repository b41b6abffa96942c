// Code pages: UTF-8 by hand, the rest through iconv.
#include "platform/GlobalFunction.h"

#include "BoundedOut.h"
#include "NoCancel.h"
#include "Utf.h"

#include <iconv.h>
#include <cerrno>
#include <cstring>
#include <string>

namespace {

const int kSystemDefault = 0;
const int kUtf8 = 65001;

#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
const char* const kUtf16 = "UTF-16LE";
#else
const char* const kUtf16 = "UTF-16BE";
#endif

struct NamedPage {
  int iNumber;
  const char* pszName;
};

// Pages whose number is not their name.
const NamedPage kNamedPages[] = {
    {20127, "ASCII"},       {20866, "KOI8-R"},      {21866, "KOI8-U"},      {28591, "ISO-8859-1"},
    {28592, "ISO-8859-2"},  {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},  {28595, "ISO-8859-5"},
    {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},  {28599, "ISO-8859-9"},
    {28603, "ISO-8859-13"}, {28605, "ISO-8859-15"}, {50220, "ISO-2022-JP"}, {50225, "ISO-2022-KR"},
    {51932, "EUC-JP"},      {51936, "GB2312"},      {51949, "EUC-KR"},      {54936, "GB18030"},
};

std::string NameOf(int iCodePage) {
  for (const NamedPage& page : kNamedPages) {
    if (page.iNumber == iCodePage) {
      return page.pszName;
    }
  }
  return "CP" + std::to_string(iCodePage);
}

/// A conversion of the C library between a code page and UTF-16. Not usable for UTF-8 and unknown pages.
class CConversion {
public:
  enum Direction { kFromPage, kToPage };
  enum Outcome { kGoesOn, kRefused, kCutShort, kOver };

  CConversion(int iCodePage, Direction enDirection) : m_handle(kNone) {
    if (iCodePage == kSystemDefault || iCodePage == kUtf8 || iCodePage < 0) {
      return;
    }
    const std::string strPage = NameOf(iCodePage);
    m_handle = enDirection == kFromPage ? iconv_open(kUtf16, strPage.c_str()) : iconv_open(strPage.c_str(), kUtf16);
  }
  ~CConversion() {
    if (IsUsable()) {
      iconv_close(m_handle);
    }
  }
  CConversion(const CConversion&) = delete;
  CConversion& operator=(const CConversion&) = delete;

  bool IsUsable() const { return m_handle != kNone; }

  /// Converts as much as fits into a small buffer and gives that to put(Char). Null input: the end of a stateful text.
  template <class Char, class Put>
  Outcome Convert(const char** ppszIn, std::size_t* pnIn, Put&& put) {
    Char buffer[256];
    char* pszOut = reinterpret_cast<char*>(buffer);
    std::size_t nLeft = sizeof(buffer);
    const std::size_t nResult = iconv(m_handle, const_cast<char**>(ppszIn), pnIn, &pszOut, &nLeft);
    const int iError = nResult == static_cast<std::size_t>(-1) ? errno : 0;
    const std::size_t nUnits = (sizeof(buffer) - nLeft) / sizeof(Char);
    for (std::size_t n = 0; n < nUnits; ++n) {
      put(buffer[n]);
    }
    switch (iError) {
      case 0:
        return kOver;
      case E2BIG:
        return kGoesOn;
      case EINVAL:
        return kCutShort;
      default:
        return kRefused;
    }
  }

private:
  static inline const iconv_t kNone = reinterpret_cast<iconv_t>(-1);
  iconv_t m_handle;
};

template <class Put>
void FromPage(CConversion& conversion, const char* pszText, Put&& put) {
  std::size_t nLeft = std::strlen(pszText);
  for (;;) {
    const CConversion::Outcome enOutcome = conversion.Convert<VELK_wchar_t>(&pszText, &nLeft, put);
    if (enOutcome == CConversion::kOver) {
      return;
    }
    if (enOutcome == CConversion::kGoesOn) {
      continue;
    }
    put(static_cast<VELK_wchar_t>(utf::kReplacement));
    if (enOutcome == CConversion::kCutShort || nLeft == 0) {
      return;
    }
    ++pszText;
    --nLeft;
  }
}

template <class Put>
void ToPage(CConversion& conversion, std::u16string_view text, Put&& put) {
  static const VELK_wchar_t kQuestionMark = u'?';
  const char* pszText = reinterpret_cast<const char*>(text.data());
  std::size_t nLeft = text.size() * sizeof(VELK_wchar_t);
  while (nLeft != 0) {
    const CConversion::Outcome enOutcome = conversion.Convert<char>(&pszText, &nLeft, put);
    if (enOutcome == CConversion::kRefused || enOutcome == CConversion::kCutShort) {
      const char* pszMark = reinterpret_cast<const char*>(&kQuestionMark);
      std::size_t nMark = sizeof(kQuestionMark);
      conversion.Convert<char>(&pszMark, &nMark, put);
      const std::size_t nAt = text.size() - nLeft / sizeof(VELK_wchar_t);
      const std::size_t nTaken = utf::Utf16Step(text.substr(nAt)).length * sizeof(VELK_wchar_t);
      pszText += nTaken;
      nLeft -= nTaken;
    }
  }
  conversion.Convert<char>(nullptr, nullptr, put);
}

}  // namespace

int CGlobalFunction::MultiByteToWideChar(const char* pszSrc, VELK_wchar_t* pszDst, int iDstLen, int iCodePage) {
  const CNoCancel noCancel;
  CBoundedOut<VELK_wchar_t> out(pszDst, iDstLen);
  const char* const pszText = pszSrc == nullptr ? "" : pszSrc;
  CConversion conversion(iCodePage, CConversion::kFromPage);
  if (conversion.IsUsable()) {
    FromPage(conversion, pszText, out);
  } else {
    utf::DecodeUtf8(pszText, out);
  }
  return out.Finish();
}

int CGlobalFunction::WideCharToMultiByte(const VELK_wchar_t* pszSrc, char* pszDst, int iDstLen, int iCodePage) {
  const CNoCancel noCancel;
  CBoundedOut<char> out(pszDst, iDstLen);
  const std::u16string_view text(pszSrc == nullptr ? u"" : pszSrc);
  CConversion conversion(iCodePage, CConversion::kToPage);
  if (conversion.IsUsable()) {
    ToPage(conversion, text, out);
  } else {
    utf::EncodeUtf8(text, out);
  }
  return out.Finish();
}
