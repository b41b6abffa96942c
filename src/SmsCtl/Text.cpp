#include "Text.h"

#include "platform/GlobalFunction.h"

#include <algorithm>

namespace smsctl {

VELK_wstring ToUtf16(const std::string& text) {
  const int length = CGlobalFunction::MultiByteToWideChar(text.c_str(), nullptr, 0, 0);
  VELK_wstring wide(static_cast<std::size_t>(length), 0);
  CGlobalFunction::MultiByteToWideChar(text.c_str(), &wide[0], length, 0);
  return wide;
}

std::string ToUtf8(const VELK_wstring& text) {
  const int length = CGlobalFunction::WideCharToMultiByte(text.c_str(), nullptr, 0, 0);
  std::string narrow(static_cast<std::size_t>(length), '\0');
  CGlobalFunction::WideCharToMultiByte(text.c_str(), &narrow[0], length, 0);
  return narrow;
}

std::string ToUtf8(const VELK_wchar_t* pszText) {
  return pszText == nullptr ? std::string() : ToUtf8(VELK_wstring(pszText));
}

bool IsUtf8(const std::string& text) { return ToUtf8(ToUtf16(text)) == text; }

std::string OneLine(const std::string& text, std::size_t width) {
  std::string line;
  std::size_t characters = 0;
  for (const char octet : text) {
    const bool continues = (static_cast<unsigned char>(octet) & 0xC0) == 0x80;
    if (!continues && ++characters > width) {
      return line + "...";
    }
    const bool control = static_cast<unsigned char>(octet) < 0x20 || octet == 0x7F;
    line += control ? ' ' : octet;
  }
  return line;
}

std::string Printable(const std::string& text) {
  std::string printable(text);
  for (char& octet : printable) {
    const bool control = static_cast<unsigned char>(octet) < 0x20 || octet == 0x7F;
    octet = control && octet != '\n' ? ' ' : octet;
  }
  return printable;
}

std::vector<std::string> SplitNumbers(const std::string& list) {
  std::vector<std::string> numbers;
  std::size_t begin = 0;
  while (begin <= list.size()) {
    const std::size_t end = std::min(list.find_first_of(",;", begin), list.size());
    if (end > begin) {
      numbers.push_back(list.substr(begin, end - begin));
    }
    begin = end + 1;
  }
  return numbers;
}

std::string Counted(long count, const std::string& noun) {
  return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace smsctl
