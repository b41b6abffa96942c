// Cell-broadcast pages of GSM, and messages of UMTS.
#include "CellBroadcast.h"

#include "Equal.h"
#include "Property.h"

#include <algorithm>

using namespace fuzz;
using namespace sms_pdu;

namespace {

bool Equal(const BroadcastPage& a, const BroadcastPage& b) {
  return a.serial == b.serial && a.messageId == b.messageId && a.dcs == b.dcs && a.page == b.page &&
         a.pages == b.pages && fuzz::Equal(a.header, b.header) && std::equal(a.language, a.language + 3, b.language) &&
         a.textLength == b.textLength && a.octetCount == b.octetCount &&
         std::equal(a.text, a.text + a.textLength, b.text) && std::equal(a.octets, a.octets + a.octetCount, b.octets);
}

void RequireComesBack(const BroadcastPage& page, std::size_t capacity) {
  BYTE whole[kPageOctets];
  std::size_t needed = 0;
  Require(EncodePage(page, whole, sizeof whole, &needed) == PduError::None, "a decoded page encodes");
  BroadcastPage again;
  CBlock<BYTE> exact(whole, needed);
  Require(DecodePage(exact.Data(), needed, &again) == PduError::None && Equal(page, again), "a page comes back");
  RequireBounded<PduError>(
      [&](BYTE* out, std::size_t room, std::size_t* written) { return EncodePage(page, out, room, written); }, whole,
      needed, capacity);
}

}  // namespace

/// Input: size of the buffers, then a page or a message.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  const std::size_t capacity = input.Octet();
  CBlock<BYTE> octets(input.Rest(), input.Left());
  BroadcastPage page;
  const PduError error = DecodePage(octets.Data(), octets.Size(), &page);
  Require(error == PduError::None || Equal(page, BroadcastPage()), "an error leaves a fresh page");
  if (error == PduError::None) RequireComesBack(page, capacity);

  CBlock<BroadcastPage> pages(capacity % (kBroadcastPages + 2));
  std::size_t count = 0;
  const PduError ofMessage = DecodeBroadcastMessage(octets.Data(), octets.Size(), pages.Data(), pages.Size(), &count);
  Require((ofMessage == PduError::None) == (count != 0) && count <= pages.Size(), "pages or an error");
  for (std::size_t i = 0; i < count; ++i) RequireComesBack(pages.Data()[i], capacity);
  return 0;
}
