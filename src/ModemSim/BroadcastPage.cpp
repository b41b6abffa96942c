// Text into pages, pages into octets.
#include "BroadcastPage.h"

#include "Pieces.h"
#include "Septets.h"

namespace modem_sim {
namespace {

const std::size_t kPageOctets = 82;
const std::size_t kPageSeptets = 93;
const std::size_t kPageUnits = kPageOctets / 2;
const BYTE kDcsGsm7 = 0x0F;  // language unspecified
const BYTE kDcsUcs2 = 0x48;  // general group, no class

std::vector<BYTE> Gsm7Content(const VELK_wstring& text) {
  BYTE septets[kPageSeptets];
  std::size_t count = 0;
  sms_pdu::TextToSeptets(text.data(), text.size(), SMS_NLI(), septets, kPageSeptets, &count);
  while (count < kPageSeptets) septets[count++] = '\r';
  std::vector<BYTE> octets(kPageOctets);
  sms_pdu::PackSeptets(septets, count, 0, octets.data());
  return octets;
}

std::vector<BYTE> Ucs2Content(VELK_wstring text) {
  text.resize(kPageUnits, u'\r');
  std::vector<BYTE> octets;
  for (const VELK_wchar_t unit : text) {
    octets.push_back(static_cast<BYTE>(unit >> 8));
    octets.push_back(static_cast<BYTE>(unit & 0xFF));
  }
  return octets;
}

}  // namespace

bool MakePages(WORD serial, WORD channel, const VELK_wstring& text, std::vector<BroadcastPage>* out) {
  const bool gsm7 = FitsGsm7(text);
  const std::vector<VELK_wstring> pieces = gsm7 ? Gsm7Pieces(text, kPageSeptets) : Ucs2Pieces(text, kPageUnits);
  out->clear();
  if (pieces.size() > kMostPages) return false;
  for (const VELK_wstring& piece : pieces) {
    BroadcastPage page;
    page.serial = serial;
    page.channel = channel;
    page.dcs = gsm7 ? kDcsGsm7 : kDcsUcs2;
    page.page = static_cast<BYTE>(out->size() + 1);
    page.pages = static_cast<BYTE>(pieces.size());
    page.content = gsm7 ? Gsm7Content(piece) : Ucs2Content(piece);
    out->push_back(page);
  }
  return true;
}

std::vector<BYTE> EncodePage(const BroadcastPage& page) {
  std::vector<BYTE> octets;
  for (const int octet : {page.serial >> 8, page.serial & 0xFF, page.channel >> 8, page.channel & 0xFF, +page.dcs,
                          page.page << 4 | page.pages}) {
    octets.push_back(static_cast<BYTE>(octet));
  }
  octets.insert(octets.end(), page.content.begin(), page.content.end());
  return octets;
}

}  // namespace modem_sim
