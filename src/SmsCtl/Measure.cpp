#include "Measure.h"

namespace smsctl {

namespace {

// A letter of the GSM default alphabet: it takes one unit in every coding and never changes the coding of a text.
const VELK_wchar_t kPlainLetter = u'a';
const long kMostUnitsOfAPart = 160;
// 16-bit parts hold 70 units alone and 67 among several (3GPP TS 23.040, 9.2.3.24.1); 7-bit parts never as few: even
// a part full of two-septet characters is filled up with more than that.
const long kUcs2Alone = 70;
const long kUcs2AmongSeveral = 67;

long PartsOf(ISMSService& service, const VELK_wstring& text) {
  long parts = 0;
  service.GetMsgSplitCount(text.c_str(), parts);
  return parts;
}

}  // namespace

Cost Measure(ISMSService& service, const VELK_wstring& text) {
  Cost cost;
  cost.parts = PartsOf(service, text);
  if (text.empty() || cost.parts < 1) {
    return cost;
  }
  long fits = 0;
  long tooMany = kMostUnitsOfAPart + 1;
  while (tooMany - fits > 1) {
    const long middle = (fits + tooMany) / 2;
    const VELK_wstring longer = text + VELK_wstring(static_cast<std::size_t>(middle), kPlainLetter);
    (PartsOf(service, longer) == cost.parts ? fits : tooMany) = middle;
  }
  cost.charactersLeft = fits;
  const long units = static_cast<long>(text.size()) + fits;
  cost.isUcs2 = units == (cost.parts == 1 ? kUcs2Alone : kUcs2AmongSeveral * cost.parts);
  return cost;
}

const char* EncodingName(const Cost& cost) { return cost.isUcs2 ? "UCS-2" : "GSM 7-bit"; }

}  // namespace smsctl
