// The three TPDUs, field after field in the order of 3GPP TS 23.040 9.2.2.
#include "SmsPdu.h"

#include "Fields.h"

#include <cstring>
#include <initializer_list>

namespace sms_pdu {
namespace {

// First octet.
const BYTE kMtiMask = 0x03;
const BYTE kMtiDeliver = 0x00;
const BYTE kMtiSubmit = 0x01;
const BYTE kMtiStatusReport = 0x02;
const BYTE kMtiReserved = 0x03;
const BYTE kNoMoreMessages = 0x04;
const BYTE kRejectDuplicates = 0x04;
const BYTE kLoopPrevention = 0x08;
const BYTE kStatusReport = 0x20;  // TP-SRI, TP-SRR or TP-SRQ
const BYTE kUserDataHeader = 0x40;
const BYTE kReplyPath = 0x80;
const unsigned kValidityShift = 3;

// TP-PI, 9.2.3.27.
const BYTE kHasProtocolId = 0x01;
const BYTE kHasDataCoding = 0x02;
const BYTE kHasUserData = 0x04;
const BYTE kMoreIndicators = 0x80;
const BYTE kPadding = 0xFF;

BYTE If(bool condition, BYTE bits) { return condition ? bits : BYTE(0); }

BYTE Flags(std::initializer_list<BYTE> bits) {
  unsigned all = 0;
  for (const BYTE bit : bits) all |= bit;
  return static_cast<BYTE>(all);
}

PduError ReadValidity(COctetReader& reader, BYTE firstOctet, Validity* out, unsigned* defects) {
  out->format = static_cast<ValidityFormat>(firstOctet >> kValidityShift & 0x03);
  switch (out->format) {
    case ValidityFormat::Relative:
      return reader.Take(&out->relative) ? PduError::None : PduError::Truncated;
    case ValidityFormat::Absolute:
      return ReadTimeStamp(reader, &out->absolute, defects);
    case ValidityFormat::Enhanced: {
      const BYTE* const octets = reader.Take(kTimeStampOctets);
      if (!octets) return PduError::Truncated;
      std::memcpy(out->enhanced, octets, kTimeStampOctets);
      return PduError::None;
    }
    case ValidityFormat::None:
      break;
  }
  return PduError::None;
}

void WriteValidity(COctetWriter& writer, const Validity& validity) {
  switch (validity.format) {
    case ValidityFormat::Relative:
      writer.Put(validity.relative);
      break;
    case ValidityFormat::Absolute:
      WriteTimeStamp(writer, validity.absolute);
      break;
    case ValidityFormat::Enhanced:
      writer.Put(validity.enhanced, kTimeStampOctets);
      break;
    case ValidityFormat::None:
      break;
  }
}

/// TP-PI and its extensions. A record of a card is filled up with FF, which is no TP-PI.
BYTE ReadIndicators(COctetReader& reader, unsigned* defects) {
  BYTE first = 0;
  if (!reader.Take(&first)) return 0;
  if (first == kPadding) {
    *defects |= kDefectTrailing;
    return 0;
  }
  for (BYTE next = first; next & kMoreIndicators;) {
    if (reader.Take(&next)) continue;
    *defects |= kDefectOptionalCut;
    break;
  }
  return first;
}

/// What TP-PI announces; fields that are not there are left out, for the report itself has been read.
void ReadOptionalFields(COctetReader& reader, BYTE indicators, bool hasHeader, StatusReport* out) {
  out->hasProtocolId = (indicators & kHasProtocolId) && reader.Take(&out->protocolId);
  out->hasDataCoding = (indicators & kHasDataCoding) && reader.Take(&out->userData.dcs);
  out->hasUserData =
      (indicators & kHasUserData) && ReadUserData(reader, hasHeader, &out->userData, &out->defects) == PduError::None;
  const BYTE found = Flags({If(out->hasProtocolId, kHasProtocolId), If(out->hasDataCoding, kHasDataCoding),
                            If(out->hasUserData, kHasUserData)});
  if (indicators & ~found & (kHasProtocolId | kHasDataCoding | kHasUserData)) out->defects |= kDefectOptionalCut;
}

PduError ReadDeliver(COctetReader& reader, Deliver* out) {
  BYTE first = 0;
  if (!reader.Take(&first)) return PduError::Truncated;
  if ((first & kMtiMask) == kMtiReserved) {
    out->defects |= kDefectReservedType;
  } else if ((first & kMtiMask) != kMtiDeliver) {
    return PduError::WrongType;
  }
  out->moreMessages = !(first & kNoMoreMessages);
  out->loopPrevention = first & kLoopPrevention;
  out->statusReportIndication = first & kStatusReport;
  out->replyPath = first & kReplyPath;
  PduError error = ReadAddress(reader, &out->originator, &out->defects);
  if (error != PduError::None) return error;
  if (!reader.Take(&out->protocolId) || !reader.Take(&out->userData.dcs)) return PduError::Truncated;
  error = ReadTimeStamp(reader, &out->time, &out->defects);
  if (error != PduError::None) return error;
  return ReadUserData(reader, first & kUserDataHeader, &out->userData, &out->defects);
}

PduError ReadSubmit(COctetReader& reader, Submit* out) {
  BYTE first = 0;
  if (!reader.Take(&first)) return PduError::Truncated;
  if ((first & kMtiMask) != kMtiSubmit) return PduError::WrongType;
  out->rejectDuplicates = first & kRejectDuplicates;
  out->statusReportRequest = first & kStatusReport;
  out->replyPath = first & kReplyPath;
  if (!reader.Take(&out->reference)) return PduError::Truncated;
  PduError error = ReadAddress(reader, &out->destination, &out->defects);
  if (error != PduError::None) return error;
  if (!reader.Take(&out->protocolId) || !reader.Take(&out->userData.dcs)) return PduError::Truncated;
  error = ReadValidity(reader, first, &out->validity, &out->defects);
  if (error != PduError::None) return error;
  return ReadUserData(reader, first & kUserDataHeader, &out->userData, &out->defects);
}

PduError ReadStatusReport(COctetReader& reader, StatusReport* out) {
  BYTE first = 0;
  if (!reader.Take(&first)) return PduError::Truncated;
  if ((first & kMtiMask) != kMtiStatusReport) return PduError::WrongType;
  out->moreMessages = !(first & kNoMoreMessages);
  out->loopPrevention = first & kLoopPrevention;
  out->ofCommand = first & kStatusReport;
  if (!reader.Take(&out->reference)) return PduError::Truncated;
  PduError error = ReadAddress(reader, &out->recipient, &out->defects);
  if (error != PduError::None) return error;
  error = ReadTimeStamp(reader, &out->time, &out->defects);
  if (error != PduError::None) return error;
  error = ReadTimeStamp(reader, &out->dischargeTime, &out->defects);
  if (error != PduError::None) return error;
  if (!reader.Take(&out->status)) return PduError::Truncated;
  ReadOptionalFields(reader, ReadIndicators(reader, &out->defects), first & kUserDataHeader, out);
  return PduError::None;
}

PduError WriteDeliver(COctetWriter& writer, const Deliver& message) {
  writer.Put(Flags({kMtiDeliver, If(!message.moreMessages, kNoMoreMessages),
                    If(message.loopPrevention, kLoopPrevention), If(message.statusReportIndication, kStatusReport),
                    If(message.replyPath, kReplyPath), If(message.userData.header.length != 0, kUserDataHeader)}));
  const PduError error = WriteAddress(writer, message.originator);
  if (error != PduError::None) return error;
  writer.Put(message.protocolId);
  writer.Put(message.userData.dcs);
  WriteTimeStamp(writer, message.time);
  return WriteUserData(writer, message.userData);
}

PduError WriteSubmit(COctetWriter& writer, const Submit& message) {
  const BYTE format = static_cast<BYTE>((static_cast<BYTE>(message.validity.format) & 0x03) << kValidityShift);
  writer.Put(Flags({kMtiSubmit, format, If(message.rejectDuplicates, kRejectDuplicates),
                    If(message.statusReportRequest, kStatusReport), If(message.replyPath, kReplyPath),
                    If(message.userData.header.length != 0, kUserDataHeader)}));
  writer.Put(message.reference);
  const PduError error = WriteAddress(writer, message.destination);
  if (error != PduError::None) return error;
  writer.Put(message.protocolId);
  writer.Put(message.userData.dcs);
  WriteValidity(writer, message.validity);
  return WriteUserData(writer, message.userData);
}

PduError WriteStatusReport(COctetWriter& writer, const StatusReport& message) {
  const bool hasHeader = message.hasUserData && message.userData.header.length != 0;
  writer.Put(
      Flags({kMtiStatusReport, If(!message.moreMessages, kNoMoreMessages), If(message.loopPrevention, kLoopPrevention),
             If(message.ofCommand, kStatusReport), If(hasHeader, kUserDataHeader)}));
  writer.Put(message.reference);
  const PduError error = WriteAddress(writer, message.recipient);
  if (error != PduError::None) return error;
  WriteTimeStamp(writer, message.time);
  WriteTimeStamp(writer, message.dischargeTime);
  writer.Put(message.status);
  const BYTE indicators = Flags({If(message.hasProtocolId, kHasProtocolId), If(message.hasDataCoding, kHasDataCoding),
                                 If(message.hasUserData, kHasUserData)});
  if (indicators == 0) return PduError::None;
  writer.Put(indicators);
  if (message.hasProtocolId) writer.Put(message.protocolId);
  if (message.hasDataCoding) writer.Put(message.userData.dcs);
  if (!message.hasUserData) return PduError::None;
  if (message.hasDataCoding || message.userData.dcs == 0) return WriteUserData(writer, message.userData);
  UserData plain = message.userData;  // without TP-DCS the receiver reads GSM 7-bit text
  plain.dcs = 0;
  return WriteUserData(writer, plain);
}

template <typename Message>
PduError Decode(PduError (*read)(COctetReader&, Message*), const BYTE* octets, std::size_t size, Message* out) {
  *out = Message();
  COctetReader reader(octets, size);
  const PduError error = read(reader, out);
  if (error != PduError::None) {
    *out = Message();
  } else if (reader.Left() != 0) {
    out->defects |= kDefectTrailing;
  }
  return error;
}

template <typename Message>
PduError Encode(PduError (*write)(COctetWriter&, const Message&), const Message& message, BYTE* out,
                std::size_t capacity, std::size_t* written) {
  *written = 0;
  COctetWriter writer(out, capacity);
  const PduError error = write(writer, message);
  if (error != PduError::None) return error;
  if (writer.Overflowed()) return PduError::BufferTooSmall;
  *written = writer.Written();
  return PduError::None;
}

}  // namespace

Outcome OutcomeOf(BYTE status) {
  if (status < 0x20) return Outcome::Delivered;
  return status < 0x40 ? Outcome::StillTried : Outcome::Failed;
}

TpduType TypeTowardsDevice(BYTE firstOctet) {
  switch (firstOctet & kMtiMask) {
    case kMtiDeliver:
    case kMtiReserved:
      return TpduType::Deliver;
    case kMtiStatusReport:
      return TpduType::StatusReport;
    default:
      return TpduType::Other;
  }
}

TpduType TypeFromDevice(BYTE firstOctet) {
  return (firstOctet & kMtiMask) == kMtiSubmit ? TpduType::Submit : TpduType::Other;
}

PduError DecodeDeliver(const BYTE* octets, std::size_t size, Deliver* out) {
  return Decode(ReadDeliver, octets, size, out);
}

PduError DecodeSubmit(const BYTE* octets, std::size_t size, Submit* out) {
  return Decode(ReadSubmit, octets, size, out);
}

PduError DecodeStatusReport(const BYTE* octets, std::size_t size, StatusReport* out) {
  return Decode(ReadStatusReport, octets, size, out);
}

PduError EncodeDeliver(const Deliver& message, BYTE* out, std::size_t capacity, std::size_t* written) {
  return Encode(WriteDeliver, message, out, capacity, written);
}

PduError EncodeSubmit(const Submit& message, BYTE* out, std::size_t capacity, std::size_t* written) {
  return Encode(WriteSubmit, message, out, capacity, written);
}

PduError EncodeStatusReport(const StatusReport& message, BYTE* out, std::size_t capacity, std::size_t* written) {
  return Encode(WriteStatusReport, message, out, capacity, written);
}

}  // namespace sms_pdu
