// Addresses: of a TPDU, of the service centre, as a person writes them and as ASCII.
#include "Equal.h"
#include "Fields.h"
#include "Property.h"

using namespace fuzz;
using namespace sms_pdu;

namespace {

void TryAscii(const Address& address, std::size_t capacity) {
  CBlock<char> ascii(capacity);
  AddressToAscii(address, ascii.Data(), capacity);
  const char* const end = std::find(ascii.Data(), ascii.Data() + capacity, '\0');
  Require(capacity == 0 || end != ascii.Data() + capacity, "ASCII is terminated");
  Require(std::all_of<const char*>(ascii.Data(), end, [](char c) { return c >= 0x20 && c < 0x7F; }),
          "ASCII is printable");
}

void TryTpduAddress(CBlock<BYTE>& octets, std::size_t capacity) {
  COctetReader reader(octets.Data(), octets.Size());
  Address address;
  unsigned defects = kDefectNone;
  if (ReadAddress(reader, &address, &defects) != PduError::None) return;
  Require(address.length <= kAddressTextUnits && address.text[address.length] == 0, "an address is terminated");
  TryAscii(address, capacity);
  BYTE made[kAddressMaxOctets];
  COctetWriter writer(made, sizeof made);
  Require(WriteAddress(writer, address) == PduError::None && !writer.Overflowed(),
          "an address that was read is written");
  COctetReader second(made, writer.Written());
  Address again;
  Require(ReadAddress(second, &again, &defects) == PduError::None && second.Left() == 0 && Equal(address, again),
          "an address comes back");
}

void TryServiceCentre(CBlock<BYTE>& octets, std::size_t capacity) {
  Address centre;
  std::size_t consumed = 0;
  unsigned defects = kDefectNone;
  const PduError error = DecodeServiceCentre(octets.Data(), octets.Size(), &centre, &consumed, &defects);
  Require((error == PduError::None) == (consumed != 0) && consumed <= octets.Size(), "a centre or an error");
  if (error != PduError::None) return;
  BYTE made[kAddressMaxOctets];
  std::size_t needed = 0;
  Require(EncodeServiceCentre(centre, made, sizeof made, &needed) == PduError::None,
          "a centre that was read is written");
  Address again;
  Require(DecodeServiceCentre(made, needed, &again, &consumed, &defects) == PduError::None && consumed == needed,
          "a centre that was written is read");
  const bool empty = centre.length == 0;  // its type is not written then
  Require(empty ? again.length == 0 : Equal(centre, again), "a centre comes back");
  RequireBounded<PduError>([&](BYTE* out, std::size_t room,
                               std::size_t* written) { return EncodeServiceCentre(centre, out, room, written); },
                           made, needed, capacity);
}

void TryWritten(CBlock<BYTE>& octets) {
  const std::size_t length = octets.Size() / 2;
  CBlock<VELK_wchar_t> text(length);
  for (std::size_t i = 0; i < length; ++i) {
    text.Data()[i] = static_cast<VELK_wchar_t>(octets.Data()[2 * i] << 8 | octets.Data()[2 * i + 1]);
  }
  Address address;
  if (MakeAddress(text.Data(), length, &address) != PduError::None) {
    Require(Equal(address, Address()), "an error leaves an empty address");
    return;
  }
  BYTE made[kAddressMaxOctets];
  COctetWriter writer(made, sizeof made);
  Require(WriteAddress(writer, address) == PduError::None && !writer.Overflowed(), "a made address is written");
}

}  // namespace

/// Input: size of the buffers, then an address, which is also tried as a service centre and as text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  const std::size_t capacity = input.Octet() % 32;
  CBlock<BYTE> octets(input.Rest(), input.Left());
  TryTpduAddress(octets, capacity);
  TryServiceCentre(octets, capacity);
  TryWritten(octets);
  return 0;
}
