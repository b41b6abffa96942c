// Information elements.
#include "UserDataHeader.h"

#include "Gsm7Languages.h"

#include <algorithm>

namespace sms_pdu {
namespace {

WORD Word(const BYTE* octets) { return static_cast<WORD>(octets[0] << 8 | octets[1]); }

bool ReadConcatenation(const HeaderElement& element, Concatenation* out) {
  const bool wide = element.id == kIeConcatenation16;
  if (element.length != (wide ? 4 : 3)) return false;
  const BYTE* const counts = element.data + (wide ? 2 : 1);
  if (counts[0] == 0 || counts[1] == 0 || counts[1] > counts[0]) return false;
  out->wide = wide;
  out->reference = wide ? Word(element.data) : element.data[0];
  out->total = counts[0];
  out->sequence = counts[1];
  return true;
}

bool ReadPorts(const HeaderElement& element, Ports* out) {
  out->wide = element.id == kIePorts16;
  if (element.length != (out->wide ? 4 : 2)) return false;
  out->destination = out->wide ? Word(element.data) : element.data[0];
  out->source = out->wide ? Word(element.data + 2) : element.data[1];
  return true;
}

}  // namespace

bool NextElement(const UserDataHeader& header, std::size_t* position, HeaderElement* out) {
  const std::size_t size = std::min<std::size_t>(header.length, kHeaderOctets);
  if (*position > size || size - *position < 2) return false;
  const BYTE length = header.octets[*position + 1];
  if (length > size - *position - 2) return false;
  out->id = header.octets[*position];
  out->length = length;
  out->data = header.octets + *position + 2;
  *position += 2U + length;
  return true;
}

bool FindConcatenation(const UserDataHeader& header, Concatenation* out) {
  bool found = false;
  HeaderElement element;
  for (std::size_t position = 0; NextElement(header, &position, &element);) {
    if (element.id != kIeConcatenation8 && element.id != kIeConcatenation16) continue;
    found = ReadConcatenation(element, out) || found;
  }
  return found;
}

bool FindPorts(const UserDataHeader& header, Ports* out) {
  bool found = false;
  HeaderElement element;
  for (std::size_t position = 0; NextElement(header, &position, &element);) {
    if (element.id != kIePorts8 && element.id != kIePorts16) continue;
    Ports ports;
    if (!ReadPorts(element, &ports)) continue;
    *out = ports;
    found = true;
  }
  return found;
}

SMS_NLI FindTables(const UserDataHeader& header) {
  SMS_NLI tables;
  HeaderElement element;
  for (std::size_t position = 0; NextElement(header, &position, &element);) {
    if (element.length != 1) continue;
    if (element.id == kIeSingleShift) tables.enNLI_Single = KnownSingleShift(element.data[0]);
    if (element.id == kIeLockingShift) tables.enNLI_Lock = KnownLockingShift(element.data[0]);
  }
  return tables;
}

bool AddElement(UserDataHeader* header, BYTE id, const BYTE* data, std::size_t length) {
  if (header->length > kHeaderOctets || length + 2 > kHeaderOctets - header->length) return false;
  BYTE* const end = header->octets + header->length;
  end[0] = id;
  end[1] = static_cast<BYTE>(length);
  if (length != 0) std::copy_n(data, length, end + 2);
  header->length = static_cast<BYTE>(header->length + 2 + length);
  return true;
}

bool AddConcatenation(UserDataHeader* header, const Concatenation& part) {
  const BYTE low = static_cast<BYTE>(part.reference & 0xFF);
  if (!part.wide) {
    const BYTE data[] = {low, part.total, part.sequence};
    return AddElement(header, kIeConcatenation8, data, sizeof data);
  }
  const BYTE data[] = {static_cast<BYTE>(part.reference >> 8), low, part.total, part.sequence};
  return AddElement(header, kIeConcatenation16, data, sizeof data);
}

bool AddPorts(UserDataHeader* header, const Ports& ports) {
  const BYTE destination = static_cast<BYTE>(ports.destination & 0xFF);
  const BYTE source = static_cast<BYTE>(ports.source & 0xFF);
  if (!ports.wide) {
    const BYTE data[] = {destination, source};
    return AddElement(header, kIePorts8, data, sizeof data);
  }
  const BYTE data[] = {static_cast<BYTE>(ports.destination >> 8), destination, static_cast<BYTE>(ports.source >> 8),
                       source};
  return AddElement(header, kIePorts16, data, sizeof data);
}

bool AddTables(UserDataHeader* header, const SMS_NLI& tables) {
  const UserDataHeader before = *header;
  const BYTE single = static_cast<BYTE>(tables.enNLI_Single);
  const BYTE lock = static_cast<BYTE>(tables.enNLI_Lock);
  if ((single == 0 || AddElement(header, kIeSingleShift, &single, 1)) &&
      (lock == 0 || AddElement(header, kIeLockingShift, &lock, 1))) {
    return true;
  }
  *header = before;
  return false;
}

}  // namespace sms_pdu
