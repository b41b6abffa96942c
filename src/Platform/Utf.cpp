// UTF-8, byte for byte as the table of well-formed sequences says (The Unicode Standard, table 3-7).
#include "Utf.h"

namespace utf {

namespace {

struct Lead {
  std::size_t nMore;            // continuation bytes; 0: no lead byte
  unsigned char btLow, btHigh;  // of the first of them; further ones are 80 to BF
  unsigned char btValueOfLead;  // bits the lead byte itself brings
};

Lead LeadOf(unsigned char bt) {
  if (bt >= 0xC2 && bt <= 0xDF) {
    return Lead{1, 0x80, 0xBF, static_cast<unsigned char>(bt & 0x1F)};
  }
  if (bt >= 0xE0 && bt <= 0xEF) {
    const unsigned char btLow = bt == 0xE0 ? 0xA0 : 0x80;   // else two bytes would do
    const unsigned char btHigh = bt == 0xED ? 0x9F : 0xBF;  // else half a surrogate pair
    return Lead{2, btLow, btHigh, static_cast<unsigned char>(bt & 0x0F)};
  }
  if (bt >= 0xF0 && bt <= 0xF4) {
    const unsigned char btLow = bt == 0xF0 ? 0x90 : 0x80;   // else three bytes would do
    const unsigned char btHigh = bt == 0xF4 ? 0x8F : 0xBF;  // else above U+10FFFF
    return Lead{3, btLow, btHigh, static_cast<unsigned char>(bt & 0x07)};
  }
  return Lead{0, 0, 0, 0};
}

}  // namespace

Step Utf8Step(std::string_view text) {
  const unsigned char btFirst = static_cast<unsigned char>(text[0]);
  if (btFirst < 0x80) {
    return Step{btFirst, 1, true};
  }
  const Lead lead = LeadOf(btFirst);
  if (lead.nMore == 0) {
    return Step{kReplacement, 1, false};
  }
  char32_t value = lead.btValueOfLead;
  for (std::size_t n = 1; n <= lead.nMore; ++n) {
    const unsigned char bt = n < text.size() ? static_cast<unsigned char>(text[n]) : 0;
    const unsigned char btLow = n == 1 ? lead.btLow : 0x80;
    const unsigned char btHigh = n == 1 ? lead.btHigh : 0xBF;
    if (bt < btLow || bt > btHigh) {
      return Step{kReplacement, n, false};
    }
    value = (value << 6) | (bt & 0x3FU);
  }
  return Step{value, lead.nMore + 1, true};
}

VELK_wstring ToUtf16(std::string_view text) {
  VELK_wstring strResult;
  strResult.reserve(text.size());
  DecodeUtf8(text, [&](char16_t ch) { strResult += ch; });
  return strResult;
}

std::string ToUtf8(std::u16string_view text) {
  std::string strResult;
  strResult.reserve(text.size());
  EncodeUtf8(text, [&](char ch) { strResult += ch; });
  return strResult;
}

}  // namespace utf
