// The data coding scheme, group by group (3GPP TS 23.038, 4).
#include "DataCoding.h"

namespace sms_pdu {
namespace {

/// Coding groups 00xx and 01xx.
void ParseGeneral(BYTE dcs, DataCoding* out) {
  out->autoDelete = (dcs & 0x40) != 0;
  out->compressed = (dcs & 0x20) != 0;
  if (dcs & 0x10) out->messageClass = static_cast<std::int8_t>(dcs & 0x03);
  switch (dcs & 0x0C) {
    case 0x04:
      out->coding = Coding::Octets;
      break;
    case 0x08:
      out->coding = Coding::Ucs2;
      break;
    case 0x0C:
      out->reserved = true;
      break;
    default:
      break;
  }
}

/// Coding groups 1100 (discard), 1101 (store) and 1110 (store, UCS-2).
void ParseIndication(BYTE dcs, DataCoding* out) {
  out->indication = true;
  out->indicationDiscard = (dcs & 0xF0) == 0xC0;
  out->indicationActive = (dcs & 0x08) != 0;
  out->waiting = static_cast<Waiting>(dcs & 0x03);
  if ((dcs & 0xF0) == 0xE0) out->coding = Coding::Ucs2;
}

}  // namespace

DataCoding ParseDataCoding(BYTE dcs) {
  DataCoding result;
  if (dcs < 0x80) {
    ParseGeneral(dcs, &result);
  } else if (dcs < 0xC0) {
    result.reserved = true;
  } else if (dcs < 0xF0) {
    ParseIndication(dcs, &result);
  } else {
    result.messageClass = static_cast<std::int8_t>(dcs & 0x03);
    if (dcs & 0x04) result.coding = Coding::Octets;
  }
  return result;
}

BYTE MakeDataCoding(Coding coding, int messageClass) {
  const BYTE alphabet = static_cast<BYTE>(static_cast<BYTE>(coding) << 2);
  if (messageClass < 0 || messageClass > 3) return alphabet;
  return static_cast<BYTE>(0x10 | alphabet | messageClass);
}

}  // namespace sms_pdu
