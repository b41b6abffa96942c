// Septets: packed and unpacked, to text and back under every choice of national tables.
#include "Septets.h"
#include "Property.h"

#include <algorithm>
#include <vector>

using namespace fuzz;
using namespace sms_pdu;

namespace {

void TryPacking(CBlock<BYTE>& octets, unsigned fillBits, std::vector<BYTE>& septets) {
  const std::size_t bits = octets.Size() * 8;
  if (bits < fillBits) return;
  const std::size_t count = (bits - fillBits) / 7;
  CBlock<BYTE> unpacked(count);
  UnpackSeptets(octets.Data(), octets.Size(), fillBits, unpacked.Data(), count);
  septets.assign(unpacked.Data(), unpacked.Data() + count);
  Require(std::all_of(septets.begin(), septets.end(), [](BYTE septet) { return septet < 128; }), "a septet has 7 bits");
  CBlock<BYTE> packed(PackedOctets(count, fillBits));
  PackSeptets(septets.data(), count, fillBits, packed.Data());
  Require(packed.Size() <= octets.Size(), "septets take no more octets than they came from");
  for (std::size_t bit = 0; bit < packed.Size() * 8; ++bit) {
    const bool inside = bit >= fillBits && bit < fillBits + count * 7;
    const bool expected = inside && (octets.Data()[bit / 8] >> bit % 8 & 1);
    Require((packed.Data()[bit / 8] >> bit % 8 & 1) == expected, "bits come back, and the ones between are 0");
  }
}

/// What text says in septets comes back; an escape that means nothing does not.
void TryText(const std::vector<BYTE>& septets, const SMS_NLI& tables, std::size_t capacity) {
  CBlock<VELK_wchar_t> text(septets.size());
  const std::size_t units = SeptetsToText(septets.data(), septets.size(), tables, text.Data());
  Require(units <= septets.size(), "no more units than septets");
  CBlock<BYTE> whole(septets.size());
  std::size_t needed = 0;
  Require(TextToSeptets(text.Data(), units, tables, whole.Data(), whole.Size(), &needed) == PduError::None,
          "text of septets takes no more septets");
  CBlock<VELK_wchar_t> again(needed);
  Require(SeptetsToText(whole.Data(), needed, tables, again.Data()) == units &&
              std::equal(text.Data(), text.Data() + units, again.Data()),
          "text comes back");
  CBlock<BYTE> small(capacity);
  std::size_t written = 0;
  const PduError error = TextToSeptets(text.Data(), units, tables, small.Data(), capacity, &written);
  Require(error == (capacity < needed ? PduError::TooLong : PduError::None), "a small buffer is noticed");
}

}  // namespace

/// Input: size of the buffer, fill bits, tables, then packed septets.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  const std::size_t capacity = input.Octet();
  const unsigned fillBits = input.Octet() % 7;
  SMS_NLI tables;
  tables.enNLI_Lock = static_cast<SMS_NLI_LOCK>(input.Octet());
  tables.enNLI_Single = static_cast<SMS_NLI_SIGNLE>(input.Octet());
  CBlock<BYTE> octets(input.Rest(), std::min<std::size_t>(input.Left(), 512));
  std::vector<BYTE> septets;
  TryPacking(octets, fillBits, septets);
  TryText(septets, tables, capacity);
  return 0;
}
