// The fields that several TPDUs share; inside this room.
#pragma once

#include "Address.h"
#include "Octets.h"
#include "PduResult.h"
#include "TimeStamp.h"
#include "UserData.h"

namespace sms_pdu {

// Readers add Defect bits to *defects and answer Truncated when the field is not there. Writers leave an overflow to
// the writer's own flag.

PduError ReadAddress(COctetReader& reader, Address* out, unsigned* defects);
PduError WriteAddress(COctetWriter& writer, const Address& address);

PduError ReadTimeStamp(COctetReader& reader, TimeStamp* out, unsigned* defects);
void WriteTimeStamp(COctetWriter& writer, const TimeStamp& time);

/// Septets that so many header octets take, and the bits that fill the last one up.
constexpr std::size_t HeaderSeptets(std::size_t headerSize) { return (headerSize * 8 + 6) / 7; }
constexpr unsigned FillBits(std::size_t headerSize) {
  return static_cast<unsigned>(HeaderSeptets(headerSize) * 7 - headerSize * 8);
}

/// TP-UDL and TP-UD, coded as out->dcs says.
PduError ReadUserData(COctetReader& reader, bool hasHeader, UserData* out, unsigned* defects);
PduError WriteUserData(COctetWriter& writer, const UserData& userData);

}  // namespace sms_pdu
