// Division by the room that each character takes.
#include "Pieces.h"

#include "Septets.h"
#include "platform/GlobalFunction.h"
#include "platform/VelkString.h"

#include <cstring>

namespace modem_sim {
namespace {

const int kUtf8 = 65001;

/// 0: the alphabet lacks it.
std::size_t SeptetsOf(VELK_wchar_t unit) {
  BYTE septets[2];
  std::size_t count = 0;
  const auto error = sms_pdu::TextToSeptets(&unit, 1, SMS_NLI(), septets, sizeof septets, &count);
  return error == sms_pdu::PduError::None ? count : 0;
}

bool IsHighSurrogate(VELK_wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(VELK_wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

bool FitsGsm7(const VELK_wstring& text) {
  for (const VELK_wchar_t unit : text) {
    if (SeptetsOf(unit) == 0) return false;
  }
  return true;
}

std::vector<VELK_wstring> Gsm7Pieces(const VELK_wstring& text, std::size_t septets) {
  std::vector<VELK_wstring> pieces(1);
  std::size_t used = 0;
  for (const VELK_wchar_t unit : text) {
    const std::size_t cost = SeptetsOf(unit) == 2 ? 2 : 1;
    if (used + cost > septets) {
      pieces.emplace_back();
      used = 0;
    }
    pieces.back() += unit;
    used += cost;
  }
  return pieces;
}

std::vector<VELK_wstring> Ucs2Pieces(const VELK_wstring& text, std::size_t units) {
  std::vector<VELK_wstring> pieces(1);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool pair = IsHighSurrogate(text[i]) && i + 1 < text.size() && IsLowSurrogate(text[i + 1]);
    const std::size_t cost = pair ? 2 : 1;
    if (pieces.back().size() + cost > units) pieces.emplace_back();
    pieces.back().append(text, i, cost);
    i += cost - 1;
  }
  return pieces;
}

VELK_wstring FromUtf8(const std::string& text) {
  VELK_wstring all;
  for (std::size_t start = 0; start <= text.size(); start += std::strlen(text.c_str() + start) + 1) {
    if (start != 0) all += u'\0';  // the conversion ends at a zero, the text may go on
    VELK_wstring units(text.size() - start + 1, u'\0');
    CGlobalFunction::MultiByteToWideChar(text.c_str() + start, units.data(), static_cast<int>(units.size()), kUtf8);
    all += units.c_str();
  }
  return all;
}

std::string ToUtf8(const VELK_wstring& text) {
  std::string all;
  for (std::size_t start = 0; start <= text.size(); start += VELK_wcslen(text.c_str() + start) + 1) {
    if (start != 0) all += '\0';
    std::string octets(3 * (text.size() - start) + 1, '\0');
    CGlobalFunction::WideCharToMultiByte(text.c_str() + start, octets.data(), static_cast<int>(octets.size()), kUtf8);
    all += octets.c_str();
  }
  return all;
}

}  // namespace modem_sim
