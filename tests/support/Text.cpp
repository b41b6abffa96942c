#include "Text.h"

#include <cstdio>

namespace {

void AppendUtf8(std::string& out, unsigned int code) {
  if (code < 0x80) {
    out += static_cast<char>(code);
  } else if (code < 0x800) {
    out += static_cast<char>(0xC0 | (code >> 6));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else if (code < 0x10000) {
    out += static_cast<char>(0xE0 | (code >> 12));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (code >> 18));
    out += static_cast<char>(0x80 | ((code >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (code & 0x3F));
  }
}

bool IsHigh(unsigned int unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLow(unsigned int unit) { return unit >= 0xDC00 && unit < 0xE000; }

}  // namespace

std::string Utf8(const VELK_wchar_t* pszText) { return pszText == nullptr ? "(null)" : Utf8(VELK_wstring(pszText)); }

std::string Utf8(const VELK_wstring& text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const unsigned int unit = text[i];
    if (IsHigh(unit) && i + 1 < text.size() && IsLow(text[i + 1])) {
      AppendUtf8(out, 0x10000 + ((unit - 0xD800) << 10) + (text[i + 1] - 0xDC00u));
      ++i;
    } else if (IsHigh(unit) || IsLow(unit)) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04X", unit);
      out += escape;
    } else {
      AppendUtf8(out, unit);
    }
  }
  return out;
}

VELK_wstring Utf16(const std::string& text) {
  VELK_wstring out;
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char lead = static_cast<unsigned char>(text[i]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    unsigned int code = length == 1 ? lead : lead & (0xFFu >> (length + 1));
    for (std::size_t k = 1; k < length; ++k) {
      code = (code << 6) | (static_cast<unsigned char>(text.at(i + k)) & 0x3F);
    }
    if (code < 0x10000) {
      out += static_cast<VELK_wchar_t>(code);
    } else {
      out += static_cast<VELK_wchar_t>(0xD800 + ((code - 0x10000) >> 10));
      out += static_cast<VELK_wchar_t>(0xDC00 + (code & 0x3FF));
    }
    i += length;
  }
  return out;
}

VELK_wstring Repeat(const VELK_wstring& unit, std::size_t length) {
  VELK_wstring out;
  while (out.size() < length) {
    out += unit;
  }
  out.resize(length);
  return out;
}
