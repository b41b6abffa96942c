// Dividing where a page is full.
#include "Pages.h"

#include "Pieces.h"

#include <algorithm>

namespace modem_sim {
namespace {

const BYTE kDcsGsm7 = 0x0F;  // language unspecified
const BYTE kDcsUcs2 = 0x48;  // general group, no class

}  // namespace

bool MakePages(WORD serial, WORD channel, const VELK_wstring& text, std::vector<sms_pdu::BroadcastPage>* out) {
  const bool gsm7 = FitsGsm7(text);
  const std::vector<VELK_wstring> pieces =
      gsm7 ? Gsm7Pieces(text, sms_pdu::kPageUnits) : Ucs2Pieces(text, sms_pdu::kPageContentOctets / 2);
  out->clear();
  if (pieces.size() > sms_pdu::kBroadcastPages) return false;
  for (const VELK_wstring& piece : pieces) {
    sms_pdu::BroadcastPage page;
    page.serial = serial;
    page.messageId = channel;
    page.dcs = gsm7 ? kDcsGsm7 : kDcsUcs2;
    page.page = static_cast<BYTE>(out->size() + 1);
    page.pages = static_cast<BYTE>(pieces.size());
    page.textLength = static_cast<BYTE>(piece.size());
    std::copy(piece.begin(), piece.end(), page.text);
    out->push_back(page);
  }
  return true;
}

}  // namespace modem_sim
