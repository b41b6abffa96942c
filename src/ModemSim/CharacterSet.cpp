// Conversions between the computer's character set and text.
#include "CharacterSet.h"

#include "HexText.h"
#include "SmsPdu.h"

#include <vector>

namespace modem_sim {
namespace {

const SMS_NLI kDefaultTables = {};
const std::size_t kSeptetsOfCharacter = 2;
const BYTE kQuestionMark = 0x3F;

std::vector<BYTE> ToSeptets(const VELK_wstring& text) {
  std::vector<BYTE> septets;
  for (const VELK_wchar_t unit : text) {
    BYTE codes[kSeptetsOfCharacter] = {kQuestionMark};
    std::size_t count = 1;
    if (sms_pdu::TextToSeptets(&unit, 1, kDefaultTables, codes, sizeof codes, &count) != sms_pdu::PduError::None) {
      codes[0] = kQuestionMark;
      count = 1;
    }
    septets.insert(septets.end(), codes, codes + count);
  }
  return septets;
}

bool FromSeptets(const std::vector<BYTE>& septets, VELK_wstring* out) {
  for (const BYTE septet : septets) {
    if (septet > 0x7F) return false;
  }
  out->resize(septets.size());
  out->resize(sms_pdu::SeptetsToText(septets.data(), septets.size(), kDefaultTables, out->data()));
  return true;
}

bool FromHex(const std::string& digits, std::vector<BYTE>* out) {
  out->resize(digits.size() / 2);
  std::size_t written = 0;
  return sms_pdu::HexToOctets(digits.data(), digits.size(), out->data(), out->size(), &written) ==
         sms_pdu::PduError::None;
}

std::string EncodeUcs2(const VELK_wstring& text) {
  std::vector<BYTE> octets;
  for (const VELK_wchar_t unit : text) {
    octets.push_back(static_cast<BYTE>(unit >> 8));
    octets.push_back(static_cast<BYTE>(unit & 0xFF));
  }
  return HexOf(octets);
}

bool DecodeUcs2(const std::string& digits, VELK_wstring* out) {
  std::vector<BYTE> octets;
  if (!FromHex(digits, &octets) || octets.size() % 2 != 0) return false;
  for (std::size_t i = 0; i < octets.size(); i += 2) {
    *out += static_cast<VELK_wchar_t>(octets[i] << 8 | octets[i + 1]);
  }
  return true;
}

std::string EncodeIra(const VELK_wstring& text) {
  std::string octets;
  for (const VELK_wchar_t unit : text) octets += unit < 0x80 ? static_cast<char>(unit) : '?';
  return octets;
}

bool DecodeIra(const std::string& octets, VELK_wstring* out) {
  for (const char c : octets) {
    if (static_cast<unsigned char>(c) > 0x7F) return false;
    *out += static_cast<VELK_wchar_t>(c);
  }
  return true;
}

bool DecodeInto(CharacterSet set, const std::string& octets, VELK_wstring* out) {
  std::vector<BYTE> septets;
  switch (set) {
    case CharacterSet::Gsm:
      return FromSeptets({octets.begin(), octets.end()}, out);
    case CharacterSet::Ira:
      return DecodeIra(octets, out);
    case CharacterSet::Ucs2:
      return DecodeUcs2(octets, out);
    case CharacterSet::Hex:
      return FromHex(octets, &septets) && FromSeptets(septets, out);
  }
  return false;
}

}  // namespace

const char* CharacterSetName(CharacterSet set) {
  static const char* const kNames[] = {"GSM", "IRA", "UCS2", "HEX"};
  return kNames[static_cast<std::size_t>(set)];
}

std::string Encode(CharacterSet set, const VELK_wstring& text) {
  switch (set) {
    case CharacterSet::Gsm: {
      const std::vector<BYTE> septets = ToSeptets(text);
      return {septets.begin(), septets.end()};
    }
    case CharacterSet::Ira:
      return EncodeIra(text);
    case CharacterSet::Ucs2:
      return EncodeUcs2(text);
    case CharacterSet::Hex:
      return HexOf(ToSeptets(text));
  }
  return {};
}

bool Decode(CharacterSet set, const std::string& octets, VELK_wstring* out) {
  out->clear();
  if (DecodeInto(set, octets, out)) return true;
  out->clear();
  return false;
}

std::string EncodeAscii(CharacterSet set, const std::string& text) {
  return Encode(set, VELK_wstring(text.begin(), text.end()));
}

bool DecodeAscii(CharacterSet set, const std::string& octets, std::string* out) {
  VELK_wstring text;
  out->clear();
  if (!Decode(set, octets, &text)) return false;
  for (const VELK_wchar_t unit : text) {
    if (unit > 0x7F) return false;
    *out += static_cast<char>(unit);
  }
  return true;
}

}  // namespace modem_sim
