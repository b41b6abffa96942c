// Content and header elements by themselves, under every data coding scheme.
#include "Equal.h"
#include "Fields.h"
#include "Property.h"

using namespace fuzz;
using namespace sms_pdu;

namespace {

/// Elements lie one behind another inside the header; put together again they are the header.
void TryElements(const UserDataHeader& header) {
  UserDataHeader again;
  HeaderElement element;
  std::size_t position = 0;
  for (std::size_t before = 0; NextElement(header, &position, &element); before = position) {
    Require(element.data == header.octets + before + 2 && position == before + 2 + element.length, "elements in order");
    Require(position <= header.length, "an element ends inside the header");
    Require(AddElement(&again, element.id, element.data, element.length), "what was in a header fits into one");
  }
  Require(std::equal(again.octets, again.octets + again.length, header.octets), "elements make the header");
  Concatenation part;
  if (FindConcatenation(header, &part)) {
    Require(part.sequence >= 1 && part.sequence <= part.total, "a place is within its total");
    UserDataHeader made;
    Concatenation read;
    Require(AddConcatenation(&made, part) && FindConcatenation(made, &read), "a place can be written");
    Require(read.reference == part.reference && read.total == part.total && read.sequence == part.sequence &&
                read.wide == part.wide,
            "a place comes back");
  }
  Ports ports;
  if (FindPorts(header, &ports)) {
    UserDataHeader made;
    Ports read;
    Require(AddPorts(&made, ports) && FindPorts(made, &read), "ports can be written");
    Require(read.destination == ports.destination && read.source == ports.source && read.wide == ports.wide,
            "ports come back");
  }
}

std::size_t Write(const UserData& userData, BYTE* out, std::size_t capacity) {
  COctetWriter writer(out, capacity);
  Require(WriteUserData(writer, userData) == PduError::None, "content that was read can be written");
  Require(writer.Written() <= capacity, "nothing is written beyond the buffer");
  return writer.Overflowed() ? capacity + 1 : writer.Written();
}

}  // namespace

/// Input: size of the buffer, data coding scheme, whether there is a header, TP-UDL and TP-UD.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  CInput input(data, size);
  const std::size_t capacity = input.Octet();
  UserData userData;
  userData.dcs = input.Octet();
  const bool hasHeader = input.Octet() & 1;
  CBlock<BYTE> octets(input.Rest(), input.Left());
  COctetReader reader(octets.Data(), octets.Size());
  unsigned defects = kDefectNone;
  const PduError error = ReadUserData(reader, hasHeader, &userData, &defects);
  Require((error == PduError::Truncated) == (octets.Size() == 0), "only nothing at all is refused");
  if (error != PduError::None) return 0;
  Require(userData.textLength == 0 || userData.octetCount == 0, "content is text or octets");
  TryElements(userData.header);

  CBlock<BYTE> whole(1 + kUserDataOctets);
  const std::size_t needed = Write(userData, whole.Data(), whole.Size());
  Require(needed <= whole.Size(), "content fits into a message");
  COctetReader second(whole.Data(), needed);
  UserData again;
  again.dcs = userData.dcs;
  unsigned defectsAgain = kDefectNone;
  Require(ReadUserData(second, userData.header.length != 0, &again, &defectsAgain) == PduError::None &&
              second.Left() == 0 && Equal(userData, again),
          "content comes back");
  CBlock<BYTE> small(capacity);
  Require((Write(userData, small.Data(), capacity) <= capacity) == (capacity >= needed), "a small buffer is noticed");
  return 0;
}
